// What orla.hpp gets from the exported functions: profiles, libraries, tokens, the host, names and
// traces.

#include <gtest/gtest.h>
#include <orla/orla.hpp>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "fakes/heap.h"
#include "fakes/host.h"
#include "fakes/linker.h"
#include "fakes/trace_lines.h"
#include "kit/environment.h"
#include "kit/modules.h"
#include "kit/temp_dir.h"

namespace {

using testing::IsSubstring;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

std::string exported_string(const std::string &path, const char *section, const char *key,
                            const char *fallback) {
  std::vector<char> text(8192);
  orla_cfg_get_private_profile_string(section, key, fallback, text.data(),
                                      static_cast<unsigned>(text.size()), path.c_str());
  return text.data();
}

// Every case in which the two readers give the default.
constexpr const char *kProfile =
    "[Main]\nPort=5040\nName=first host\nSpaces=   \nEmpty=\nTab=\t\nPadded=  a \nNone\nTwo=a=b\n"
    "Long=123456\nLetters=12ab\nNegative=-5\nZero=0\n\n[Other]\nPort=1\n";

TEST(CppProfile, AnswersWithADefaultAsTheExportedReaders) {
  const TempDir folder;
  const orla::profile profile(folder.write("profile.ini", kProfile));
  for (const char *section : {"Main", "main", "Mai", "Other", "Missing"}) {
    for (const char *key : {"Port", "name", "Spaces", "Empty", "Tab", "Padded", "None", "Two",
                            "Long", "Letters", "Negative", "Zero", "Missing", ""}) {
      for (const char *fallback : {"", "none", "first host", "   "}) {
        EXPECT_EQ(profile.get(section, key).value_or(fallback),
                  exported_string(profile.path(), section, key, fallback))
            << section << ' ' << key;
      }
      for (const int fallback : {0, -1, 5040, 4711}) {
        EXPECT_EQ(profile.get_int(section, key).value_or(fallback),
                  orla_cfg_get_private_profile_int(section, key, fallback, profile.path().c_str()))
            << section << ' ' << key;
      }
    }
  }
}

TEST(CppProfile, TellsWhatIsFoundFromWhatIsNot) {
  const TempDir folder;
  const orla::profile profile(folder.write("profile.ini", kProfile));
  EXPECT_EQ(profile.get("Main", "Padded"), "  a ");
  EXPECT_EQ(profile.get("Main", "Tab"), "\t");
  EXPECT_EQ(profile.get("Main", "Spaces"), std::nullopt);
  EXPECT_EQ(profile.get("Main", "Empty"), std::nullopt);
  EXPECT_EQ(profile.get("Main", "Missing"), std::nullopt);
  EXPECT_EQ(profile.get_int("Main", "Zero"), 0);
  EXPECT_EQ(profile.get_int("Main", "Negative"), 0);
  EXPECT_EQ(profile.get_int("Main", "Empty"), std::nullopt);
  EXPECT_EQ(profile.get_int("Main", "Missing"), std::nullopt);
  EXPECT_EQ(orla::profile(folder.path("missing.ini")).get("Main", "Port"), std::nullopt);
  EXPECT_EQ(orla::profile(folder.path("missing.ini")).get_int("Main", "Port"), std::nullopt);
}

TEST(CppProfile, ReadsAValueOfAnyLength) {
  const TempDir folder;
  for (const std::size_t length : {1U, 253U, 254U, 255U, 256U, 510U, 511U, 512U, 1023U, 100000U}) {
    // So many spaces that a first, cut reading sees nothing else.
    const std::string value = std::string(length, ' ') + "x";
    const orla::profile profile(folder.write(
        "long.ini", "[Main]\nKey=" + value + "\nBlank=" + std::string(length, ' ') + "\n"));
    EXPECT_EQ(profile.get("Main", "Key"), value) << length;
    EXPECT_EQ(profile.get("Main", "Blank"), std::nullopt) << length;
  }
  const orla::profile zero(folder.write("zero.ini", std::string("[M]\nKey=ab\0cd\n", 14)));
  EXPECT_EQ(zero.get("M", "Key").value_or("none"),
            exported_string(zero.path(), "M", "Key", "none"));
}

TEST(CppProfile, WritesOneKey) {
  const TempDir folder;
  const std::string path = folder.write("profile.ini", "[Main]\nPort=5040\n");
  EXPECT_TRUE(orla::profile(path).set("Main", "Port", "5041"));
  EXPECT_TRUE(orla::profile(path).set("New", std::string("Key"), std::string("value")));
  EXPECT_EQ(folder.read("profile.ini"), "[Main]\nPort=5041\n\n[New]\nKey=value\n");
  EXPECT_FALSE(orla::profile("/nowhere/at/all.ini").set("Main", "Port", "1"));
}

TEST(CppProfile, InForceIsTheOneThatTheEnvironmentNames) {
  const TempDir folder;
  const std::string path = folder.write("profile.ini", kProfile);
  const WithVariable named("ORLA_CONFIG", path.c_str());
  EXPECT_EQ(orla::profile::in_force().path(), path);
  EXPECT_EQ(orla::profile::in_force().get("Main", "Port"), "5040");
}

TEST(CppProfile, OfTheDefaultPathIsLookedForAsByTheExportedReaders) {
  const TempDir folder;
  const WithVariable named("ORLA_CONFIG", folder.write("profile.ini", kProfile).c_str());
  const orla::profile profile(ORLA_DEFAULT_PROFILE_PATH);
  EXPECT_EQ(profile.get("Main", "Port"), "5040");
  EXPECT_EQ(profile.get_int("Main", "Port").value_or(-2),
            orla_cfg_get_private_profile_int("Main", "Port", -2, ORLA_DEFAULT_PROFILE_PATH));
}

TEST(CppLibrary, OpensFindsAndClosesOnce) {
  int closed = 0;
  const With<int(void *)> close(fake_dlclose, [&](void *handle) {
    ++closed;
    return fake_dlclose.real(handle);
  });
  {
    orla::library good{kGoodModule};
    ASSERT_TRUE(good);
    EXPECT_EQ(good.error(), "");
    const auto answer = good.symbol<int()>("orla_module_answer");
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    const orla::library moved = std::move(good);
    EXPECT_FALSE(good);  // NOLINT(bugprone-use-after-move): that it is empty is the point
    EXPECT_EQ(moved.symbol<int()>(std::string("orla_module_answer")), answer);
    EXPECT_EQ(closed, 0);
  }
  EXPECT_EQ(closed, 1);
}

TEST(CppLibrary, HasNoSymbolThatIsMissingAndTheLoaderReportsIt) {
  const orla::library good{kGoodModule};
  CaptureStdout();
  EXPECT_EQ(good.symbol<int>("orla_module_question"), nullptr);
  EXPECT_EQ(good.symbol<int>("orla_module_null"), nullptr);
  EXPECT_PRED_FORMAT2(IsSubstring, "Error looking up procedure orla_module_question\n,",
                      GetCapturedStdout());
}

TEST(CppLibrary, SaysWhyItDidNotOpen) {
  const orla::library missing("liborla-test-nowhere.so");
  EXPECT_FALSE(missing);
  EXPECT_PRED_FORMAT2(IsSubstring, "liborla-test-nowhere.so: cannot open shared object file",
                      missing.error());
  CaptureStdout();
  EXPECT_EQ(missing.symbol<int()>("orla_module_answer"), nullptr);
  EXPECT_EQ(GetCapturedStdout(), "");
  const orla::library unresolved(kUnresolvedModule);
  EXPECT_FALSE(unresolved);
  EXPECT_PRED_FORMAT2(IsSubstring, "undefined symbol", unresolved.error());
}

TEST(CppLibrary, SaysSoWhenItOpensForTheProgramAlone) {
  int asked = 0;
  const With<void *(const char *, int)> open(fake_dlopen, [&](const char *name, int flags) {
    return ++asked <= 2 ? nullptr : fake_dlopen.real(name, flags);
  });
  const orla::library late(kGoodModule);
  EXPECT_FALSE(late);
  EXPECT_EQ(late.error(), "opens for the program, but did not open for orla");
}

TEST(CppLibrary, WritesTheTraceLineOfAFailedLoad) {
  TraceLines trace;
  const orla::library missing("liborla-test-nowhere.so");
  ASSERT_EQ(trace.lines.size(), 1U);
  EXPECT_PRED_FORMAT2(IsSubstring, "KVRAC0005E orla_slnk_load_library(): ", trace.lines[0]);
}

TEST(CppLibrary, DoesNotOpenWithoutMemoryForItsRecord) {
  const HeapExhausted none;
  const orla::library good(kGoodModule);
  EXPECT_FALSE(good);
  EXPECT_NE(good.error(), "");
}

using Tokens = std::vector<std::string>;

Tokens exported_tokens(const char *text, char delimiter) {
  std::vector<std::string> found;
  std::vector<char> token(std::strlen(text) + 2);
  while ((text = get_first_delimited_token_in_string(text, delimiter, token.data(),
                                                     static_cast<int>(token.size()))) != nullptr)
    found.emplace_back(token.data());
  return found;
}

Tokens tokens_of(std::string_view text, char delimiter) {
  std::vector<std::string> found;
  for (const std::string_view token : orla::tokens(text, delimiter))
    found.emplace_back(token);
  return found;
}

TEST(CppTokens, AreThoseOfTheExportedFunction) {
  for (const char *text : {"", "\"", "\"\"", "\"a\"", "user \"alpha\" group \"\" \"two words\"",
                           "\"open", "a\"b\"c\"d", "\"\"\"\"\"", "no delimiter"}) {
    EXPECT_EQ(tokens_of(text, '"'), exported_tokens(text, '"')) << text;
    EXPECT_EQ(tokens_of(text, '\0'), Tokens()) << text;
  }
}

TEST(CppTokens, OfRandomTextsAreThoseOfTheExportedFunction) {
  std::mt19937 random(53);
  for (int i = 0; i < 100'000; ++i) {
    std::string text;
    for (std::size_t length = random() % 24; length > 0; --length)
      text += "ab|\xFF"[random() % 4];
    const char delimiter = "|\xFF"[random() % 2];
    ASSERT_EQ(tokens_of(text, delimiter), exported_tokens(text.c_str(), delimiter)) << text;
  }
}

TEST(CppTokens, EndAtAZeroByteAndAtTheEndOfAView) {
  EXPECT_EQ(tokens_of(std::string_view("'a' 'b\0' 'c'", 12), '\''), Tokens{"a"});
  EXPECT_EQ(tokens_of(std::string_view("'a''b'", 5), '\''), Tokens{"a"});
  EXPECT_EQ(tokens_of(std::string_view(), '\''), Tokens());
}

TEST(CppTokens, AreViewsOfTheTextForAnyAlgorithm) {
  static_assert(std::input_iterator<orla::tokens>);
  const std::string text = "'one' 'two' 'three'";
  const orla::tokens tokens(text, '\'');
  EXPECT_EQ((*tokens.begin()).data(), text.data() + 1);
  EXPECT_EQ(std::distance(tokens.begin(), tokens.end()), 3);
  EXPECT_EQ(std::count(tokens.begin(), tokens.end(), "two"), 1);
  const std::vector<std::string_view> all(tokens.begin(), tokens.end());
  EXPECT_EQ(all, (std::vector<std::string_view>{"one", "two", "three"}));
}

// A kernel with so much memory, in units of so many bytes.
With<int(struct sysinfo *)> memory(unsigned long total, unsigned unit) {
  return {fake_sysinfo, [=](struct sysinfo *kernel) {
            *kernel = {};
            kernel->totalram = total;
            kernel->mem_unit = unit;
            return 0;
          }};
}

With<std::uint32_t(int *)> processors(int count, std::uint32_t method) {
  return {fake_count_physical_proc, [=](int *out) {
            *out = count;
            return method;
          }};
}

TEST(CppHost, HasProcessorsWithTheirMethod) {
  for (std::uint32_t method = 0; method <= 3; ++method) {
    const auto counted = processors(6, method);
    const orla::host_figures host = orla::host();
    ASSERT_TRUE(host.processors);
    EXPECT_EQ(host.processors->count, 6);
    EXPECT_EQ(host.processors->method, static_cast<orla_count_method>(method));
    EXPECT_STREQ(host.processors.reason, "");
  }
}

TEST(CppHost, OfThisMachineIsWhatTheExportedFunctionsTell) {
  int count = 0;
  const std::uint32_t method = count_physical_proc(&count);
  struct sysinfo kernel = {};
  sysinfo(&kernel);
  const orla::host_figures host = orla::host();
  ASSERT_TRUE(host.processors && host.memory);
  EXPECT_EQ(host.processors->count, count);
  EXPECT_EQ(host.processors->method, static_cast<orla_count_method>(method));
  EXPECT_EQ(*host.memory, std::uint64_t{kernel.totalram} * kernel.mem_unit);
}

TEST(CppHost, SaysWhyThereAreNoProcessors) {
  const auto counted = processors(-1, 0);
  const orla::host_figures host = orla::host();
  EXPECT_FALSE(host.processors);
  EXPECT_STREQ(host.processors.reason, "the kernel gives no configured count");
}

TEST(CppHost, HasItsMemoryInBytesWithTheUnitMultipliedIn) {
  // 5 MiB and a rest in units of 4096 bytes: no multiple of tavGetMemorySize() says so.
  const auto kernel = memory(6'171'000, 4096);
  const orla::host_figures host = orla::host();
  ASSERT_TRUE(host.memory);
  EXPECT_EQ(*host.memory, 25'276'416'000U);
  EXPECT_STREQ(host.memory.reason, "");
}

TEST(CppHost, SaysWhyThereIsNoMemory) {
  const With<int(struct sysinfo *)> fails(fake_sysinfo, [](struct sysinfo *) { return -1; });
  const orla::host_figures host = orla::host();
  EXPECT_FALSE(host.memory);
  EXPECT_STREQ(host.memory.reason, "sysinfo() fails");
}

TEST(CppHost, HasTheDisksThatRootCounts) {
  const With<uid_t()> root(fake_geteuid, [] { return uid_t{0}; });
  const With<int(const char *, int)> none(fake_open, [](const char *, int) { return -1; });
  const orla::host_figures host = orla::host();
  ASSERT_TRUE(host.disks);
  EXPECT_EQ(*host.disks, 0U);
  EXPECT_STREQ(host.disks.reason, "");
}

TEST(CppHost, SaysThatOthersMayNotCountDisks) {
  const With<uid_t()> user(fake_geteuid, [] { return uid_t{1000}; });
  const orla::host_figures host = orla::host();
  EXPECT_FALSE(host.disks);
  EXPECT_STREQ(host.disks.reason, "only root may count disks");
}

TEST(CppNames, AreThoseOfTheExportedFunctions) {
  char name[ORLA_NAME_SIZE];
  char node[ORLA_NODE_NAME_SIZE];
  orla_get_user_name(name);
  EXPECT_EQ(orla::user_name(), name);
  orla_get_group_name(name);
  EXPECT_EQ(orla::group_name(), name);
  orla_get_node_name(node);
  EXPECT_EQ(orla::node_name(), node);
  orla_ls_user = "operator";
  orla_ls_group = "a group whose name is over 31 characters";
  EXPECT_EQ(orla::user_name(), "operator");
  EXPECT_EQ(orla::group_name(), "a group whose name is over 31 c");
}

TEST(CppTrace, IsALineByFormatInTheSharedBuffer) {
  TraceLines trace;
  orla::tracef("%d disks of %s", 3, "this host");
  orla::tracef("100%%");
  EXPECT_EQ(trace.lines, (Lines{"3 disks of this host\n", "100%\n"}));
  EXPECT_TRUE(trace.all_in_statuslog);
  EXPECT_EQ(statuslog[0], '\0');
}

TEST(CppTrace, IsCutWhereTheBufferEndsAndKeepsItsLineFeed) {
  TraceLines trace;
  for (const std::size_t length : {1021U, 1022U, 1023U, 5000U})
    orla::tracef("%s", std::string(length, 'x').c_str());
  EXPECT_EQ(trace.lines, (Lines{std::string(1021, 'x') + "\n", std::string(1022, 'x') + "\n",
                                std::string(1022, 'x') + "\n", std::string(1022, 'x') + "\n"}));
}

TEST(CppTrace, IsNothingWhileTracingIsOff) {
  TraceLines trace;
  orlalib_verbose = 0;
  orlathr_verbose = 255;
  std::strcpy(statuslog, "left alone");
  orla::tracef("%s", "not to be formatted");
  EXPECT_EQ(trace.lines, Lines());
  EXPECT_STREQ(statuslog, "left alone");
  orlathr_verbose = 0;
}

#ifdef __cpp_lib_format
TEST(CppTrace, IsALineByTheLanguagesOwnFormat) {
  TraceLines trace;
  orla::trace("{} disks of {}", 3, std::string("this host"));
  orla::trace("{}%s", std::string(2000, 'x'));
  orlalib_verbose = 0;
  orla::trace("{}", "off");
  EXPECT_EQ(trace.lines, (Lines{"3 disks of this host\n", std::string(1022, 'x') + "\n"}));
}
#endif

}  // namespace
