// A host that answers every call of the library in a known way, and one call of which can be made
// to fail: the first of its name, or the second, and so on.
//
// Only calls of the library are faked, and only while calls_of_the_library() runs; calls that the
// test, its framework and the C library make meanwhile go to the C library.

#ifndef ORLA_TESTS_FAKES_FAILING_CALLS_H
#define ORLA_TESTS_FAKES_FAILING_CALLS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The C library's name for a clock with 64 bits of seconds.
#ifdef __LP64__
#define KERNEL_CLOCK clock_gettime
#define KERNEL_CLOCK_NAME "clock_gettime"
#else
#define KERNEL_CLOCK __clock_gettime64
#define KERNEL_CLOCK_NAME "__clock_gettime64"
#endif

// What a failing call reports in place of an error number.
inline constexpr int kShort = -1;    // a part of what was to be read or written: one byte
inline constexpr int kNothing = -2;  // no byte, and no error

// The calls that can fail, by the names the library imports them under; the functions that gcc
// calls in their place ("puts" for "printf") count as those of the source.
std::vector<std::string> calls_that_can_fail();

struct Failure {
  std::string call;
  int occurrence;  // 1 for the first
  int error;       // a number of errno, kShort or kNothing
};

class FailingHost {
 public:
  FailingHost();
  ~FailingHost();
  FailingHost(const FailingHost &) = delete;
  FailingHost &operator=(const FailingHost &) = delete;

  // Runs `body`, which does nothing but call the library.
  template <typename Body>
  auto calls_of_the_library(Body body) {
    const Watch watch;
    return body();
  }

  // The call that fails; none at first.
  void fail(const Failure &failure);
  // A call that always fails with this error number, as a property of the host.
  void fail_always(const char *call, int error);

  bool always_fails(const std::string &call) const;

  // Calls of the library, in all the bodies run.
  int made(const std::string &call) const;
  // Whether the call that was to fail was made.
  bool failed() const;

  // What the library has not given back: descriptors but those of mkstemp(), which are meant to
  // stay and are missed here when they do not; blocks of the heap; streams; libraries; lists of
  // interfaces.
  int descriptors_kept() const;
  int blocks_kept() const;
  int streams_kept() const;
  int libraries_kept() const;
  int lists_kept() const;

  // The names made by mkstemp() that are still there.
  int temporary_files_left() const;

  // How the host answers.
  std::uint32_t now = 1183280400;     // time() and gettimeofday(): 2007-07-01 09:00:00 UTC
  std::uint32_t kernel_now = 100000;  // the kernel's clock
  int per_package = 0;                // HTSupported(), if not 0
  std::string release = "2.6.9";      // uname()
  std::string cpuinfo_path;           // what opens as /proc/cpuinfo
  std::string kernel_log;             // klogctl()
  std::string fallback_library;       // what opens in the loader's fallback folder; none if empty

 private:
  // While one lives, calls are counted, answered and made to fail.
  class Watch {
   public:
    Watch();
    ~Watch();
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;
  };
};

#endif
