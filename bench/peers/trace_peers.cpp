// Lines of spdlog and glog, flushed one by one, and the memory size of NSPR.

#include <glog/logging.h>
#include <nspr.h>
#include <orla/trace.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <memory>

#include "rows.h"
#include "temp_folder.h"

namespace {

constexpr const char *kMessage = "KVRCA0001I tavGetMemorySize(): entering.";

spdlog::logger &rotating_logger() {
  static const std::shared_ptr<spdlog::logger> logger = [] {
    auto made = spdlog::rotating_logger_st("orla", bench::temp_folder().file("spdlog"),
                                           ORLA_TRACE_ROTATION_SIZE, 1);
    made->set_pattern("%m/%d/%Y %H:%M:%S %P %v");
    made->flush_on(spdlog::level::info);
    return made;
  }();
  return *logger;
}

void start_glog() {
  static const bool started = [] {
    FLAGS_logbufsecs = 0;
    FLAGS_logbuflevel = -1;
    FLAGS_timestamp_in_logfile_name = false;
    FLAGS_max_log_size = 4;
    google::SetLogDestination(google::INFO, bench::temp_folder().file("glog").c_str());
    google::InitGoogleLogging("bench");
    return true;
  }();
  bench::keep(started);
}

const bench::Rows rows([] {
  for (const char *title : {"Traced line, TZ set", "Traced line, TZ not set"}) {
    const bool zone_set = title[sizeof "Traced line, TZ " - 1] == 's';
    const auto in_zone = [zone_set](bench::Body body) -> bench::Body {
      return [zone_set, body](long n) {
        if (zone_set) {
          setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
        } else {
          unsetenv("TZ");
        }
        body(n);
      };
    };
    bench::Table table(title);
    table.peer("spdlog, rotating, flush per line",
               in_zone(bench::repeat([] { rotating_logger().info(kMessage); })));
    table.peer("glog, flush per line", in_zone(bench::repeat([] {
                 start_glog();
                 LOG(INFO) << kMessage;
               })));
  }
  bench::Table memory("Untraced service: memory");
  memory.peer("NSPR", bench::repeat([] { bench::keep_result(PR_GetPhysicalMemorySize()); }));
});

}  // namespace
