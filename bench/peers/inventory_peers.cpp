// Processors of cpu_features, libcpuid and hwloc.

#include <cpu_features/cpuinfo_x86.h>
#include <hwloc.h>
#include <libcpuid/libcpuid.h>

#include "rows.h"

namespace {

const bench::Rows rows([] {
  bench::Table table("Processor count");
  table.peer("cpu_features", bench::repeat([] { bench::keep(cpu_features::GetX86Info()); }));
  table.peer("libcpuid", bench::repeat([] {
               cpu_id_t id;
               cpu_identify(nullptr, &id);
               bench::keep(id);
             }));
  table.peer("hwloc", bench::repeat([] {
               hwloc_topology_t topology;
               hwloc_topology_init(&topology);
               hwloc_topology_load(topology);
               bench::keep_result(hwloc_get_nbobjs_by_type(topology, HWLOC_OBJ_PACKAGE));
               hwloc_topology_destroy(topology);
             }));
});

}  // namespace
