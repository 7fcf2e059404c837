// The loader: which paths it tries, what it reports and where.

#include <gtest/gtest.h>
#include <orla/loader.h>
#include <orla/trace.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fakes/heap.h"
#include "fakes/linker.h"
#include "kit/environment.h"
#include "kit/errno_after.h"
#include "kit/modules.h"
#include "kit/temp_dir.h"

namespace {

using testing::IsSubstring;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

constexpr orla_status kFailed = 0x1D01001F;
constexpr const char *kNowhere = "liborla-test-nowhere.so";
constexpr const char *kTracePrefix = "KVRAC0005E orla_slnk_load_library(): ";

// A record filled with arbitrary bytes, as the heap may return it.
class LibraryId {
 public:
  LibraryId() : id_(orla_slnk_allocate_library_id()) { std::memset(id_, 0xA5, sizeof(void *)); }
  ~LibraryId() { orla_slnk_free_library_id(id_); }
  LibraryId(const LibraryId &) = delete;
  LibraryId &operator=(const LibraryId &) = delete;

  operator orla_library_id *() { return id_; }
  void *handle() const {
    void *handle;
    std::memcpy(&handle, id_, sizeof handle);
    return handle;
  }
  orla_status load(const char *name) {
    orla_status status = 4711;
    orla_slnk_load_library(name, id_, &status);
    return status;
  }

 private:
  orla_library_id *id_;
};

// Replaces the dynamic linker: opens what is in `opens` and records what it was asked for.
class FakeLinker {
 public:
  explicit FakeLinker(std::string opens) : opens_(std::move(opens)) {}

  std::vector<std::string> tried;
  std::vector<int> flags;
  int errors_read = 0;
  void *library = this;
  std::string error = "the linker's text";

 private:
  std::string opens_;
  With<void *(const char *, int)> open_{fake_dlopen, [this](const char *path, int with) {
                                          tried.emplace_back(path);
                                          flags.push_back(with);
                                          return path == opens_ ? library : nullptr;
                                        }};
  With<char *()> error_{fake_dlerror, [this] {
                          ++errors_read;
                          return error.data();
                        }};
};

// Tracing into a file of the test's own.
class Traced {
 public:
  Traced() { orlalib_verbose = 255; }
  ~Traced() {
    TavTrace(nullptr);
    orlalib_verbose = 0;
  }
  Traced(const Traced &) = delete;
  Traced &operator=(const Traced &) = delete;

  // Without its stamps; those before the message hold no 'K'.
  std::string text() const {
    const std::string all = folder_.read("trace");
    const std::size_t start = all.find('K');
    return start == std::string::npos ? all : all.substr(start);
  }

 private:
  TempDir folder_;
  WithVariable path_{"K7LOG_PATH", folder_.path("trace").c_str()};
};

TEST(LibraryIdRecord, IsNullWhenTheHeapIsExhausted) {
  orla_library_id *id;
  {
    const HeapExhausted heap;
    id = orla_slnk_allocate_library_id();
  }
  EXPECT_EQ(id, nullptr);
}

TEST(LibraryIdRecord, MayBeNullWhenItIsFreed) { orla_slnk_free_library_id(nullptr); }

TEST(LoadLibrary, OpensAGoodLibraryWithStatusZero) {
  LibraryId id;
  EXPECT_EQ(id.load(kGoodModule), 0u);
  EXPECT_NE(id.handle(), nullptr);
  EXPECT_EQ(orla_slnk_free_library(id), 0);
}

TEST(LoadLibrary, GivesTheNameUnchangedToTheLinkerWithRtldNowAlone) {
  FakeLinker linker("libname.so");
  LibraryId id;
  EXPECT_EQ(id.load("libname.so"), 0u);
  EXPECT_EQ(linker.tried, std::vector<std::string>{"libname.so"});
  EXPECT_EQ(linker.flags, std::vector<int>{RTLD_NOW});
  EXPECT_EQ(id.handle(), linker.library);
  EXPECT_EQ(linker.errors_read, 0);
}

TEST(LoadLibrary, TriesTheFallbackDirectoryInTheSameWay) {
  FakeLinker linker("/opt/tav/ls/dll/libname.so");
  LibraryId id;
  const Traced traced;
  EXPECT_EQ(id.load("libname.so"), 0u);
  EXPECT_EQ(linker.tried, (std::vector<std::string>{"libname.so", "/opt/tav/ls/dll/libname.so"}));
  EXPECT_EQ(linker.flags, (std::vector<int>{RTLD_NOW, RTLD_NOW}));
  EXPECT_EQ(id.handle(), linker.library);
  EXPECT_EQ(linker.errors_read, 0);
  EXPECT_EQ(traced.text(), "");
}

TEST(LoadLibrary, TriesTheFallbackDirectoryEvenForNamesWithASlash) {
  for (const std::string name : {"/usr/lib/absolute.so", "./relative.so", "a/b.so", ""}) {
    FakeLinker linker("");
    linker.library = nullptr;
    LibraryId id;
    EXPECT_EQ(id.load(name.c_str()), kFailed);
    EXPECT_EQ(linker.tried, (std::vector<std::string>{name, "/opt/tav/ls/dll/" + name}));
  }
}

TEST(LoadLibrary, FailsForALibraryWithAnUnresolvedSymbol) {
  if (std::getenv("LD_BIND_NOW") != nullptr) GTEST_SKIP() << "nothing opens lazily here";
  void *lazily = dlopen(kUnresolvedModule, RTLD_LAZY);
  ASSERT_NE(lazily, nullptr) << "the module is to open as long as nothing is resolved";
  dlclose(lazily);
  LibraryId id;
  EXPECT_EQ(id.load(kUnresolvedModule), kFailed);
  EXPECT_EQ(id.handle(), nullptr);
}

TEST(LoadLibrary, DoesNotMakeTheSymbolsGlobal) {
  LibraryId id;
  ASSERT_EQ(id.load(kGoodModule), 0u);
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "orla_module_answer"), nullptr);
  orla_slnk_free_library(id);
}

TEST(LoadLibrary, LosesTheFirstHandleWhenLoadedTwice) {
  FakeLinker linker("libname.so");
  LibraryId id;
  id.load("libname.so");
  int other;
  linker.library = &other;
  id.load("libname.so");
  EXPECT_EQ(id.handle(), &other);
}

TEST(LoadLibrary, MayLoadARecordAgainAfterItsLibraryIsFreed) {
  LibraryId id;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(id.load(kGoodModule), 0u);
    orla_status status = 0;
    EXPECT_NE(orla_slnk_get_proc_addr(id, "orla_module_answer", &status), nullptr);
    EXPECT_EQ(orla_slnk_free_library(id), 0);
  }
  EXPECT_EQ(id.load(kNowhere), kFailed);
  EXPECT_EQ(id.load(kGoodModule), 0u);
  orla_slnk_free_library(id);
}

TEST(LoadLibrary, WritesNothingToTheStandardStreamsAndNoTraceWhenItIsOff) {
  const TempDir folder;
  const WithVariable path("K7LOG_PATH", folder.path("trace").c_str());
  CaptureStdout();
  CaptureStderr();
  LibraryId id;
  id.load(kNowhere);
  orlathr_verbose = 255;  // the thread switch alone makes no service write
  id.load(kNowhere);
  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_FALSE(folder.holds("trace"));
}

TEST(LoadLibrary, UsesUpTheLinkersErrorWhetherTracingIsOnOrNot) {
  FakeLinker linker("");
  LibraryId id;
  id.load("libname.so");
  EXPECT_EQ(linker.errors_read, 1);
  const Traced traced;
  id.load("libname.so");
  EXPECT_EQ(linker.errors_read, 2);
}

TEST(FailedLoad, IsTracedForAnySwitchThatIsNotZero) {
  for (const std::int32_t value : {1, -1, INT32_MIN}) {
    Traced trace;
    orlalib_verbose = value;
    LibraryId id;
    id.load(kNowhere);
    EXPECT_NE(trace.text(), "") << value;
  }
}

TEST(FailedLoad, IsTracedAndTheLineEndsInALineFeedAPeriodAndALineFeed) {
  FakeLinker linker("");
  LibraryId id;
  const Traced traced;
  EXPECT_EQ(id.load("libname.so"), kFailed);
  EXPECT_EQ(traced.text(), std::string(kTracePrefix) +
                               "Error loading module libname.so, dlerror: the linker's text\n.\n");
  EXPECT_EQ(statuslog[0], '\0');
}

TEST(FailedLoad, IsTracedWithTheCallersNameAndTheTextOfTheSecondAttempt) {
  LibraryId id;
  const Traced traced;
  id.load(kNowhere);
  const std::string text = traced.text();
  EXPECT_PRED_FORMAT2(IsSubstring,
                      std::string("Error loading module ") + kNowhere + ", dlerror: ", text);
  EXPECT_PRED_FORMAT2(IsSubstring, std::string("dlerror: /opt/tav/ls/dll/") + kNowhere + ": ",
                      text);
}

TEST(SuccessfulLoad, IsNotTracedNorAnyOtherOperation) {
  const Traced traced;
  LibraryId id;
  ASSERT_EQ(id.load(kGoodModule), 0u);
  orla_status status = 0;
  orla_slnk_get_proc_addr(id, "orla_module_answer", &status);
  CaptureStdout();
  orla_slnk_get_proc_addr(id, "orla_module_missing", &status);
  GetCapturedStdout();
  orla_slnk_free_library(id);
  EXPECT_EQ(traced.text(), "");
}

TEST(FailedLoad, WithoutAnErrorTextOfTheLinkerIsTracedAllTheSame) {
  const With open(fake_dlopen, [](const char *, int) { return static_cast<void *>(nullptr); });
  const With error(fake_dlerror, [] { return static_cast<char *>(nullptr); });
  LibraryId id;
  const Traced traced;
  EXPECT_EQ(id.load("libname.so"), kFailed);
  EXPECT_EQ(traced.text(),
            std::string(kTracePrefix) + "Error loading module libname.so, dlerror: (null)\n.\n");
}

TEST(LibraryName, Of239CharactersIsTriedInTheFallbackDirectory) {
  const std::string name(239, 'n');
  FakeLinker linker("/opt/tav/ls/dll/" + name);
  LibraryId id;
  EXPECT_EQ(id.load(name.c_str()), 0u);
  ASSERT_EQ(linker.tried.size(), 2u);
  EXPECT_EQ(linker.tried[1].size(), 255u);
}

TEST(LibraryName, Of240CharactersIsTriedUnchangedOnly) {
  for (const std::size_t length : {240u, 241u, 256u, 5000u}) {
    const std::string name(length, 'n');
    FakeLinker linker("");
    LibraryId id;
    EXPECT_EQ(id.load(name.c_str()), kFailed);
    EXPECT_EQ(linker.tried, std::vector<std::string>{name});
    EXPECT_EQ(linker.errors_read, 1);
    EXPECT_EQ(id.handle(), nullptr);
  }
}

TEST(LibraryName, Of240CharactersMayOpenUnchanged) {
  const std::string name(240, 'n');
  FakeLinker linker(name);
  LibraryId id;
  EXPECT_EQ(id.load(name.c_str()), 0u);
}

// The text without the linker's part: "Error loading module ", ", dlerror: ", the line feed.
constexpr std::size_t kAroundTheTexts = 21 + 11 + 1;

TEST(LoadError, Of255CharactersIsTracedWholeAndOverThemIsCutThereAndLosesItsLineFeed) {
  for (const std::size_t more : {0u, 1u, 2u, 3000u}) {
    FakeLinker linker("");
    linker.error = std::string(255 - kAroundTheTexts - 1 + more, 'e');
    LibraryId id;
    const Traced traced;
    id.load("n");
    const std::string whole = "Error loading module n, dlerror: " + linker.error + "\n";
    EXPECT_EQ(traced.text(), kTracePrefix + whole.substr(0, 255) + ".\n");
  }
}

TEST(LoadError, OfANameThatFillsItIsCutInTheName) {
  FakeLinker linker("");
  const std::string name(3000, 'n');
  LibraryId id;
  const Traced traced;
  id.load(name.c_str());
  EXPECT_EQ(traced.text(), kTracePrefix + ("Error loading module " + name).substr(0, 255) + ".\n");
}

// The trace writer reads a message as a format: two percent signs are one, and no other is
// followed.
TEST(FailedLoad, OfANameWithPercentSignsIsTracedWithoutReadingArguments) {
  FakeLinker linker("");
  linker.error = "100%% of %s%n%d";
  LibraryId id;
  const Traced traced;
  EXPECT_EQ(id.load("%s%n%x%%.so"), kFailed);
  EXPECT_EQ(traced.text(), std::string(kTracePrefix) +
                               "Error loading module %s%n%x%.so, dlerror: 100% of %s%n%d\n.\n");
}

// With the good module loaded.
class ProcAddr : public testing::Test {
 protected:
  ProcAddr() { EXPECT_EQ(id.load(kGoodModule), 0u); }
  ~ProcAddr() override { orla_slnk_free_library(id); }

  // What is printed meanwhile.
  std::string look_up(const char *symbol) {
    CaptureStdout();
    address = orla_slnk_get_proc_addr(id, symbol, &status);
    return GetCapturedStdout();
  }

  LibraryId id;
  orla_status status = 4711;
  void *address = this;
};

TEST_F(ProcAddr, IsTheSymbolsAndLeavesTheStatusAsItWas) {
  EXPECT_EQ(look_up("orla_module_answer"), "");
  ASSERT_NE(address, nullptr);
  EXPECT_EQ(reinterpret_cast<int (*)()>(address)(), 42);
  EXPECT_EQ(status, 4711u);
}

TEST_F(ProcAddr, OfAMissingSymbolPrintsTwoLinesTheSecondWithACommaInFront) {
  const With error(fake_dlerror, [] { return const_cast<char *>("the linker's text"); });
  EXPECT_EQ(look_up("orla_module_missing"),
            "Error looking up procedure orla_module_missing\n,the linker's text\n");
  EXPECT_EQ(address, nullptr);
  EXPECT_EQ(status, kFailed);
}

TEST_F(ProcAddr, OfAMissingSymbolGivesTheLinkersOwnTextWhichBeginsWithThePathItFound) {
  for (const char *name : {kGoodModule, "libc.so.6"}) {
    orla_slnk_free_library(id);
    ASSERT_EQ(id.load(name), 0u);
    const std::string text = look_up("orla_module_missing");
    EXPECT_PRED_FORMAT2(IsSubstring, "\n,/", text);
    EXPECT_PRED_FORMAT2(IsSubstring, std::string(name) + ": undefined symbol: orla_module_missing",
                        text);
  }
}

TEST_F(ProcAddr, AfterAFailureDoesNotClearTheStatus) {
  look_up("orla_module_missing");
  look_up("orla_module_answer");
  EXPECT_NE(address, nullptr);
  EXPECT_EQ(status, kFailed);
}

TEST_F(ProcAddr, TakesASymbolWhoseValueIsNullForMissing) {
  dlerror();
  ASSERT_EQ(dlsym(id.handle(), "orla_module_null"), nullptr);
  ASSERT_EQ(dlerror(), nullptr) << "the module is to have the symbol";
  EXPECT_EQ(look_up("orla_module_null"), "Error looking up procedure orla_module_null\n,(null)\n");
  EXPECT_EQ(address, nullptr);
  EXPECT_EQ(status, kFailed);
}

TEST_F(ProcAddr, OfANameWithPercentSignsPrintsThemAsTheyAre) {
  const std::string printed = look_up("%s%n%%");
  EXPECT_TRUE(printed.starts_with("Error looking up procedure %s%n%%\n,")) << printed;
}

TEST_F(ProcAddr, AfterAFailedLoadSeesTheWholeProgram) {
  LibraryId failed;
  ASSERT_EQ(failed.load(kNowhere), kFailed);
  EXPECT_EQ(orla_slnk_get_proc_addr(failed, "orla_slnk_load_library", &status),
            dlsym(RTLD_DEFAULT, "orla_slnk_load_library"));
  EXPECT_EQ(status, 4711u);
}

TEST(FreeLibrary, ReturnsTheLinkersResultAndKeepsTheHandleWhichASecondCallHandsOverAgain) {
  for (const int result : {0, -1, 17}) {
    FakeLinker linker("libname.so");
    LibraryId id;
    id.load("libname.so");
    std::vector<void *> closed;
    const With close(fake_dlclose, [&](void *handle) {
      closed.push_back(handle);
      return closed.size() == 1 ? result : 4711;
    });
    EXPECT_EQ(orla_slnk_free_library(id), result);
    EXPECT_EQ(orla_slnk_free_library(id), 4711);
    EXPECT_EQ(closed, (std::vector<void *>{linker.library, linker.library}));
    EXPECT_EQ(id.handle(), linker.library);
  }
}

TEST(FreeLibrary, TakesTheLibraryOutOfMemory) {
  LibraryId id;
  ASSERT_EQ(id.load(kGoodModule), 0u);
  EXPECT_EQ(orla_slnk_free_library(id), 0);
  EXPECT_EQ(dlopen(kGoodModule, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST(Loader, LeavesErrnoAlone) {
  LibraryId id;
  orla_status status = 0;
  CaptureStdout();
  EXPECT_EQ(errno_after([] {
              const HeapExhausted heap;
              orla_slnk_allocate_library_id();
            }),
            4711);
  EXPECT_EQ(errno_after([&] { id.load(kNowhere); }), 4711);
  EXPECT_EQ(errno_after([&] { id.load(kGoodModule); }), 4711);
  const auto sets_errno = [](auto result) {
    return [result](auto...) {
      errno = EIO;
      return result;
    };
  };
  const With error(fake_dlerror, sets_errno(static_cast<char *>(nullptr)));
  const With close(fake_dlclose, sets_errno(-1));
  EXPECT_EQ(errno_after([&] { orla_slnk_get_proc_addr(id, "orla_module_answer", &status); }), 4711);
  EXPECT_EQ(errno_after([&] { orla_slnk_get_proc_addr(id, "orla_module_missing", &status); }),
            4711);
  EXPECT_EQ(errno_after([&] { orla_slnk_free_library(id); }), 4711);
  GetCapturedStdout();
}

TEST(FreeLibraryId, LeavesTheLibraryOpen) {
  {
    LibraryId id;
    ASSERT_EQ(id.load(kGoodModule), 0u);
  }
  void *still_open = dlopen(kGoodModule, RTLD_NOW | RTLD_NOLOAD);
  EXPECT_NE(still_open, nullptr);
  dlclose(still_open);
  dlclose(still_open);
}

}  // namespace
