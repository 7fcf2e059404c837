// The trace lines of the library's services, each format in one place.
//
// A service tests one integer, orlalib_verbose, before anything is formatted; only then is a line built
// in statuslog, handed to TavTrace() and the buffer emptied.

#ifndef ORLA_SUPPORT_TRACED_SERVICE_H
#define ORLA_SUPPORT_TRACED_SERVICE_H

#include <orla/trace.h>

namespace orla {

// Writes the entry line when it is made, an error detail where there is one, and the exit line with the
// status. `name` is the service's trace name, with its parentheses where it has them.
class TracedService {
 public:
  explicit TracedService(const char *name) : name_(name) {
    if (orlalib_verbose != 0) trace_entry();
  }

  void error(const char *detail) const {
    if (orlalib_verbose != 0) trace_error(detail);
  }

  // Returns `status`, so that a service can end with it.
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

// The other family of lines, in which the identifier is part of the format and the format puts a period
// behind the detail. `name` has its parentheses.
void trace_error_with_period(const char *name, const char *detail);

}  // namespace orla

#endif
