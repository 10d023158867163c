// The stand-alone host by itself: pools, log, formatting, files, passwords, and what a module finds
// where nothing is.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "process.h"
#include "support/module_test.h"
#include "uwugit/operations.h"

namespace uwugit::test {
namespace {

HostPool* new_pool(const char* name = "test") {
  HostServices* services = host::Host::current()->control_block()->services;
  const PoolAttributes attributes{};
  return services->create_pool(services, &attributes, 0, name);
}

std::size_t resident_pages() {
  std::size_t total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident;
}

class HostTest : public ModuleTest {
 protected:
  // An operation of the host, reached as a stub reaches it.
  template <class Signature>
  Signature* operation(OperationNumber number) {
    return reinterpret_cast<Signature*>(host_.control_block()->vectors[number.vector][number.slot]);
  }
#define OPERATION(name) operation<operation::name>(operation_number::name)
};

// Thousands of random steps against a model that knows what every block must hold, in a new pool
// and in one whose record was used before.
TEST_F(HostTest, PoolsKeepEveryBlockIntact) {
  std::mt19937 random(7);
  struct Model {
    std::size_t size;
    unsigned char fill;
  };
  std::map<unsigned char*, Model> blocks;
  const auto is_intact = [](const unsigned char* block, std::size_t length, unsigned char fill) {
    for (std::size_t i = 0; i < length; i += std::max<std::size_t>(1, length / 64)) {
      if (block[i] != fill) return false;
    }
    return true;
  };
  for (int round = 0; round < 2; ++round) {
    HostPool* pool = new_pool();
    EXPECT_LT(host_.pools().counters().reserved, 8192u) << "a new pool holds nothing";
    std::size_t bytes = 0;
    for (int step = 0; step < 15'000; ++step) {
      constexpr std::size_t scales[] = {16, 16, 200, 3000, 60'000, 300'000};
      const std::size_t wanted = random() % scales[random() % std::size(scales)];
      unsigned char* block = nullptr;
      Model before{0, static_cast<unsigned char>(random())};
      const unsigned action = blocks.size() < 5 ? 0 : blocks.size() < 200 ? random() % 4 : 3;
      if (action > 1) {  // with a block that is there
        const auto chosen =
            std::next(blocks.begin(), static_cast<std::ptrdiff_t>(random() % blocks.size()));
        std::tie(block, before) = *chosen;
        ASSERT_TRUE(is_intact(block, before.size, before.fill));
        blocks.erase(chosen);
        bytes -= before.size;
      }
      if (action == 3) {
        pool->free_block(pool, block);
      } else {
        void* made = action == 0 ? pool->allocate(pool, wanted, 0)
                                 : pool->reallocate(pool, block, wanted, 0);
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(made) % 16, 0u);
        block = static_cast<unsigned char*>(made);
        ASSERT_TRUE(is_intact(block, std::min(before.size, wanted), before.fill));
        std::memset(block, before.fill, wanted);
        ASSERT_TRUE(blocks.emplace(block, Model{wanted, before.fill}).second);
        bytes += wanted;
      }
      ASSERT_EQ(host_.pools().counters().blocks, blocks.size());
      ASSERT_EQ(host_.pools().counters().bytes, bytes);
    }
    for (const auto& [block, model] : blocks) {
      EXPECT_TRUE(is_intact(block, model.size, model.fill));
    }
    blocks.clear();
    EXPECT_EQ(pool->destroy(pool), 0);
    EXPECT_EQ(pool->destroy(pool), -1) << "a pool that is gone";
    EXPECT_EQ(host_.pools().counters().reserved, 0u);
  }
}

TEST_F(HostTest, PoolsUseFreedMemoryAgain) {
  HostPool* pool = new_pool();
  const auto take = [pool](std::size_t bytes) { return pool->allocate(pool, bytes, 0); };
  pool->free_block(pool, nullptr);
  void* const first = take(100);
  void* const last = take(100);
  pool->free_block(pool, last);
  EXPECT_EQ(take(60), last) << "the next block begins where the last one taken did";
  pool->free_block(pool, first);
  EXPECT_EQ(take(101), first) << "the room is a multiple of 16";

  [[maybe_unused]] const std::size_t before = resident_pages();
  constexpr std::size_t large = 8 << 20;
  for (int i = 0; i < 1000; ++i) {
    char* block = std::strcpy(static_cast<char*>(take(large)), "written");
    ASSERT_EQ(pool->reallocate(pool, block, 8, 0), block) << "cut in place";
    ASSERT_STREQ(block, "written");
  }
  void* const freed = take(large);
  take(large);
  pool->free_block(pool, std::memset(freed, 1, large));
#ifndef UWUGIT_HAS_ASAN  // which keeps a shadow of every byte
  EXPECT_LT(resident_pages() - before, 200u) << "8 GB were asked for, and 8 MB given back";
#endif
  EXPECT_EQ(take(large), freed);
  pool->destroy(pool);
}

TEST_F(HostTest, RecyclesTheEmptyPoolsOfACall) {
  std::vector<HostPool*> many;
  for (int i = 0; i < 100; ++i) many.push_back(new_pool(std::string(100, 'n').c_str()));
  EXPECT_EQ(host_.pools().describe()[99].name, std::string(47, 'n'));
  for (HostPool* pool : many) pool->destroy(pool);
  const auto pools_after = [this](HostFunction* function) {
    host_.call(function, host::Arguments().block());
    std::string names;
    for (const host::PoolDescription& pool : host_.pools().describe()) names += pool.name + " ";
    const host::PoolCounters counters = host_.pools().counters();
    return names + std::to_string(counters.recycled) + " " + std::to_string(counters.destroyed);
  };
  new_pool("before");
  HostFunction* makes_three = [](const HostArgumentBlock*, double*) {
    HostPool* empty = new_pool("empty");
    empty->free_block(empty, empty->allocate(empty, 100, 0));
    HostPool* kept = new_pool("kept");
    kept->allocate(kept, 10, 0);
    HostPool* destroyed = new_pool("destroyed");
    return destroyed->destroy(destroyed);
  };
  EXPECT_EQ(pools_after(makes_three), "before kept 1 101");
  new_pool("outside");
  EXPECT_EQ(pools_after([](auto*, auto*) { return 0; }), "before kept outside 1 101");
}

// Locks that were left behind, in a repository and in a linked work tree of it.
TEST_F(HostTest, NamesWhatIsInTheWayOfACallThatWrites) {
  const fs::path main = sandbox_.new_repository();
  const std::string id = commit_all(main, "one");
  git(main, {"worktree", "add", "--quiet", "../linked"});
  const fs::path linked = sandbox_.root() / "linked";
  const fs::path folder = main / ".git/worktrees/linked";
  const auto named = [&](const fs::path& file, auto... words) {
    write_file(file, "");
    call(words...);
    fs::remove(file);
    return logged().find(file.string() + " exists: ") != std::string::npos;
  };
  const fs::path index = folder / "index.lock";
  EXPECT_TRUE(named(index, "reset_to_commit", linked, id, "MIXED"));
  EXPECT_FALSE(named(index, "reset_to_commit", linked, id, "SOFT")) << "a success";
  EXPECT_FALSE(named(index, "get_status", main / "none")) << "it writes nothing";
  EXPECT_FALSE(named(index, "delete_branch", linked, "linked")) << "it needs no index";
  EXPECT_TRUE(named(main / ".git/config.lock", "set_remote_url", linked, "url"));
  EXPECT_TRUE(named(main / ".git/refs/heads/a/b.lock", "create_branch", linked, "HEAD", "a/b", 0));
  const fs::path branch = main / ".git/refs/heads/linked.lock";
  EXPECT_TRUE(named(branch, "do_commit", linked, "HEAD", "me", "m@x", "text")) << "it answers 0";
}

TEST_F(HostTest, RendersEverySeverityAndReadsDataNeverAsAFormat) {
  auto* log = OPERATION(xpslog);
  const std::string long_text(5000, 'x');
  log("%1zwrong: %s\n", "%n%s%d");
  log("%3znote %d of %s", 7, long_text.c_str());
  log("%2zwarning\n\n");
  log("plain");
  log("100%%");
  OPERATION(xprrlog)(0, -ENOENT);
  EXPECT_EQ(log_.text(), "ERROR: wrong: %n%s%d\nNOTE: note 7 of " + long_text +
                             "\nLOG 2: warning\n\nplain\n100%\n"
                             "ERROR: External file: No such file or directory (code -2).\n");
  host_.log().set_sink({});
  log("%1znobody reads this");
}

TEST_F(HostTest, FormatsWithinTheVariable) {
  const auto formatted = [this](std::int64_t capacity, auto... arguments) {
    std::string variable = "########";
    const std::int64_t written = OPERATION(xpsstr)(variable.data(), capacity, arguments...);
    return variable + " " + std::to_string(written);
  };
  EXPECT_EQ(formatted(8, "%*s", 3, "abc"), "abc##### 3");
  EXPECT_EQ(formatted(8, "%*s", 5, "abc"), "  abc### 5");
  EXPECT_EQ(formatted(2, "%*s", 3, "abc"), "ab###### 2");
  EXPECT_EQ(formatted(2, "%*s", 6, "abc"), "  ###### 2");
  EXPECT_EQ(formatted(8, "%s-%d", "x", 42), "x-42#### 4");
  EXPECT_EQ(formatted(-1, "%s", "x"), "######## 0");
}

TEST_F(HostTest, WritesPlainFilesAndReportsWhatFails) {
  FileAttributes attributes{kFileOutput, kFileRecords, 100, {}};
  HostFile* file = nullptr;
  std::string names;
  const auto open = [&](const std::string& name) {
    return OPERATION(xxropen)(name.data(), &attributes, &file);
  };
  const auto write = [&](std::string name, const std::string& path, std::string_view data) {
    OPERATION(xxrasgn)(name.data(), "        ", path.data(), path.size(), 0);
    names += name + " ";
    if (const int code = open(name)) return code;
    const int code = file->write(file, data.data(), data.size());
    const int closed = OPERATION(xxclose)(file);
    return code != 0 ? code : closed;
  };
  const std::string path = sandbox_.root() / "file";
  EXPECT_EQ(write("        ", path, "a longer text before"), 0);
  EXPECT_EQ(write("MYFILE  ", path, std::string_view("one\0two\n", 8)), 0);
  EXPECT_EQ(read_file(path), std::string("one\0two\n", 8));
  EXPECT_EQ(write("        ", "/none/file", "x"), -ENOENT);
  EXPECT_EQ(write("        ", "/dev/full", "x"), -ENOSPC) << "told by the closing";
  EXPECT_EQ(write("        ", "/dev/full", std::string(100'000, 'x')), -ENOSPC);
  EXPECT_EQ(names, "#UF00001 MYFILE   #UF00002 #UF00003 #UF00004 ") << "blank names are filled in";
  EXPECT_EQ(open("MYFILE  and more"), 0);
  EXPECT_EQ(OPERATION(xxclose)(file), 0);
  EXPECT_EQ(OPERATION(xxclose)(file), -EBADF);
  EXPECT_EQ(open("UNKNOWN "), -EBADF);
  attributes.direction = 1;
  EXPECT_EQ(open("MYFILE  "), -EINVAL) << "for reading";
}

TEST_F(HostTest, DecodesPasswordsForTheOwnerOfTheKeyOnly) {
  const std::string encoded = host_.passwords().encode("secret");
  EXPECT_NE(host_.passwords().encode("secret"), encoded) << "two encodings of one password differ";
  HostPool* pool = new_pool();
  const auto decode = [&](const std::string& text) {
    char* decoded = nullptr;
    std::int64_t length = 0;
    const int status = OPERATION(omidcrp)(pool, text.data(), static_cast<std::int64_t>(text.size()),
                                          &decoded, &length);
    return std::to_string(status) + std::string(decoded, static_cast<std::size_t>(length));
  };
  EXPECT_EQ(decode(encoded), "0secret");
  const std::string other = host::PasswordService(sandbox_.root() / "new/key").encode("x");
  for (const std::string& text : {encoded.substr(1), encoded.substr(0, 60), encoded + "!",
                                  encoded.substr(0, 9), encoded.substr(0, 13), other}) {
    EXPECT_EQ(decode(text), "-1") << text;
  }
  EXPECT_EQ(logged(), "");
  const fs::path key = host_.passwords().key_file();
  for (const fs::perms wrong : {fs::perms::group_read, fs::perms::others_exec}) {
    fs::permissions(key, wrong | fs::perms::owner_all);
    EXPECT_EQ(decode(encoded), "-2");
    EXPECT_PRED2(starts_with, logged(), "ERROR: The key file " + key.string() + " can be read by ");
  }
  fs::permissions(key, fs::perms::owner_all);
  fs::resize_file(key, 33);
  EXPECT_EQ(decode(encoded), "-2");
  fs::remove(key);
  EXPECT_EQ(decode(encoded), "-2");
  pool->destroy(pool);
}

// What a module meets where nothing is provided: a message that names the place, and the end.
TEST_F(HostTest, EndsTheRun) {
  host_.log().reset_sink();
  HostControlBlock* gcb = host_.control_block();
  HostPool* pool = new_pool();
  GitModule* git = host_.modules().load(L"libgit2", ModuleLocation::kSystem);
  const auto slot = [](void* table, int number) { static_cast<HostOperation*>(table)[number](); };
  const auto ends = testing::ExitedWithCode(70);
  EXPECT_EXIT(slot(gcb->services, 7), ends, "slot 7 of a service table, which this host does not");
  EXPECT_EXIT(slot(gcb->services, 63), ends, "slot 63 of a service table");
  EXPECT_EXIT(slot(pool, 31), ends, "slot 31 of a pool");
  EXPECT_EXIT(slot(gcb->allocator, 1), ends, "slot 1 of a host allocator");
  EXPECT_EXIT(slot(git, 31), ends, "slot 31 of a loaded module");
  const auto exit = OPERATION(xexit);
  EXPECT_EXIT(exit(1016), ends, "ERROR: The module ran out of memory. The run ends with code 1016");
  EXPECT_EXIT(exit(256), ends, "The module ended the run. The run ends with code 256.");
  EXPECT_EXIT(exit(0), ends, "code 0");
  EXPECT_EXIT(exit(255), testing::ExitedWithCode(255), "code 255");
  constexpr std::size_t too_much = SIZE_MAX;
  const char* message = "Out of memory: pool \"test\" cannot have 18446744073709551615 bytes.";
  EXPECT_EXIT(pool->allocate(pool, too_much, 0), ends, message);
  EXPECT_EXIT(pool->reallocate(pool, pool->allocate(pool, 1, 0), too_much, 0), ends, message);
}

TEST_F(HostTest, OffersWhatAModuleReads) {
  EXPECT_THROW(static_cast<void>(host::Host({})), std::logic_error) << "the second in a process";
  for (int c = 0; c < 256; ++c) {
    EXPECT_EQ(host_.control_block()->upper_case[c], std::toupper(c)) << c;
  }
  EXPECT_EQ(module_.find("GIT_PULL"), module_.find("do_pull"));
  EXPECT_EQ(module_.find("GIT_PUSH"), module_.find("do_push"));
  const auto load = [this](const wchar_t* name) {
    return host_.modules().load(name, ModuleLocation::kSystem);
  };
  GitModule* git = load(L"libgit2");
  EXPECT_TRUE(git->lookup(git, L"git_libgit2_init and more", 16, 0));
  for (const std::wstring name : {L"git_nothing", L"git_libgit2_init ", L"git_libgit2_init\xe9"}) {
    EXPECT_FALSE(git->lookup(git, name.data(), name.size(), 0));
  }
  for (const wchar_t* name : {L"none", L"", L"../uwugit/libgit2"}) EXPECT_FALSE(load(name));
  host_.modules().set_lists({});
  EXPECT_FALSE(load(L"libgit2"));
}

}  // namespace
}  // namespace uwugit::test
