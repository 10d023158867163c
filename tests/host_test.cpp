// The stand-alone host by itself: pools, log, formatting, files, passwords, loading, missing slots.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>
#include <random>

#include "process.h"
#include "support/module_test.h"
#include "uwugit/operations.h"

namespace uwugit::test {
namespace {

class HostServicesTest : public testing::Test {
 protected:
  // An operation of the host, reached as a stub reaches it.
  template <class Signature>
  Signature* operation(OperationNumber number) {
    return reinterpret_cast<Signature*>(host_.control_block()->vectors[number.vector][number.slot]);
  }

  HostPool* new_pool(const char* name = "test") {
    HostServices* services = host_.control_block()->services;
    const PoolAttributes attributes{};
    return services->create_pool(services, &attributes, 0, name);
  }

  Sandbox sandbox_;
  host::Host host_{{}};
  host::LogCapture log_{host_.log()};
};

std::size_t resident_pages() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0, resident = 0;
  statm >> total >> resident;
  return resident;
}

// Thousands of random steps against a model that knows what every block must hold.
TEST_F(HostServicesTest, PoolsKeepEveryBlockIntact) {
  std::mt19937 random(7);
  const auto size = [&random] {
    constexpr std::size_t scales[] = {16, 16, 200, 3000, 60'000, 300'000};
    return random() % scales[random() % std::size(scales)];
  };
  struct Model {
    std::size_t size;
    unsigned char fill;
  };
  HostPool* pool = new_pool();
  std::map<unsigned char*, Model> blocks;
  const auto check = [](const auto& block, std::size_t length) {
    for (std::size_t i = 0; i < length; i += std::max<std::size_t>(1, length / 64)) {
      ASSERT_EQ(block.first[i], block.second.fill);
    }
  };
  std::size_t bytes = 0;
  for (int step = 0; step < 20'000; ++step) {
    const auto chosen =
        blocks.empty()
            ? blocks.end()
            : std::next(blocks.begin(), static_cast<std::ptrdiff_t>(random() % blocks.size()));
    const unsigned action = blocks.size() < 5 ? 0 : random() % 4;
    if (action <= 1 && blocks.size() < 200) {
      const std::size_t wanted = size();
      auto* block = static_cast<unsigned char*>(pool->allocate(pool, wanted, 0));
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
      const auto fill = static_cast<unsigned char>(random());
      std::memset(block, fill, wanted);
      ASSERT_TRUE(blocks.emplace(block, Model{wanted, fill}).second);
      bytes += wanted;
    } else if (action == 2 || blocks.size() >= 200) {
      check(*chosen, chosen->second.size);
      pool->free_block(pool, chosen->first);
      bytes -= chosen->second.size;
      blocks.erase(chosen);
    } else {
      const Model before = chosen->second;
      const std::size_t wanted = size();
      auto* moved = static_cast<unsigned char*>(pool->reallocate(pool, chosen->first, wanted, 0));
      blocks.erase(chosen);
      check(std::pair(moved, before), std::min(before.size, wanted));
      std::memset(moved, before.fill, wanted);
      ASSERT_TRUE(blocks.emplace(moved, Model{wanted, before.fill}).second);
      bytes = bytes - before.size + wanted;
    }
    ASSERT_EQ(host_.pools().counters().blocks, blocks.size());
    ASSERT_EQ(host_.pools().counters().bytes, bytes);
  }
  for (const auto& block : blocks) check(block, block.second.size);
  EXPECT_EQ(pool->destroy(pool), 0);
  EXPECT_EQ(pool->destroy(pool), -1) << "a pool that is gone";
  EXPECT_EQ(host_.pools().counters().reserved, 0u);
}

TEST_F(HostServicesTest, LargeBlocksCostWhatIsWrittenAndCanBeCutInPlace) {
  HostPool* pool = new_pool();
  [[maybe_unused]] const std::size_t before = resident_pages();
  std::vector<char*> blocks;
  for (int i = 0; i < 1000; ++i) {
    auto* block = static_cast<char*>(pool->allocate(pool, 5'000'000, 0));
    std::strcpy(block, "written");
    blocks.push_back(static_cast<char*>(pool->reallocate(pool, block, 8, 0)));
    ASSERT_EQ(blocks.back(), block);
  }
  for (const char* block : blocks) ASSERT_STREQ(block, "written");
#ifndef __SANITIZE_ADDRESS__  // which keeps a shadow of every byte
  EXPECT_LT(resident_pages() - before, 200u) << "5 GB were asked for";
#endif
  pool->destroy(pool);
}

TEST_F(HostServicesTest, RecyclesTheEmptyPoolsOfACall) {
  static HostPool* kept;
  HostFunction* function = [](const HostArgumentBlock*, double*) {
    HostServices* services = host::Host::current()->control_block()->services;
    const PoolAttributes attributes{};
    HostPool* empty = services->create_pool(services, &attributes, 0, "empty");
    empty->free_block(empty, empty->allocate(empty, 100, 0));
    kept = services->create_pool(services, &attributes, 0, "kept");
    std::strcpy(static_cast<char*>(kept->allocate(kept, 10, 0)), "kept");
    HostPool* destroyed = services->create_pool(services, &attributes, 0, "destroyed");
    destroyed->allocate(destroyed, 10, 0);
    destroyed->destroy(destroyed);
    return 0;
  };
  host::Arguments none;
  EXPECT_TRUE(host_.call(function, none.block()).is_unchanged);
  const host::PoolCounters counters = host_.pools().counters();
  EXPECT_EQ(counters.created, 3u);
  EXPECT_EQ(counters.recycled, 1u);
  EXPECT_EQ(counters.destroyed, 1u);
  ASSERT_EQ(host_.pools().describe().size(), 1u);
  EXPECT_EQ(host_.pools().describe()[0].name, "kept");
  kept->destroy(kept);
}

TEST_F(HostServicesTest, RendersEverySeverityAndReadsDataNeverAsAFormat) {
  auto* log = operation<operation::xpslog>(operation_number::xpslog);
  log("%1zwrong: %s\n", "%n%s%d");
  log("%3znote %d of %s", 7, std::string(5000, 'x').c_str());
  log("%2zwarning");
  log("plain");
  log("100%%");
  EXPECT_EQ(log_.text(), "ERROR: wrong: %n%s%d\nNOTE: note 7 of " + std::string(5000, 'x') +
                             "\nLOG 2: warning\nplain\n100%\n");
}

TEST_F(HostServicesTest, FormatsWithinTheVariable) {
  auto* format = operation<operation::xpsstr>(operation_number::xpsstr);
  const auto formatted = [&](std::int64_t capacity, auto... arguments) {
    std::string variable = "########";
    const std::int64_t written = format(variable.data(), capacity, arguments...);
    return variable + " " + std::to_string(written);
  };
  EXPECT_EQ(formatted(8, "%*s", 3, "abc"), "abc##### 3");
  EXPECT_EQ(formatted(8, "%*s", 5, "abc"), "  abc### 5");
  EXPECT_EQ(formatted(2, "%*s", 3, "abc"), "ab###### 2");
  EXPECT_EQ(formatted(4, "%*s", 6, "abc"), "   a#### 4");
  EXPECT_EQ(formatted(8, "%s-%d", "x", 42), "x-42#### 4");
  EXPECT_EQ(formatted(3, "%s-%d", "x", 42), "x-4##### 3");
  EXPECT_EQ(formatted(0, "%s", "x"), "######## 0");
  EXPECT_EQ(formatted(-1, "%s", "x"), "######## 0");
}

TEST_F(HostServicesTest, WritesPlainFilesAndReportsWhatFails) {
  auto* assign = operation<operation::xxrasgn>(operation_number::xxrasgn);
  auto* open = operation<operation::xxropen>(operation_number::xxropen);
  auto* close = operation<operation::xxclose>(operation_number::xxclose);
  const auto write = [&](const std::string& path, std::string_view data) {
    char reference[] = "        ";
    if (const int code = assign(reference, "        ", path.data(), path.size(), 0)) return code;
    EXPECT_STRNE(reference, "        ");
    const FileAttributes attributes{kFileOutput, kFileRecords, data.size(), {}};
    HostFile* file = nullptr;
    if (const int code = open(reference, &attributes, &file)) return code;
    const int code = file->write(file, data.data(), data.size());
    const int closed = close(file);
    return code != 0 ? code : closed;
  };
  const std::string data("one\0two\n", 8);
  const fs::path file = sandbox_.root() / "file";
  EXPECT_EQ(write(file, "a longer text before"), 0);
  EXPECT_EQ(write(file, data), 0);
  EXPECT_EQ(read_file(file), data);
  EXPECT_EQ(write(sandbox_.root() / "no" / "folder", data), -ENOENT);
  EXPECT_EQ(write("/dev/full", data), -ENOSPC);
  operation<operation::xprrlog>(operation_number::xprrlog)(0, -ENOENT);
  EXPECT_EQ(log_.text(), "ERROR: External file: No such file or directory (code -2).\n");
}

TEST_F(HostServicesTest, EncodesPasswordsForTheOwnerOfTheKeyOnly) {
  const fs::path key = sandbox_.root() / "folder" / "key";
  const host::PasswordService service(key);
  const std::string encoded = service.encode("secret");
  EXPECT_NE(service.encode("secret"), encoded) << "two encodings of one password differ";
  EXPECT_EQ(service.decode(encoded), "secret");
  EXPECT_EQ(fs::status(key).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  host::PasswordService other(sandbox_.root() / "other-key");
  other.encode("x");
  EXPECT_EQ(other.decode(encoded), std::nullopt);
  fs::permissions(key, fs::perms::group_read, fs::perm_options::add);
  EXPECT_THROW(static_cast<void>(service.decode(encoded)), std::runtime_error);
}

// What a module meets where nothing is provided: a message that names the place, and the end.
TEST_F(HostServicesTest, EndsTheRunAtAMissingSlot) {
  host_.log().reset_sink();
  HostControlBlock* gcb = host_.control_block();
  HostPool* pool = new_pool();
  const auto slot = [](void* table, int number) { static_cast<HostOperation*>(table)[number](); };
  const auto ends = testing::ExitedWithCode(70);
  EXPECT_EXIT(slot(gcb->services, 7), ends, "slot 7 of a service table, which this host does not");
  EXPECT_EXIT(slot(gcb->services, 60), ends, "slot 60 of a service table");
  EXPECT_EXIT(slot(pool, 0), ends, "slot 0 of a pool");
  EXPECT_EXIT(slot(pool, 20), ends, "slot 20 of a pool");
  EXPECT_EXIT(slot(gcb->allocator, 1), ends, "slot 1 of a host allocator");
  EXPECT_EXIT(operation<operation::xexit>(operation_number::xexit)(1016), ends,
              "out of memory.*code 1016");
  EXPECT_EXIT(pool->allocate(pool, std::size_t{1} << 60, 0), ends, "Out of memory: pool \"test\"");
}

class ModuleLoading : public ModuleTest {
 protected:
  // A folder whose libgit2.so is the companion.
  fs::path folder_with_libgit2() {
    fs::path folder = sandbox_.root() / "libgit2";
    fs::create_directory(folder);
    fs::create_symlink(kLibraryFolder / "libgit2.so", folder / "libgit2.so");
    return folder;
  }
};

constexpr char kSecondTry[] =
    "NOTE: libgit2.so not found in the system location, trying the extension path.\n";
constexpr char kThirdTry[] =
    "NOTE: libgit2.so not found in the system location, trying the install path.\n";

TEST_F(ModuleLoading, TriesThreeLocationsInOrder) {
  const fs::path here = folder_with_libgit2();
  const fs::path nothing = sandbox_.root() / "nothing";
  const std::string version = "NOTE: Libgit2 version " + std::string(UWUGIT_LIBGIT2_VERSION) + "\n";
  const struct {
    host::SearchLists lists;
    const char* code;
    std::string log;
  } rows[] = {
      {{.system = {nothing, here}, .extension = {}, .install = {}}, "0", version},
      {{.system = {nothing}, .extension = {here}, .install = {}}, "0", kSecondTry + version},
      {{.system = {}, .extension = {nothing}, .install = {here}},
       "0",
       std::string(kSecondTry) + kThirdTry + version},
      {{.system = {}, .extension = {}, .install = {}},
       "-1",
       std::string(kSecondTry) + kThirdTry +
           "ERROR: libgit2.so not found.\nERROR: Unable to load libgit2 module.\n"},
  };
  for (const auto& row : rows) {
    host_.modules().set_lists(row.lists);
    EXPECT_EQ(code("git_version"), row.code);
    EXPECT_EQ(logged(), row.log);
    EXPECT_EQ(code("get_status", nothing), row.code == std::string("0") ? "-2" : "-1");
    logged();
  }
}

TEST_F(ModuleLoading, NotesAVersionEvenWhenItCannotBeAsked) {
  hide_function("git_libgit2_version");
  EXPECT_EQ(answer("git_version"), "0 NOTE: Libgit2 version 0.0.0\n$");
  hide_function("git_libgit2_init");
  EXPECT_EQ(answer("git_version"), "-1$");
}

TEST_F(ModuleLoading, PassesOverAFileThatIsNoLibrary) {
  const fs::path broken = sandbox_.root() / "broken";
  write_file(broken / "libgit2.so", "not a library");
  host_.modules().set_lists(
      {.system = {broken}, .extension = {folder_with_libgit2()}, .install = {}});
  EXPECT_EQ(code("git_version"), "0");
  EXPECT_TRUE(logged().starts_with("ERROR: A module cannot be loaded: " +
                                   (broken / "libgit2.so").string()));
  EXPECT_THROW(host::FunctionModule(broken / "libgit2.so", host_.control_block()),
               std::runtime_error);
  EXPECT_THROW(host::FunctionModule(kLibraryFolder / "libgit2.so", host_.control_block()),
               std::runtime_error);
}

TEST_F(ModuleLoading, ExportsThePublicNamesOnly) {
  EXPECT_EQ(module_.find("GIT_PULL"), module_.find("do_pull"));
  EXPECT_EQ(module_.find("GIT_PUSH"), module_.find("do_push"));
  std::set<std::string> expected = {"mcn_main", "uwugit_p", "vi_mcn"};
  for (const host::Function& function : host::catalogue()) expected.emplace(function.name);
  std::set<std::string> exported;
  std::istringstream names(
      runner::run({"nm", "-D", "--defined-only", kModuleFile.string()}).output);
  for (std::string address, kind, name; names >> address >> kind >> name;) exported.insert(name);
  EXPECT_EQ(exported, expected);
}

TEST_F(ModuleLoading, ChecksArgumentsBeforeTheModuleSeesThem) {
  const std::string long_path(64 << 10, 'p');
  const struct {
    std::string_view function;
    std::vector<host::Value> values;
    const char* message;
  } rows[] = {
      {"get_status",
       {},
       "get_status: argument 1 (repository) is missing\nusage: get_status(repository) -> code"},
      {"get_status", {"a", "b"}, "get_status: too many arguments: 2 were given"},
      {"get_status", {1.0}, "get_status: argument 1 (repository) must be a text"},
      {"get_status",
       {std::string("a\0b", 3)},
       "get_status: argument 1 (repository) contains a NUL byte"},
      {"get_status_attribute", {"1", "repo", "PATH"}, "argument 1 (number) must be a number"},
      {"get_status_attribute", {1.0, "repo"}, "argument 3 (attribute) is missing"},
  };
  for (const auto& row : rows) {
    const host::Function& function = *host::find_function(row.function);
    try {
      host::call_function(host_, module_, function, row.values);
      ADD_FAILURE() << row.message;
    } catch (const host::UsageError& error) {
      EXPECT_NE(std::string(error.what()).find(row.message), std::string::npos) << error.what();
    }
  }
  EXPECT_EQ(logged(), "");
}

}  // namespace
}  // namespace uwugit::test
