// The lines that the library's services pass to TavTrace(), kept here instead of in a trace file.

#ifndef ORLA_TESTS_FAKES_TRACE_LINES_H
#define ORLA_TESTS_FAKES_TRACE_LINES_H

#include <orla/trace.h>

#include <string>
#include <vector>

#include "fake.h"

extern Fake<void(char *)> fake_TavTrace;

using Lines = std::vector<std::string>;

// Switches the library's tracing on and keeps what is traced.
class TraceLines {
 public:
  TraceLines() : trace_(fake_TavTrace, [this](char *message) { keep(message); }) {
    orlalib_verbose = 255;
  }
  ~TraceLines() { orlalib_verbose = 0; }

  Lines lines;

  // Every message was in the shared buffer.
  bool all_in_statuslog = true;

 private:
  void keep(const char *message) {
    all_in_statuslog = all_in_statuslog && message == statuslog;
    lines.emplace_back(message);
  }

  With<void(char *)> trace_;
};

#endif
