// The trace writer: switches, lines, standard output, opening, closing and rotation.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <orla/inventory.h>
#include <orla/time.h>
#include <orla/trace.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "fakes/clock.h"
#include "fakes/file_status.h"
#include "fakes/host.h"
#include "kit/captured.h"
#include "kit/environment.h"
#include "kit/errno_after.h"
#include "kit/temp_dir.h"

namespace {

using testing::IsSubstring;

constexpr const char *kPath = "K7LOG_PATH";
constexpr std::size_t kLimit = ORLA_TRACE_ROTATION_SIZE;

void trace(std::string message) { TavTrace(message.data()); }

std::string process_id() { return std::to_string(getpid()); }

// Tracing on, into a file of a folder of its own, at 2007-02-03 09:05:07 in New York.
class TraceFile : public testing::Test {
 protected:
  TraceFile() {
    orlalib_verbose = 255;
    orlathr_verbose = 0;
  }
  ~TraceFile() override { orlalib_verbose = 0; }

  std::string path(const std::string &name = "trace") const { return folder_.path(name); }
  std::string read(const std::string &name = "trace") const { return folder_.read(name); }
  static std::string stamp() { return "02/03/2007  9:05:07 " + process_id() + " "; }

  // The next lines, where another process has rotated the file and then its own.
  void expect_that_a_line_past_the_limit_only_closes_it_after_two_rotations() {
    folder_.write("trace", "of another process\n");
    folder_.write("trace.1", "rotated by another process\n");
    trace(std::string(1000, 'b'));
    EXPECT_EQ(read("trace.1"), "rotated by another process\n");
    trace("c\n");
    EXPECT_EQ(read(), "of another process\n" + stamp() + "c\n");
  }

  // A trace file that is `below` bytes smaller than the limit.
  void fill_to(std::size_t below) { folder_.write("trace", std::string(kLimit - below, 'x')); }

  TempDir folder_;
  WithZone zone_{kNewYork};
  WithVariable path_variable_{kPath, folder_.path("trace").c_str()};
  ClockAt clock_{1170511507};
};

std::string switches_with(const std::string &environment) {
  const std::string command =
      "env -u K7LIB_VERB -u K7THR_VERB " + environment + " '" PRINT_SWITCHES "'";
  std::FILE *program = popen(command.c_str(), "r");
  char text[64] = {};
  const std::size_t length = std::fread(text, 1, sizeof text - 1, program);
  pclose(program);
  return {text, length};
}

TEST(TraceSwitches, AreReadWhenTheLibraryIsLoaded) {
  EXPECT_EQ(switches_with(""), "0 0");
  EXPECT_EQ(switches_with("K7LIB_VERB=y"), "255 0");
  EXPECT_EQ(switches_with("K7LIB_VERB=yes"), "255 0");
  EXPECT_EQ(switches_with("K7LIB_VERB=Y"), "255 0");
  EXPECT_EQ(switches_with("K7THR_VERB=Yellow"), "0 255");
  EXPECT_EQ(switches_with("K7LIB_VERB=y K7THR_VERB=y"), "255 255");
}

TEST(TraceSwitches, StayOffForAnyOtherValue) {
  for (const char *value : {"no", "1", "", "on", "true", "' y'", "255"}) {
    EXPECT_EQ(switches_with(std::string("K7LIB_VERB=") + value + " K7THR_VERB=" + value), "0 0");
  }
}

TEST(StatusLog, Has1024BytesOfZeroAtLoad) {
  EXPECT_EQ(sizeof statuslog, 1024U);
  for (const char byte : statuslog)
    EXPECT_EQ(byte, 0);
}

TEST_F(TraceFile, IsNotTouchedWhileBothSwitchesAreOff) {
  orlalib_verbose = 0;
  Captured out(STDOUT_FILENO);
  trace("message\n");
  {
    const WithVariable unset(kPath, nullptr);
    trace("message\n");
  }
  EXPECT_EQ(out.text(), "");
  EXPECT_FALSE(folder_.holds("trace"));
}

TEST_F(TraceFile, GetsDateTimeProcessAndMessage) {
  trace("message\n");
  trace("another");
  EXPECT_EQ(read(), stamp() + "message\n" + stamp() + "another");
}

TEST_F(TraceFile, PadsTheHourWithABlankAndTheRestWithZeros) {
  const ClockAt evening(1170511507 + 14 * 3600 + 54 * 60 + 52);
  trace("m\n");
  EXPECT_TRUE(read().starts_with("02/03/2007 23:59:59 ")) << read();
}

TEST_F(TraceFile, IsStampedWithTheLocalDate) {
  const ClockAt night(1170511507 + 18 * 3600);  // already the fourth in UTC and in New York
  trace("m\n");
  EXPECT_TRUE(read().starts_with("02/04/2007  3:05:07 ")) << read();
}

TEST_F(TraceFile, IsStampedWithTheDateOfDaylightSavingTime) {
  const ClockAt night(1183264200);  // half past midnight, and still the day before by standard time
  trace("m\n");
  EXPECT_TRUE(read().starts_with("07/01/2007  0:30:00 ")) << read();
}

// There summer time is half an hour, but the date is that of a full one.
TEST_F(TraceFile, IsStampedWithTomorrowsDateInTheLastHalfHourOfASummerDayOnLordHoweIsland) {
  const WithZone lord_howe("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");
  std::string expected;
  for (const auto &[minute, line] :
       {std::pair(29, "02/03/2007 23:29:00 "), std::pair(30, "02/04/2007 23:30:00 "),
        std::pair(50, "02/04/2007 23:50:00 "), std::pair(60, "02/04/2007  0:00:00 ")}) {
    const ClockAt night(1170504000 + minute * 60);  // 23:00 there
    trace("m\n");
    expected += line + process_id() + " m\n";
  }
  EXPECT_EQ(read(), expected);
}

TEST_F(TraceFile, IsWrittenWhenTheThreadSwitchAloneIsOnAndNeverWithAThreadNumber) {
  orlalib_verbose = 0;
  orlathr_verbose = 255;
  trace("message\n");
  EXPECT_EQ(read(), stamp() + "message\n");
}

TEST_F(TraceFile, IsWrittenForAnySwitchThatIsNotZero) {
  std::string expected;
  for (const std::int32_t value : {1, -1, 254, INT32_MIN}) {
    orlalib_verbose = value;
    orlathr_verbose = 0;
    trace("library\n");
    orlalib_verbose = 0;
    orlathr_verbose = value;
    trace("thread\n");
    expected += stamp() + "library\n" + stamp() + "thread\n";
  }
  EXPECT_EQ(read(), expected);
}

TEST_F(TraceFile, FollowsAChangeOfTheZone) {
  trace("m\n");
  setenv("TZ", "AAA-2", 1);
  trace("m\n");
  EXPECT_EQ(read(), stamp() + "m\n02/03/2007 16:05:07 " + process_id() + " m\n");
}

TEST_F(TraceFile, FollowsAZoneThatIsSetUnsetAndEmptyWithinOneSecond) {
  // Without TZ the host's zone applies, whichever that is.
  const With localtime(fake_localtime, [](const std::time_t *when) {
    const char *zone = std::getenv("TZ");
    std::tm *fields = gmtime(when);
    fields->tm_hour = zone == nullptr ? 1 : zone[0] == '\0' ? 2 : 3;
    return fields;
  });
  std::string hours;
  for (const char *zone : {"UTC0", static_cast<const char *>(nullptr), "", "UTC0", "",
                           static_cast<const char *>(nullptr)}) {
    const WithZone now(zone);
    const std::size_t before = folder_.holds("trace") ? read().size() : 0;
    trace("m\n");
    hours += read()[before + std::strlen("02/03/2007  ")];
  }
  EXPECT_EQ(hours, "312321");
}

TEST_F(TraceFile, FollowsZonesTooLongToBeRemembered) {
  const std::string name = "<" + std::string(130, 'A') + ">";
  for (const std::string &zone :
       {std::string("AAA-1"), name + "-2", name + "-3", std::string(), std::string("AAA-1")}) {
    const WithZone now(zone.c_str());
    trace("m\n");
  }
  std::string expected;
  for (const char *hour : {"15", "16", "17", "14", "15"})
    expected += std::string("02/03/2007 ") + hour + ":05:07 " + process_id() + " m\n";
  EXPECT_EQ(read(), expected);
}

TEST_F(TraceFile, FollowsTheClock) {
  trace("m\n");
  {
    const ClockAt later(1170511508);
    trace("m\n");
  }
  trace("m\n");
  const std::string later = "02/03/2007  9:05:08 " + process_id() + " m\n";
  EXPECT_EQ(read(), stamp() + "m\n" + later + stamp() + "m\n");
}

TEST_F(TraceFile, HasTheProcessIdOfAChildOfTheSameSecond) {
  trace("m\n");
  const std::string parents = stamp() + "m\n";
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    trace("m\n");
    std::exit(read() == parents + stamp() + "m\n" ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

// How often the C library is asked for the local time of three lines of one second.
int conversions_in(const char *zone) {
  static int conversions;
  conversions = 0;
  const WithZone zone_set(zone);
  const With localtime(fake_localtime, [](const std::time_t *when) {
    ++conversions;
    return gmtime(when);
  });
  for (int line = 0; line < 3; ++line)
    trace("m\n");
  return conversions;
}

TEST_F(TraceFile, ConvertsTheSameSecondOnce) {
  EXPECT_EQ(conversions_in("UTC0"), 1);
  EXPECT_EQ(conversions_in(nullptr), 1);
}

TEST_F(TraceFile, RemembersZonesOfUpTo127Bytes) {
  const std::string longest = "UTC" + std::string(124, '0');
  EXPECT_EQ(conversions_in(longest.c_str()), 1);
  const std::string line = "02/03/2007 14:05:07 " + process_id() + " m\n";
  EXPECT_EQ(read(), line + line + line);
  EXPECT_EQ(conversions_in((longest + "0").c_str()), 3);
  EXPECT_EQ(read(), line + line + line + line + line + line);
}

TEST_F(TraceFile, TriesAgainToConvertASecondThatCouldNotBeConverted) {
  {
    const With localtime(fake_localtime, [](const std::time_t *) { return nullptr; });
    trace("m\n");
  }
  trace("m\n");
  EXPECT_TRUE(read().ends_with("\n" + stamp() + "m\n")) << read();
}

TEST_F(TraceFile, GetsNoLineOfTheServicesWhenTheThreadSwitchAloneIsOn) {
  orlalib_verbose = 0;
  orlathr_verbose = 255;
  int size = 0;
  tavGetMemorySize(&size);
  EXPECT_FALSE(folder_.holds("trace"));
}

TEST_F(TraceFile, GetsTheLinesOfTheServices) {
  EXPECT_EQ(tavGetMemorySize(nullptr), 1U);
  EXPECT_EQ(read(), stamp() + "KVRCA0001I tavGetMemorySize(): entering.\n" + stamp() +
                        "KVRCA0005E tavGetMemorySize(): Null pointer exception.\n" + stamp() +
                        "KVRCA0003E tavGetMemorySize(): exiting with status 0x1.\n");
}

TEST_F(TraceFile, GetsTheLastLineOfAServiceDuringWhichTheSwitchIsTurnedOn) {
  orlalib_verbose = 0;
  const With sysinfo(fake_sysinfo, [](struct sysinfo *host) {
    *host = {};
    orlalib_verbose = 1;
    return 0;
  });
  int size = 0;
  EXPECT_EQ(tavGetMemorySize(&size), 0U);
  EXPECT_EQ(read(), stamp() + "KVRCA0002I tavGetMemorySize(): exiting with status 0x0.\n");
}

TEST_F(TraceFile, GetsTheFirstLineOfAServiceDuringWhichTheSwitchIsTurnedOff) {
  const With sysinfo(fake_sysinfo, [](struct sysinfo *) {
    orlalib_verbose = 0;
    return -1;
  });
  int size = 0;
  EXPECT_EQ(tavGetMemorySize(&size), 1U);
  EXPECT_EQ(read(), stamp() + "KVRCA0001I tavGetMemorySize(): entering.\n");
}

TEST_F(TraceFile, OfAServiceEmptiesTheMessageBufferByItsFirstByteAlone) {
  int size = 0;
  tavGetMemorySize(&size);
  const std::string last = "KVRCA0002I tavGetMemorySize(): exiting with status 0x0.\n";
  EXPECT_EQ(statuslog[0], '\0');
  EXPECT_EQ(statuslog + 1, last.substr(1));
}

TEST_F(TraceFile, GetsTheTextOfErrnoForPercentMAsTheCallerLeftIt) {
  const With fopen(fake_fopen, [](const char *name, const char *mode) {
    std::FILE *file = fake_fopen.real(name, mode);
    errno = ESPIPE;
    return file;
  });
  const With localtime(fake_localtime, [](const std::time_t *when) {
    errno = EINVAL;
    return fake_localtime.real(when);
  });
  errno = EACCES;
  trace("open: %m\n");
  EXPECT_EQ(read(), stamp() + "open: Permission denied\n");
}

TEST_F(TraceFile, GetsLinesOfAnyLengthWithOnePercentSignForTwo) {
  std::string expected;
  for (const std::size_t length : {1000U, 2000U, 2010U, 2020U, 2100U, 4096U, 100000U}) {
    trace(std::string(length, 'x') + "%%\n");
    expected += stamp() + std::string(length, 'x') + "%\n";
  }
  EXPECT_EQ(read(), expected);
}

// A datagram socket keeps the boundaries of writes.
TEST_F(TraceFile, GetsEachLineInOneWrite) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
  const With fopen(fake_fopen, [&](const char *, const char *) { return fdopen(ends[0], "a"); });
  const std::vector<std::string> messages = {"short\n", "", std::string(1023, 'x'), "50%% %m\n",
                                             std::string(60000, 'y') + "%%\n"};
  std::vector<char> datagram(100000);
  for (const std::string &message : messages) {
    trace(message);
    const ssize_t length = recv(ends[1], datagram.data(), datagram.size(), MSG_DONTWAIT);
    EXPECT_GE(length, static_cast<ssize_t>(stamp().size()));
    EXPECT_EQ(recv(ends[1], datagram.data(), datagram.size(), MSG_DONTWAIT), -1);
  }
}

TEST_F(TraceFile, HasMidnightForATimeWhereThereIsNone) {
  const With localtime(fake_localtime, [](const std::time_t *) { return nullptr; });
  trace("m\n");
  EXPECT_PRED_FORMAT2(IsSubstring, "  0:00:00 " + process_id() + " m\n", read());
}

TEST_F(TraceFile, IsRightPast2038On32Bits) {
  const ClockPast2038 clock(2224886400);  // 2040-07-03 00:00:00 UTC
  trace("m\n");
  EXPECT_EQ(read(), "07/02/2040 20:00:00 " + process_id() + " m\n");
}

TEST_F(TraceFile, IsMadeForEverybodyAndTheMaskIsPutBack) {
  umask(027);
  trace("m\n");
  struct stat status;
  ASSERT_EQ(stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0666U);
  EXPECT_EQ(umask(0), 027U);
}

TEST_F(TraceFile, IsAppendedTo) {
  folder_.write("trace", "before\n");
  trace("m\n");
  EXPECT_EQ(read(), "before\n" + stamp() + "m\n");
}

TEST_F(TraceFile, IsOpenedOnceForAppending) {
  int opened = 0;
  const With fopen(fake_fopen, [&](const char *name, const char *mode) {
    ++opened;
    EXPECT_EQ(name, path());
    EXPECT_STREQ(mode, "a");
    return fake_fopen.real(name, mode);
  });
  trace("a\n");
  trace("b\n");
  EXPECT_EQ(opened, 1);
}

TEST_F(TraceFile, ThatCannotBeOpenedIsNamedAtEveryCallAndLeavesTheMaskAtZero) {
  const WithVariable nowhere(kPath, path("missing/trace").c_str());
  umask(027);
  Captured error(STDERR_FILENO);
  trace("m\n");
  EXPECT_EQ(umask(027), 0U);
  trace("m\n");
  EXPECT_EQ(umask(027), 0U);
  const std::string once = "\n\tUnable to open log file " + path("missing/trace");
  EXPECT_EQ(error.text(), once + once);
}

TEST_F(TraceFile, IsOpenedWhenItCanBeAfterAll) {
  const WithVariable late(kPath, path("late/trace").c_str());
  Captured error(STDERR_FILENO);
  trace("lost\n");
  ASSERT_EQ(mkdir(path("late").c_str(), 0755), 0);
  trace("m\n");
  EXPECT_EQ(read("late/trace"), stamp() + "m\n");
}

TEST_F(TraceFile, WithAnEmptyPathCannotBeOpened) {
  const WithVariable empty(kPath, "");
  Captured error(STDERR_FILENO);
  trace("m\n");
  EXPECT_EQ(error.text(), "\n\tUnable to open log file ");
}

TEST_F(TraceFile, StaysTheOldOneWhenThePathChangesWhileItIsOpen) {
  trace("a\n");
  const WithVariable other(kPath, path("other").c_str());
  trace("b\n");
  EXPECT_EQ(read(), stamp() + "a\n" + stamp() + "b\n");
  EXPECT_FALSE(folder_.holds("other"));
}

TEST_F(TraceFile, IsClosedByANullMessage) {
  trace("a\n");
  TavTrace(nullptr);
  const WithVariable other(kPath, path("other").c_str());
  trace("b\n");
  EXPECT_EQ(read(), stamp() + "a\n");
  EXPECT_EQ(read("other"), stamp() + "b\n");
}

TEST_F(TraceFile, GivesItsDescriptorBackWhenClosed) {
  const int before = dup(STDOUT_FILENO);
  close(before);
  trace("a\n");
  EXPECT_EQ(fcntl(before, F_GETFD) & ~FD_CLOEXEC, 0);  // the trace file has it
  TavTrace(nullptr);
  EXPECT_EQ(fcntl(before, F_GETFD), -1);
}

// A program may have closed its standard input and output; only standard error is spared.
TEST_F(TraceFile, OnAnyDescriptorButStandardErrorIsClosed) {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO}) {
    const int kept = dup(descriptor);
    close(descriptor);
    trace("a\n");
    TavTrace(nullptr);
    const bool closed = fcntl(descriptor, F_GETFD) == -1;
    trace(std::string(ORLA_TRACE_ROTATION_SIZE, 'x').c_str());
    const bool rotated = fcntl(descriptor, F_GETFD) == -1;
    dup2(kept, descriptor);
    close(kept);
    EXPECT_TRUE(closed) << descriptor;
    EXPECT_TRUE(rotated) << descriptor;
  }
}

TEST_F(TraceFile, StaysOpenWhileThePathIsUnset) {
  trace("a\n");
  {
    const WithVariable unset(kPath, nullptr);
    Captured out(STDOUT_FILENO);
    trace("out");
    TavTrace(nullptr);
    EXPECT_EQ(out.text(), "out\n(null)\n");
  }
  const WithVariable other(kPath, path("other").c_str());
  trace("b\n");
  EXPECT_EQ(read(), stamp() + "a\n" + stamp() + "b\n");
}

TEST_F(TraceFile, StaysOpenOnACloseRequestWhileBothSwitchesAreOff) {
  trace("a\n");
  orlalib_verbose = 0;
  TavTrace(nullptr);
  orlalib_verbose = 255;
  const WithVariable other(kPath, path("other").c_str());
  trace("b\n");
  EXPECT_EQ(read(), stamp() + "a\n" + stamp() + "b\n");
}

TEST_F(TraceFile, IsNotChangedByACloseRequestWithoutAnOpenStream) {
  TavTrace(nullptr);
  TavTrace(nullptr);
  EXPECT_FALSE(folder_.holds("trace"));
  trace("a\n");
  EXPECT_EQ(read(), stamp() + "a\n");
}

TEST_F(TraceFile, OnTheStandardErrorDescriptorIsDroppedWithoutBeingClosed) {
  const int error = dup(STDERR_FILENO);
  close(STDERR_FILENO);
  trace("a\n");
  struct stat status;
  fstat(STDERR_FILENO, &status);
  TavTrace(nullptr);
  const bool still_open = fcntl(STDERR_FILENO, F_GETFD) != -1;
  trace("b\n");  // opens the file afresh, on another descriptor
  dup2(error, STDERR_FILENO);
  EXPECT_TRUE(S_ISREG(status.st_mode));
  EXPECT_TRUE(still_open);
  EXPECT_EQ(read(), stamp() + "a\n" + stamp() + "b\n");
}

TEST_F(TraceFile, OfExactlyTheLimitIsNotRotated) {
  fill_to(stamp().size() + 2);
  trace("m\n");
  EXPECT_EQ(read().size(), kLimit);
  EXPECT_FALSE(folder_.holds("trace.1"));
}

TEST_F(TraceFile, OneByteOverTheLimitIsRotatedAndTheNextLineStartsANewOne) {
  fill_to(stamp().size() + 1);
  folder_.write("trace.1", "an earlier one");
  trace("m\n");
  EXPECT_FALSE(folder_.holds("trace"));
  const std::string rotated = read("trace.1");
  EXPECT_EQ(rotated.size(), kLimit + 1);
  EXPECT_EQ(rotated.substr(kLimit + 1 - stamp().size() - 2), stamp() + "m\n");
  trace("n\n");
  EXPECT_EQ(read(), stamp() + "n\n");
  EXPECT_EQ(read("trace.1"), rotated);
}

TEST_F(TraceFile, GivesItsDescriptorBackWhenRotated) {
  const int next = dup(STDOUT_FILENO);
  close(next);
  fill_to(1);
  trace("m\n");
  EXPECT_EQ(fcntl(next, F_GETFD), -1);
}

TEST_F(TraceFile, OnTheStandardErrorDescriptorIsClosedWhenRotated) {
  const int error = dup(STDERR_FILENO);
  close(STDERR_FILENO);
  fill_to(1);
  trace("m\n");
  const bool closed = fcntl(STDERR_FILENO, F_GETFD) == -1;
  dup2(error, STDERR_FILENO);
  EXPECT_TRUE(closed);
}

// The descriptor is that of the stream last opened, not of the first.
TEST_F(TraceFile, IsRotatedAfterItWasOpenedOnAnotherDescriptor) {
  trace("a\n");
  TavTrace(nullptr);
  const int in_the_way = dup(STDOUT_FILENO);
  fill_to(1);
  trace("b\n");
  close(in_the_way);
  EXPECT_TRUE(folder_.holds("trace.1"));
}

// On Debian 13 C++ streams open their files by fopen() as well, so none is opened meanwhile.
TEST_F(TraceFile, IsRotatedAtTheNewPathWhenThePathHasChanged) {
  fill_to(stamp().size() + 2);
  folder_.write("other", "other");
  int opened = 0;
  {
    const With fopen(fake_fopen, [&](const char *name, const char *mode) {
      ++opened;
      setenv(kPath, path("other").c_str(), 1);  // takes effect from the next call on
      return fake_fopen.real(name, mode);
    });
    trace("a\n");  // fills the file to the limit
    trace("b\n");
  }
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(read("other.1"), "other");
  EXPECT_EQ(read().size(), kLimit + stamp().size() + 2);
}

TEST_F(TraceFile, ThatCannotBeRenamedIsClosedAndAppendedToAndTriedAgainWithEveryLine) {
  fill_to(1);
  int renamed = 0;
  int opened = 0;
  const With rename(fake_rename, [&](const char *from, const char *to) {
    ++renamed;
    EXPECT_EQ(from, path());
    EXPECT_EQ(to, path() + ".1");
    return -1;
  });
  const With fopen(fake_fopen, [&](const char *name, const char *mode) {
    ++opened;
    return fake_fopen.real(name, mode);
  });
  trace("a\n");
  trace("b\n");
  trace("c\n");
  EXPECT_EQ(renamed, 3);
  EXPECT_EQ(opened, 3);
  EXPECT_EQ(read().substr(kLimit - 1), stamp() + "a\n" + stamp() + "b\n" + stamp() + "c\n");
}

// Rotation of a file that other processes share.

// On 32 bits the status of a file written after 2038 does not fit its record.
auto without_status(int error) {
  return With(fake_fstat, [error](int, struct stat *) {
    errno = error;
    return -1;
  });
}

TEST_F(TraceFile, ThatAnotherProcessHasRotatedIsOnlyClosedAlsoPast2038On32Bits) {
  const auto past_2038 = without_status(EOVERFLOW);
  fill_to(1000);
  trace("a\n");
  folder_.write("new", "of another process\n");
  std::filesystem::rename(path(), path("trace.1"));
  std::filesystem::rename(path("new"), path());
  const std::string long_line(1000, 'b');
  trace(long_line);
  EXPECT_EQ(read(), "of another process\n");
  EXPECT_TRUE(read("trace.1").ends_with(stamp() + "a\n" + stamp() + long_line)) << read("trace.1");
  trace("c\n");
  EXPECT_EQ(read(), "of another process\n" + stamp() + "c\n");
}

TEST_F(TraceFile, WhoseNameIsGoneIsOnlyClosed) {
  fill_to(1000);
  trace("a\n");
  std::filesystem::remove(path());
  expect_that_a_line_past_the_limit_only_closes_it_after_two_rotations();
}

TEST_F(TraceFile, WhoseNameIsGoneIsOnlyClosedAfterAChangeOfThePathToo) {
  fill_to(1000);
  trace("a\n");
  std::filesystem::remove(path());
  folder_.write("other", "other");
  const WithVariable other(kPath, path("other").c_str());
  trace(std::string(1000, 'b'));
  EXPECT_EQ(read("other"), "other");
}

TEST_F(TraceFile, ThatAnotherProcessIsRotatingIsOnlyClosedAndTriedAgainWithTheNextLine) {
  fill_to(1);
  const int other = open(path().c_str(), O_RDONLY);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  const int next = dup(STDOUT_FILENO);
  close(next);
  trace("a\n");
  EXPECT_FALSE(folder_.holds("trace.1"));
  EXPECT_EQ(fcntl(next, F_GETFD), -1);
  close(other);
  trace("b\n");
  EXPECT_TRUE(read("trace.1").ends_with(stamp() + "a\n" + stamp() + "b\n")) << read("trace.1");
}

// A backup or a network file system may have kept a link to it.
TEST_F(TraceFile, ThatHasAnotherNameAfterTwoRotationsIsOnlyClosed) {
  fill_to(1000);
  trace("a\n");
  std::filesystem::rename(path(), path("backup"));
  expect_that_a_line_past_the_limit_only_closes_it_after_two_rotations();
}

// Anybody who may read the file can hold a lock on it for good.
TEST_F(TraceFile, OfMoreThanTwiceTheLimitIsRotatedWhoeverHoldsTheLock) {
  folder_.write("trace", "");
  ASSERT_EQ(truncate(path().c_str(), static_cast<off_t>(2 * kLimit - stamp().size() - 2)), 0);
  const int reader = open(path().c_str(), O_RDONLY);
  ASSERT_EQ(flock(reader, LOCK_SH), 0);
  trace("a\n");
  EXPECT_EQ(std::filesystem::file_size(path()), 2 * kLimit);
  EXPECT_FALSE(folder_.holds("trace.1"));
  ASSERT_EQ(truncate(path().c_str(), static_cast<off_t>(2 * kLimit - stamp().size() - 1)), 0);
  trace("b\n");
  EXPECT_FALSE(folder_.holds("trace"));
  EXPECT_EQ(std::filesystem::file_size(path("trace.1")), 2 * kLimit + 1);
  close(reader);
}

TEST_F(TraceFile, OfMoreThanTwiceTheLimitThatAnotherProcessHasRotatedIsOnlyClosed) {
  trace("a\n");
  ASSERT_EQ(truncate(path().c_str(), static_cast<off_t>(2 * kLimit)), 0);
  std::filesystem::rename(path(), path("trace.1"));
  folder_.write("trace", "of another process\n");
  const int reader = open(path().c_str(), O_RDONLY);
  ASSERT_EQ(flock(reader, LOCK_SH), 0);
  trace("b\n");
  EXPECT_EQ(read(), "of another process\n");
  EXPECT_EQ(std::filesystem::file_size(path("trace.1")), 2 * kLimit + stamp().size() + 2);
  close(reader);
}

// Whether a line that takes the file past the limit moves it aside.
class TraceRotation : public TraceFile {
 protected:
  bool rotates() {
    const bool there_before = folder_.holds("trace.1");
    if (!folder_.holds("trace")) fill_to(1);
    trace("m\n");
    return !there_before && folder_.holds("trace.1") && !folder_.holds("trace");
  }

  bool rotates_when_locking_fails_with(int error) {
    const With flock(fake_flock, [&](int descriptor, int operation) {
      EXPECT_GE(descriptor, 0);
      EXPECT_EQ(operation, LOCK_EX | LOCK_NB);
      errno = error;
      return -1;
    });
    return rotates();
  }

  // The status of the open file, which is asked for without a path, of the file at the path, or of
  // the predecessor.
  bool rotates_when_identifying_fails_with(int error, const std::string &failing_path) {
    const With statx(fake_statx, [&](int folder, const char *asked, int flags, unsigned mask,
                                     struct statx *out) {
      if (asked != failing_path) return fake_statx.real(folder, asked, flags, mask, out);
      errno = error;
      return -1;
    });
    return rotates();
  }
};

TEST_F(TraceRotation, IsLeftToTheHolderOfTheLock) {
  EXPECT_FALSE(rotates_when_locking_fails_with(EWOULDBLOCK));
  EXPECT_FALSE(rotates_when_locking_fails_with(EINTR));
  EXPECT_TRUE(rotates());
}

TEST_F(TraceRotation, GoesOnWhereThereAreNoLocks) {
  for (const int error : {ENOLCK, EOPNOTSUPP, ENOSYS, EINVAL}) {
    EXPECT_TRUE(rotates_when_locking_fails_with(error)) << error;
    std::filesystem::remove(path("trace.1"));
  }
}

TEST_F(TraceRotation, GoesOnWithoutALockWhenNoMoreFilesCanBeOpened) {
  const With open(fake_open, [&](const char *opened, int flags) {
    EXPECT_EQ(opened, path());
    EXPECT_EQ(flags & (O_ACCMODE | O_NONBLOCK | O_CLOEXEC), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    errno = EMFILE;
    return -1;
  });
  EXPECT_TRUE(rotates());
}

TEST_F(TraceRotation, IsLeftToAnotherHostThatReplacesThePredecessorAtThatMoment) {
  EXPECT_FALSE(rotates_when_identifying_fails_with(ESTALE, path("trace.1")));
  EXPECT_TRUE(rotates());
}

TEST_F(TraceRotation, GoesOnWhenItCannotBeToldWhoseFileIsWhere) {
  for (const int error : {EIO, ENOSYS, EACCES, ELOOP}) {
    EXPECT_TRUE(rotates_when_identifying_fails_with(error, path("trace.1"))) << error;
    std::filesystem::remove(path("trace.1"));
  }
  for (const int error : {EIO, ENOSYS, ESTALE}) {
    for (const std::string &failing : {std::string(), path()}) {
      EXPECT_TRUE(rotates_when_identifying_fails_with(error, failing)) << error;
      std::filesystem::remove(path("trace.1"));
    }
  }
}

TEST_F(TraceRotation, TellsFilesApartByTheirDeviceToo) {
  for (const int part : {0, 1, 2}) {
    folder_.write("trace.1", "earlier");
    fill_to(1);
    const With statx(fake_statx, [&](int folder, const char *asked, int flags, unsigned mask,
                                     struct statx *out) {
      const bool of_the_predecessor = asked == path("trace.1");
      fake_statx.real(folder, of_the_predecessor ? path().c_str() : asked, flags, mask, out);
      if (!of_the_predecessor) return 0;
      if (part == 0) ++out->stx_ino;
      if (part == 1) ++out->stx_dev_major;
      if (part == 2) ++out->stx_dev_minor;
      return 0;
    });
    trace("m\n");
    EXPECT_EQ(read("trace.1").size(), kLimit - 1 + stamp().size() + 2) << part;
  }
}

TEST_F(TraceRotation, AsksNothingForLinesThatDoNotRotate) {
  const With flock(fake_flock, [](int, int) {
    ADD_FAILURE() << "locked";
    return 0;
  });
  const With statx(fake_statx, [](int, const char *asked, int, unsigned, struct statx *) {
    ADD_FAILURE() << "status of " << asked;
    return -1;
  });
  const With open(fake_open, [](const char *opened, int) {
    ADD_FAILURE() << "opened " << opened;
    return -1;
  });
  fill_to(2 * (stamp().size() + 2));
  trace("a\n");
  trace("b\n");
  EXPECT_EQ(read().size(), kLimit);
}

TEST_F(TraceFile, WithoutADescriptorIsWrittenAndItsSizeNotAskedFor) {
  char text[128] = {};
  const With fopen(fake_fopen, [&](const char *, const char *mode) {
    return fmemopen(text, sizeof text, mode);
  });
  const With fstat(fake_fstat, [](int descriptor, struct stat *) {
    ADD_FAILURE() << "of descriptor " << descriptor;
    return -1;
  });
  trace("a\n");
  EXPECT_EQ(text, stamp() + "a\n");
  TavTrace(nullptr);
}

TEST_F(TraceFile, IsNotRotatedWhenItsStatusCannotBeRead) {
  fill_to(1);
  const auto unreadable = without_status(EIO);
  trace("a\n");
  EXPECT_EQ(read().size(), kLimit - 1 + stamp().size() + 2);
  EXPECT_FALSE(folder_.holds("trace.1"));
}

TEST_F(TraceFile, IsRotatedPast2038On32Bits) {
  const auto past_2038 = without_status(EOVERFLOW);
  fill_to(stamp().size() + 2);
  trace("a\n");
  EXPECT_FALSE(folder_.holds("trace.1"));
  trace("b\n");
  EXPECT_EQ(read("trace.1").size(), kLimit + stamp().size() + 2);
}

TEST_F(TraceFile, IsNotRotatedWhenNeitherStatusNorPositionCanBeHad) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const With fopen(fake_fopen, [&](const char *, const char *) { return fdopen(ends[1], "a"); });
  const auto past_2038 = without_status(EOVERFLOW);
  const With rename(fake_rename, [](const char *, const char *) {
    ADD_FAILURE() << "renamed";
    return 0;
  });
  trace("a\n");
}

TEST_F(TraceFile, ComparesItsSizeAsAnUnsigned32BitNumber) {
  const auto rotates_at = [&](off_t size) {
    bool renamed = false;
    const With fstat(fake_fstat, [&](int, struct stat *status) {
      status->st_size = size;
      return 0;
    });
    const With rename(fake_rename, [&](const char *, const char *) {
      renamed = true;
      return 0;
    });
    trace("m\n");
    return renamed;
  };
  EXPECT_FALSE(rotates_at(kLimit));
  EXPECT_TRUE(rotates_at(kLimit + 1));
  EXPECT_TRUE(rotates_at(2147483647));
  EXPECT_TRUE(rotates_at(-1));
  if constexpr (sizeof(off_t) == 8) {
    EXPECT_TRUE(rotates_at(static_cast<off_t>(3000000000LL)));
    EXPECT_FALSE(rotates_at(static_cast<off_t>(4294967296LL)));
    EXPECT_TRUE(rotates_at(static_cast<off_t>(4294967296LL + 4000001)));
  }
}

// A path of `length` characters under the test's folder.
std::string long_path(const TempDir &folder, std::size_t length) {
  std::string path = folder.path("");
  while (path.size() + 201 < length - 1) {
    path += std::string(200, 'd');
    mkdir(path.c_str(), 0755);
    path += '/';
  }
  return path + std::string(length - path.size(), 'f');
}

bool rotates(const std::string &path) {
  const WithVariable variable(kPath, path.c_str());
  std::FILE *file = std::fopen(path.c_str(), "w");
  EXPECT_NE(file, nullptr);
  std::fputs(std::string(kLimit, 'x').c_str(), file);
  std::fclose(file);
  trace("m\n");
  return access(path.c_str(), F_OK) != 0 && access((path + ".1").c_str(), F_OK) == 0;
}

TEST_F(TraceFile, IsRotatedUpToThePathThatFitsTheBufferOfTheRotatedName) {
  EXPECT_TRUE(rotates(long_path(folder_, 1021)));
}

TEST_F(TraceFile, IsNotRotatedToANameThatWouldBeCut) {
  const std::string path = long_path(folder_, 1022);
  EXPECT_FALSE(rotates(path));
  EXPECT_EQ(access(path.c_str(), F_OK), 0);
}

TEST_F(TraceFile, IgnoresFailingWrites) {
  const WithVariable full(kPath, "/dev/full");
  Captured out(STDOUT_FILENO);
  Captured error(STDERR_FILENO);
  trace("a\n");
  trace("b\n");
  EXPECT_EQ(out.text(), "");
  EXPECT_EQ(error.text(), "");
}

// A line that could not be written is not kept and written before a later one.
TEST_F(TraceFile, LosesAnUnwrittenLineForGood) {
  trace("a\n");
  struct rlimit earlier;
  getrlimit(RLIMIT_FSIZE, &earlier);
  struct rlimit tight = earlier;
  tight.rlim_cur = stamp().size() + 2;
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &tight);
  trace("lost\n");
  setrlimit(RLIMIT_FSIZE, &earlier);
  trace("c\n");
  EXPECT_EQ(read(), stamp() + "a\n" + stamp() + "c\n");
}

// How a process that does `work` ends: the signal, or 0.
template <typename Work>
int signal_that_ends(Work work) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    for (const int signal_number : {SIGPIPE, SIGXFSZ})
      signal(signal_number, SIG_DFL);  // whoever started the test may ignore them
    work();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST_F(TraceFile, PastTheLimitOfFileSizesIsCutAndTheProcessEndedBySigxfsz) {
  const auto write_past_the_limit = [] {
    const struct rlimit no_core = {0, 0};
    const struct rlimit tight = {10, 10};
    setrlimit(RLIMIT_CORE, &no_core);
    setrlimit(RLIMIT_FSIZE, &tight);
    trace("m\n");
  };
  EXPECT_EQ(signal_that_ends(write_past_the_limit), SIGXFSZ);
  EXPECT_EQ(read(), stamp().substr(0, 10));
}

TEST_F(TraceFile, ThatIsAFifoWithoutAReaderAnyMoreEndsTheProcessBySigpipe) {
  ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
  const int reader = open(path().c_str(), O_RDONLY | O_NONBLOCK);
  trace("m\n");
  char line[64] = {};
  EXPECT_EQ(::read(reader, line, sizeof line), static_cast<ssize_t>(stamp().size() + 2));
  EXPECT_EQ(line, stamp() + "m\n");
  close(reader);
  EXPECT_EQ(signal_that_ends([] { trace("m\n"); }), SIGPIPE);
}

// A 32-bit program cannot open it.
TEST_F(TraceFile, Over2GiBIsRotatedOn64BitsAndNamedOn32) {
  folder_.write("trace", "");
  ASSERT_EQ(truncate64(path().c_str(), off64_t{3} << 30), 0);
  Captured error(STDERR_FILENO);
  trace("m\n");
  const bool is_32_bits = sizeof(off_t) == 4;
  EXPECT_EQ(error.text(), is_32_bits ? "\n\tUnable to open log file " + path() : "");
  EXPECT_EQ(folder_.holds("trace.1"), !is_32_bits);
}

TEST_F(TraceFile, OfALibraryThatIsClosedMeanwhileLeavesItsDescriptorOpen) {
#ifdef ORLA_SANITIZED
  GTEST_SKIP() << "a sanitizer takes the copy's variables for a second definition";
#endif
  const std::string copy = path("liborla-copy.so");
  std::filesystem::copy_file(ORLA_LIBRARY, copy);
  const int next = dup(STDOUT_FILENO);
  close(next);
  void *library = dlopen(copy.c_str(), RTLD_NOW);
  ASSERT_NE(library, nullptr) << dlerror();
  char line[] = "m\n";
  reinterpret_cast<void (*)(char *)>(dlsym(library, "TavTrace"))(line);
  dlclose(library);
  ASSERT_EQ(dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_NE(fcntl(next, F_GETFD), -1);
  EXPECT_EQ(read(), stamp() + "m\n");
}

TEST_F(TraceFile, LeavesErrnoAlone) {
  const auto with_errors = [](auto &fake, int result) {
    return [&fake, result](auto... arguments) {
      fake.real(arguments...);
      errno = EIO;
      return result;
    };
  };
  const With flock(fake_flock, with_errors(fake_flock, 0));
  const With rename(fake_rename, with_errors(fake_rename, 0));
  const With fopen(fake_fopen, [](const char *name, const char *mode) {
    std::FILE *file = fake_fopen.real(name, mode);
    errno = EIO;
    return file;
  });
  const auto line = [] { trace("m\n"); };
  EXPECT_EQ(errno_after(line), 4711) << "opened";
  EXPECT_EQ(errno_after(line), 4711) << "open";
  EXPECT_EQ(errno_after([] { TavTrace(nullptr); }), 4711) << "closed";
  fill_to(1);
  EXPECT_EQ(errno_after(line), 4711) << "rotated";
  EXPECT_TRUE(folder_.holds("trace.1"));
  EXPECT_EQ(errno_after([] { tavGetMemorySize(nullptr); }), 4711) << "of a service";
  TavTrace(nullptr);
  {
    const WithVariable nowhere(kPath, path("missing/trace").c_str());
    Captured error(STDERR_FILENO);
    EXPECT_EQ(errno_after(line), 4711) << "not opened";
  }
  const WithVariable full(kPath, "/dev/full");
  EXPECT_EQ(errno_after(line), 4711) << "not written";
}

class TraceWithoutAPath : public testing::Test {
 protected:
  TraceWithoutAPath() {
    orlalib_verbose = 255;
    orlathr_verbose = 0;
  }
  ~TraceWithoutAPath() override { orlalib_verbose = 0; }
  WithVariable path_variable_{kPath, nullptr};
};

TEST_F(TraceWithoutAPath, WritesTheBareMessageAndALineFeedOnStandardOutput) {
  Captured out(STDOUT_FILENO);
  trace("abc\n");
  trace("def");
  EXPECT_EQ(out.text(), "abc\n\ndef\n");
}

TEST_F(TraceWithoutAPath, DoesNotReadTheMessageAsAFormat) {
  Captured out(STDOUT_FILENO);
  trace("100%% %s %m");
  EXPECT_EQ(out.text(), "100%% %s %m\n");
}

TEST_F(TraceWithoutAPath, LeavesErrnoAloneWhenStandardOutputIsFull) {
  const int out = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY);
  dup2(full, STDOUT_FILENO);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  const int after = errno_after([] { trace("m\n"); });
  dup2(out, STDOUT_FILENO);
  EXPECT_EQ(after, 4711);
}

TEST_F(TraceWithoutAPath, WritesPrintfsTextForANullMessage) {
  Captured out(STDOUT_FILENO);
  TavTrace(nullptr);
  EXPECT_EQ(out.text(), "(null)\n");
}

TEST_F(TraceWithoutAPath, LooksThePathUpAtEveryCall) {
  const TempDir folder;
  Captured out(STDOUT_FILENO);
  trace("a");
  {
    const WithVariable set(kPath, folder.path("trace").c_str());
    trace("b");
  }
  trace("c");
  EXPECT_EQ(out.text(), "a\nc\n");
  EXPECT_TRUE(folder.read("trace").ends_with(" b")) << folder.read("trace");
}

}  // namespace
