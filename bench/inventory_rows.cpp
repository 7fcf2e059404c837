// The processor count, compared with the calls that it must make; and the kernel log's decoder.

#include <orla/inventory.h>
#include <sys/sysinfo.h>

#include <string>

#include "inventory/cpu_decode.h"
#include "rows.h"

namespace {

void required_calls() {
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
  bench::keep_result(get_nprocs_conf());
  for (const uint32_t leaf : {0U, 1U}) {
    cpuid(leaf, &eax, &ebx, &ecx, &edx);
    bench::keep(eax);
  }
}

const bench::Rows rows([] {
  bench::Table table("Processor count");
  table.floor("get_nprocs_conf, cpuid twice", bench::repeat(required_calls));
  table.ours("tavGetOnlineProcs", bench::repeat([] {
               int count = 0;
               tavGetOnlineProcs(&count);
               bench::keep(count);
             }));

  bench::Table growth("Growth: kernel log, by bytes");
  for (const std::size_t size : {256U, 1024U, 4096U, 16384U}) {
    std::string log;
    while (log.size() < size)
      log += "<6>[    0.000000] cpu 0: cpu_sibling_map[0] = 1\n";
    log.resize(size);
    growth.ours("count of siblings",
                bench::repeat([log] { bench::keep_result(orla::count_sibling_maps(log)); }),
                static_cast<double>(size));
  }
});

}  // namespace
