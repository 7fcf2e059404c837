// The trace lines of the library's services, each format in one place.
//
// While orlalib_verbose is 0, tracing costs one test of that integer. Otherwise each line is
// formatted in statuslog and passed to TavTrace(), and the buffer's first byte is then set to 0.

#ifndef ORLA_SUPPORT_TRACED_SERVICE_H
#define ORLA_SUPPORT_TRACED_SERVICE_H

#include <orla/trace.h>

namespace orla {

// Writes the entry line when it is made, an error detail where there is one, and the exit line with
// the status. `name` is the service's trace name, with "()" where it has them.
class TracedService {
 public:
  explicit TracedService(const char *name) : name_(name) {
    if (orlalib_verbose != 0) trace_entry();
  }

  void error(const char *detail) const {
    if (orlalib_verbose != 0) trace_error(detail);
  }

  // Returns `status`.
  orla_status exit(orla_status status) const {
    if (orlalib_verbose != 0) trace_exit(status);
    return status;
  }

 private:
  void trace_entry() const;
  void trace_error(const char *detail) const;
  void trace_exit(orla_status status) const;

  const char *name_;
};

// Writes an error detail in the loader's form, with a period after the detail. `name` has its "()".
void trace_error_with_period(const char *name, const char *detail);

}  // namespace orla

#endif
