// Under no condition does a function of the installed headers throw anything but the library's own
// exceptions and std::bad_alloc. Each condition has a process of its own, forked before the library
// is used.
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <lmdb.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fstream>
#include <new>

#include "platform/common/Exception.h"
#include "platform/common/Logger.h"
#include "tests/profile/EntryPoints.h"
#include "tests/store/RawStore.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/Events.h"
#include "tests/support/InChild.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/StoreFixture.h"
#include "tests/support/WebFilterRecords.h"

namespace {

std::atomic<bool> gNoThreads{false};

}  // namespace

// Of the whole program.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) noexcept {
  if (gNoThreads) return EAGAIN;
  static const auto next =
      reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
  return next(thread, attributes, start, argument);
}

namespace Kestrav::Testing {
namespace {

using Config::ChangeSet;
using Config::ConfigStore;
using Config::StoreTesting::RawStore;

constexpr std::uint32_t kId = 5;

std::shared_ptr<ConfigStore> openFilled(const std::filesystem::path& folder) {
  const auto store = ConfigStore::open(folder);
  ChangeSet changes;
  AntispamActionRecord(kId).rewrite(1, "x", 0, "").put(changes);
  AntispamRecord(kId).cloud().uriCategoryCheck(kId).defaultAction(kId).dictionary("words").put(
      changes);
  WebCategoryRecord(kId, 3).put(changes);
  WebFilterRecord(kId).categories({kId}).put(changes);
  QuarantineFolderRecord(kId, "Bulk").put(changes);
  QuarantineFolderRecord(kId + 1, "Virus").put(changes);
  ProtectedDomainRecord(kId, "fork.example").put(changes);
  IpPolicyRecord(kId).antispam(kId).put(changes);
  IncomingPolicyRecord(kId).antispam(kId).put(changes);
  OutgoingPolicyRecord(kId).antispam(kId).put(changes);
  TrustedMtaRecord(kId, "192.0.2.1").put(changes);
  DictionaryRecord(kId, "words").put(changes);
  DictionaryItemRecord(kId, kId, "word").put(changes);
  store->commit(std::move(changes));
  return store;
}

// Shared with the parent: what the child calls.
class Progress {
 public:
  Progress()
      : text_(static_cast<char*>(
            ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
  ~Progress() { ::munmap(text_, kSize); }
  void at(const std::string& name) { std::snprintf(text_, kSize, "%s", name.c_str()); }
  const char* text() const { return text_; }

 private:
  static constexpr std::size_t kSize = 4096;
  char* text_;
};

Progress& progress() {
  static Progress shared;
  return shared;
}

// The number of calls that throw something foreign.
int foreignExceptions(const std::vector<EntryPoint>& calls, const std::string& with = {}) {
  int foreign = 0;
  for (const EntryPoint& entry : calls) {
    progress().at(entry.name + with);
    try {
      entry.call();
      continue;
    } catch (const Exception&) {
      continue;
    } catch (const std::bad_alloc&) {
      continue;
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "%s%s: %s\n", entry.name.c_str(), with.c_str(), failure.what());
    } catch (...) {
      std::fprintf(stderr, "%s%s: %s\n", entry.name.c_str(), with.c_str(),
                   abi::__cxa_current_exception_type()->name());
    }
    ++foreign;
  }
  return foreign;
}

const std::vector<std::string>& texts() {
  static const std::vector<std::string> all = {
      "",
      std::string(1, '\0'),
      std::string("a\0b@c.d\0", 8),
      "\xff\xfe\xc3",
      "\xed\xa0\x80@\xf4\x90\x80\x80",
      "%%",
      "%%LOCAL%%",
      "%%#S%%%%/S%%%%>F%%%%!c%%%%={{ }}=%%",
      "%n%s%*d\x01",
      "\"",
      "\"a\\",
      "<a@b",
      "@",
      "a@[IPv6:",
      "a@[x:y]",
      "a:;b:c;,<,>",
      "=?utf-8?q?=ff?= <a@b>",
      "((((((((((",
      "[",
      "[[:alpha:",
      "(?<a>(?&a))",
      "\\C(*NO_JIT)(?C1)",
      "(a+)+$",
      "99999999999999999999999",
      "1.2.3.4/99999999999999999999",
      "1.2.3.4-1.2.3.3",
      "::/-1",
      "..",
      "xn--\xc3\xbc.example",
      std::string(300, 'a'),
      std::string(300, '.'),
      std::string(100'000, '*'),
      std::string(100'000, '('),
      std::string(300'000, 'a'),
  };
  return all;
}

const std::uint64_t kNumbers[] = {
    0,          1,         kId,        INT_MAX,    1u << 31,       UINT32_MAX,
    1ull << 32, INT64_MAX, 1ull << 63, UINT64_MAX, GID_DICTIONARY, GID_WEB_FILTER_PROFILE};

std::vector<EntryPoint> withoutArguments(ConfigStore* store) {
  std::vector<EntryPoint> all = storeEntryPoints(&ProfileFactory::instance, kId, store);
  for (auto more : {plainEntryPoints(kId), handlerEntryPoints(), factoryEntryPoints(kId)}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

int callsWithoutTexts(ConfigStore* store) {
  int foreign = foreignExceptions(withoutArguments(store));
  for (const std::uint64_t number : kNumbers) {
    foreign += foreignExceptions(numberEntryPoints(number, store), " of " + std::to_string(number));
  }
  return foreign;
}

int everyCall(ConfigStore* store) {
  int foreign = callsWithoutTexts(store);
  for (const std::string& text : texts()) {
    foreign +=
        foreignExceptions(textEntryPoints(text, store), " of \"" + text.substr(0, 40) + "\"");
  }
  return foreign;
}

void limit(int resource, rlim_t amount) {
  rlimit now{};
  ::getrlimit(resource, &now);
  now.rlim_cur = amount;
  ::setrlimit(resource, &now);
}

// `work` in a process that has not used the library, in an empty folder.
class Hostile : public testing::Test {
 protected:
  void expectNoneForeign(const std::function<int()>& work) {
    progress().at("nothing");
    const int result = inChild([&] {
      std::filesystem::current_path(folder_.path());
      Logger::instance(false).threshold(static_cast<Logger::Severity>(99));
      return work();
    });
    EXPECT_EQ(result, 0) << "last call: " << progress().text();
  }

  TemporaryFolder folder_;
};

// ---- conditions of the process

TEST_F(Hostile, NoStoreIsAttached) {
  expectNoneForeign([] { return everyCall(nullptr); });
}

TEST_F(Hostile, StoreIsAttached) {
  expectNoneForeign([&] {
    const auto store = openFilled(folder_ / "store");
    ConfigStore::attach(store);
    return everyCall(store.get());
  });
}

TEST_F(Hostile, NoDescriptorsAreLeft) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "The sanitizer of undefined behaviour opens pipes to look at objects.";
#endif
  for (const bool before : {false, true}) {
    SCOPED_TRACE(before);
    expectNoneForeign([&] {
      const auto store = openFilled(folder_ / "store");
      if (!before) ConfigStore::attach(store);
      limit(RLIMIT_NOFILE, 0);
      int foreign = 0;
      if (before) {
        foreign = foreignExceptions({{"attach", [&] { ConfigStore::attach(store); }}});
      }
      return foreign + everyCall(store.get()) +
             foreignExceptions({{"open", [&] { ConfigStore::open(folder_ / "other"); }},
                                {"toFile", [] { Logger::instance(false).toFile("log"); }},
                                {"detach", [] { ConfigStore::detach(); }}});
    });
  }
}

TEST_F(Hostile, NoThreadCanBeCreated) {
  for (const bool eventThread : {false, true}) {
    SCOPED_TRACE(eventThread);
    expectNoneForeign([&] {
      const auto store = openFilled(folder_ / "store");
      ConfigStore::attach(store);
      if (eventThread) {
        dispatcher()->observe([](const auto&) {});
      }
      gNoThreads = true;
      return everyCall(store.get());
    });
  }
}

TEST_F(Hostile, FilesCannotGrow) {
  expectNoneForeign([&] {
    ConfigStore::Options small;
    small.initialMapSize = 1 << 20;
    small.maximumMapSize = 1 << 20;
    const auto store = openFilled(folder_ / "store");
    ConfigStore::attach(store);
    ::signal(SIGXFSZ, SIG_IGN);
    limit(RLIMIT_FSIZE, 4096);
    return everyCall(store.get()) +
           foreignExceptions({{"open", [&] { ConfigStore::open(folder_ / "other", small); }},
                              {"toFile", [] { Logger::instance(false).toFile("log"); }}});
  });
}

TEST_F(Hostile, NoReaderSlotIsLeft) {
  expectNoneForeign([&] {
    { const auto filled = openFilled(folder_ / "store"); }
    ConfigStore::Options options;
    options.readerSlots = 1;
    const auto store = ConfigStore::open(folder_ / "store", options);
    ConfigStore::attach(store);
    std::atomic<int> step{0};
    std::thread reader([&] {
      const Config::Snapshot held = store->snapshot();
      step = 1;
      while (step == 1) std::this_thread::yield();
    });
    while (step == 0) std::this_thread::yield();
    const int foreign = foreignExceptions(withoutArguments(store.get()));
    step = 2;
    reader.join();
    return foreign;
  });
}

TEST_F(Hostile, TimeZoneIsNone) {
  expectNoneForeign([&] {
    ::setenv("TZ", ":/no/such/\xff zone", 1);
    const auto store = openFilled(folder_ / "store");
    ConfigStore::attach(store);
    return foreignExceptions(withoutArguments(store.get()));
  });
}

// ---- conditions of the folder

TEST_F(Hostile, FolderHoldsSomethingElse) {
  const auto write = [](const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  };
  const struct {
    const char* what;
    std::function<void(const std::filesystem::path&)> damage;
  } cases[] = {
      {"status file cut", [&](auto& at) { std::filesystem::resize_file(at / "status", 100); }},
      {"status file empty", [&](auto& at) { std::filesystem::resize_file(at / "status", 0); }},
      {"status file of zeros",
       [&](auto& at) {
         const auto size = std::filesystem::file_size(at / "status");
         write(at / "status", std::string(size, '\0'));
       }},
      {"status file of ones",
       [&](auto& at) {
         const auto size = std::filesystem::file_size(at / "status");
         write(at / "status", std::string(size, '\xff'));
       }},
      {"status folder",
       [&](auto& at) {
         std::filesystem::remove(at / "status");
         std::filesystem::create_directory(at / "status");
       }},
      {"data cut in its header",
       [&](auto& at) { std::filesystem::resize_file(at / "data.mdb", 60); }},
      {"data cut", [&](auto& at) { std::filesystem::resize_file(at / "data.mdb", 8192); }},
      {"data empty", [&](auto& at) { std::filesystem::resize_file(at / "data.mdb", 0); }},
      {"data of text", [&](auto& at) { write(at / "data.mdb", std::string(20'000, 'x')); }},
      {"data folder",
       [&](auto& at) {
         std::filesystem::remove(at / "data.mdb");
         std::filesystem::create_directory(at / "data.mdb");
       }},
      {"lock file of text", [&](auto& at) { write(at / "lock.mdb", std::string(9'000, 'x')); }},
      {"folder is a file",
       [&](auto& at) {
         std::filesystem::remove_all(at);
         write(at, "text");
       }},
      {"folder is a link to itself",
       [&](auto& at) {
         std::filesystem::remove_all(at);
         std::filesystem::create_symlink(at, at);
       }},
      {"folder below a file",
       [&](auto& at) {
         std::filesystem::remove_all(at);
         write(at, "text");
         write(at.parent_path() / "x", "text");
       }},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    expectNoneForeign([&] {
      const std::filesystem::path at = folder_ / "store";
      std::filesystem::remove_all(at);
      { const auto filled = openFilled(at); }
      row.damage(at);
      return foreignExceptions({
                 {"open",
                  [&] {
                    const auto store = ConfigStore::open(at);
                    ConfigStore::attach(store);
                  }},
                 {"open below", [&] { ConfigStore::open(at / "below" / "it"); }},
             }) +
             foreignExceptions(withoutArguments(ConfigStore::attached().get()));
    });
  }
}

TEST_F(Hostile, StoreHoldsOtherKeysAndValues) {
  const std::string garbage("\x01\x02\xff garbage", 11);
  for (const char* part : {"rows", "ids", "meta", "journal"}) {
    for (const bool replaced : {false, true}) {
      SCOPED_TRACE(std::string(part) + (replaced ? " replaced" : " added"));
      expectNoneForeign([&] {
        const std::filesystem::path at = folder_ / "store";
        std::filesystem::remove_all(at);
        { const auto filled = openFilled(at); }
        {
          RawStore raw(at);
          RawStore::Pairs pairs;
          for (const auto& [key, value] : raw.all(part)) {
            if (replaced && key.size() > 1) {
              pairs.emplace_back(key, std::string(value.size(), '\xff'));
              continue;
            }
            for (std::size_t length = 1; length < key.size(); ++length) {
              if (length == 1 && std::string(part) == "meta") continue;  // the store's own
              pairs.emplace_back(key.substr(0, length), garbage);
            }
            pairs.emplace_back(key + "more", garbage);
          }
          raw.put(part, pairs);
        }
        return foreignExceptions({{"open", [&] { ConfigStore::attach(ConfigStore::open(at)); }}}) +
               callsWithoutTexts(ConfigStore::attached().get());
      });
    }
  }
}

}  // namespace
}  // namespace Kestrav::Testing
