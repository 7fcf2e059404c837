#include "support/traced_service.h"

#include <cstdio>

namespace orla {
namespace {

template <typename... Arguments>
void trace(const char *format, Arguments... arguments) {
  std::snprintf(statuslog, sizeof statuslog, format, arguments...);
  TavTrace(statuslog);
  statuslog[0] = '\0';
}

}  // namespace

[[gnu::cold]] void TracedService::trace_entry() const {
  trace("%s %s: entering.\n", "KVRCA0001I", name_);
}

[[gnu::cold]] void TracedService::trace_error(const char *detail) const {
  trace("%s %s: %s\n", "KVRCA0005E", name_, detail);
}

[[gnu::cold]] void TracedService::trace_exit(orla_status status) const {
  trace("%s %s: exiting with status 0x%lX.\n", status == 0 ? "KVRCA0002I" : "KVRCA0003E", name_,
        static_cast<unsigned long>(status));
}

void trace_error_with_period(const char *name, const char *detail) {
  if (orlalib_verbose != 0) trace("KVRAC0005E %s: %s.\n", name, detail);
}

}  // namespace orla
