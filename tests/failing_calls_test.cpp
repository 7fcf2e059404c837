// Every call of the C library that can fail, made to fail at every place where an exported function
// makes it: what the function then returns, what it leaves in its outputs and files, and that it
// keeps no resources. The cases are in failing_calls/table.h. Each failure has a process of its
// own.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "failing_calls/table.h"

namespace failing_calls {

void PrintTo(const Case &printed, std::ostream *out) { *out << printed.outcome; }

namespace {

// Imports of the library that never report a failure.
const std::set<std::string> kNeverFail = {
    // They use memory only, with formats and sizes that always work.
    "atoi", "memchr", "memcmp", "memcpy", "memmove", "memrchr", "memset", "snprintf", "sprintf",
    "stpcpy", "strchr", "strcmp", "strcpy", "strlen", "strncmp", "strncpy", "strnlen", "strtol",
    // The same where the compiler knows how much room there is, and what ends the process.
    "__memcpy_chk", "__memmove_chk", "__memset_chk", "__snprintf_chk", "__sprintf_chk",
    "__stpcpy_chk", "__strcpy_chk", "__strncpy_chk", "__stack_chk_fail",
    // Always succeed.
    "getenv", "getgid", "getpid", "getuid", "secure_getenv", "strerror", "umask",
    // Return nothing.
    "exit", "free", "freeifaddrs", "perror", "tzset",
    // Takes no buffer from a stream just opened, which always works.
    "setvbuf",
    // The compiler's own forms of fprintf() and printf(), which are faked together with those.
    "fputs", "puts",
    // Data, and what a library is started and ended with.
    "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable", "__cxa_finalize",
    "__errno_location", "__gmon_start__", "__timezone", "stderr", "stdout", "timezone"};

// Runs a case in a process of its own.

std::string kept(const Scene &scene) {
  const std::pair<int, const char *> counts[] = {
      {scene.descriptors_kept(), "descriptor"},
      {scene.streams_kept(), "stream"},
      {scene.blocks_kept(), "block"},
      {scene.libraries_kept(), "handle"},
      {scene.lists_kept(), "list"},
  };
  std::string text;
  for (const auto &[count, thing] : counts) {
    if (count == 0) continue;
    text +=
        (text.empty() ? ", keeps " : ", ") + told(count) + " " + thing + (count == 1 ? "" : "s");
  }
  return text;
}

struct Played {
  std::string outcome;
  bool failed = false;              // the call that was to fail was made
  std::map<std::string, int> made;  // of the calls that do not always fail
};

// The child's part. The scene is also removed where the library ends the process.
std::string play_here(const Case &played, const Failure &failure) {
  static std::optional<Scene> stage;
  Scene &scene = stage.emplace();
  scene.fail(failure);
  std::string text = played.play(scene);
  text += kept(scene);
  text += '\0';
  text += scene.failed() ? 'y' : 'n';
  for (const std::string &call : calls_that_can_fail())
    if (scene.made(call) != 0 && !scene.always_fails(call))
      text += call + " " + std::to_string(scene.made(call)) + "\n";
  stage.reset();
  return text;
}

Played play(const Case &played, const Failure &failure = {}) {
  int ends[2];
  if (pipe(ends) != 0) return {"no pipe", false, {}};
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    const std::string text = play_here(played, failure);
    const ssize_t size = write(ends[1], text.data(), text.size());
    _exit(size == static_cast<ssize_t>(text.size()) ? 0 : 2);
  }
  close(ends[1]);
  std::string text;
  char block[4096];
  for (ssize_t size; (size = read(ends[0], block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(size));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  // When the child has reported nothing, the failure was reached: nothing else ends it.
  if (WIFSIGNALED(status)) return {told("is killed by signal ") + told(WTERMSIG(status)), true, {}};
  if (WEXITSTATUS(status) != 0)
    return {told("exits with status ") + told(WEXITSTATUS(status)), true, {}};
  const std::size_t end = text.find('\0');
  Played result = {text.substr(0, end), text[end + 1] == 'y', {}};
  std::istringstream calls(text.substr(end + 2));
  std::string name;
  for (int count; calls >> name >> count;)
    result.made[name] = count;
  return result;
}

std::string with_underscores(std::string text) {
  for (char &c : text)
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  return text;
}

std::string name_of(const Case &named) {
  const std::string way = named.way;
  return with_underscores(named.function + (way.empty() ? "" : "__" + way));
}

bool can_fail_here(const FailingCall &call) {
  const std::vector<std::string> all = calls_that_can_fail();
  return std::find(all.begin(), all.end(), call.name) != all.end();
}

class Cases : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(FailingCalls, Cases, testing::ValuesIn(table()),
                         [](const auto &listed) { return name_of(listed.param); });

TEST_P(Cases, MakesTheCallsListedAndNoOther) {
  const Played played = play(GetParam());
  EXPECT_EQ(played.outcome, GetParam().outcome);
  std::map<std::string, int> listed;
  for (const FailingCall &call : GetParam().calls) {
    if (!can_fail_here(call)) continue;
    const auto [at, is_new] = listed.try_emplace(call.name, call.outcomes.size());
    EXPECT_TRUE(is_new || at->second == static_cast<int>(call.outcomes.size())) << call.name;
  }
  EXPECT_EQ(played.made, listed);
}

TEST_P(Cases, ComeToWhatIsListedWhicheverCallFails) {
  for (const FailingCall &call : GetParam().calls) {
    if (!can_fail_here(call)) continue;
    for (const int error : call.errors) {
      int occurrence = 0;
      for (const std::string &outcome : call.outcomes) {
        const Played played = play(GetParam(), {call.name, ++occurrence, error});
        const std::string when = told(call.name, occurrence, error);
        EXPECT_TRUE(played.failed) << when;
        EXPECT_EQ(played.outcome, outcome) << when;
      }
    }
  }
}

// The lists of this file against the library.

std::set<std::string> listed_functions() {
  std::set<std::string> functions;
  for (const Case &listed : table())
    functions.insert(listed.function);
  return functions;
}

// The names of one kind that nm lists for the library.
std::set<std::string> names_of_library(const char *option, const std::string &kinds) {
  const std::string command = std::string("'" ORLA_NM "' -P -D ") + option + " '" ORLA_LIBRARY "'";
  std::FILE *nm = popen(command.c_str(), "r");
  std::set<std::string> names;
  char line[512];
  while (std::fgets(line, sizeof line, nm) != nullptr) {
    std::string name;
    char kind = 0;
    std::istringstream(line) >> name >> kind;
    if (kinds.find(kind) != std::string::npos) names.insert(name.substr(0, name.find('@')));
  }
  EXPECT_EQ(pclose(nm), 0) << command;
  EXPECT_FALSE(names.empty()) << command;
  return names;
}

TEST(FailingCallsTable, HasEveryExportedFunction) {
  EXPECT_EQ(names_of_library("--defined-only", "T"), listed_functions());
}

TEST(FailingCallsTable, HasEveryCallThatCanFail) {
  std::set<std::string> listed;
  for (const Case &one : table())
    for (const FailingCall &call : one.calls)
      if (!call.errors.empty() && can_fail_here(call)) listed.insert(call.name);
  const std::vector<std::string> all = calls_that_can_fail();
  EXPECT_EQ(listed, std::set<std::string>(all.begin(), all.end()));
}

#ifndef ORLA_SANITIZED
TEST(FailingCallsTable, KnowsEveryNameThatTheLibraryImports) {
  std::set<std::string> known = kNeverFail;
  for (const std::string &call : calls_that_can_fail())
    known.insert(call);
  for (const std::string &name : names_of_library("--undefined-only", "Uw"))
    EXPECT_TRUE(known.count(name) != 0)
        << name << " is imported: if it can fail, it needs a fake and a place in the table";
}
#endif

}  // namespace
}  // namespace failing_calls
