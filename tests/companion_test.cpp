// The companion git module: what it asks of libgit2, and the removal of repositories.
#include <dlfcn.h>
#include <fcntl.h>
#include <git2.h>
#include <git2/sys/transport.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "support/module_test.h"

// The companion reaches the system through these two: with a certificate bundle of the tests' own,
// and, while a test says so, with nothing that can be removed but what has one of these names.
struct stat bundle {};
const char* removable = nullptr;
#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT int stat(const char* path, struct stat* found) noexcept {
  if (!std::strstr(path, "ca-certificates")) return fstatat(AT_FDCWD, path, found, 0);
  *found = bundle;
  return bundle.st_ino == 0 ? -1 : 0;
}

EXPORT int unlinkat(int folder, const char* name, int flags) noexcept {
  if (removable && !std::strstr(removable, name)) return -1;
  return static_cast<int>(syscall(SYS_unlinkat, folder, name, flags));
}

namespace uwugit::test {
namespace {

// A companion whose libgit2 does nothing but write down what it is asked for.
class Brackets : public testing::Test {
 protected:
  template <class T>
  static T* find(const char* name) {
    static void* library = dlopen(UWUGIT_RECORDED_COMPANION, RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<T*>(dlsym(library, name));
  }
  static int init() { return find<int()>("git_libgit2_init")(); }
  static int shutdown() { return find<int()>("git_libgit2_shutdown")(); }
  template <class... Given>
  static int opts(int option, Given... given) {
    return find<int(int, ...)>("git_libgit2_opts")(option, given...);
  }
  static std::string calls() { return std::exchange(*find<std::string>("recorded_calls"), ""); }
  static std::string calls_of_a_bracket() {
    init();
    shutdown();
    return calls();
  }

  // When libgit2 comes up, it gets a cache of that size, with room for trees, and verifies what it
  // reads, or does not.
  Brackets() { setenv("UWUGIT_CACHE_BYTES", "7", 1); }
  static std::string start(bool is_verified = true) {
    return "init 7=7 6=2=1048576 22=" + std::to_string(is_verified) + " ";
  }

  Sandbox sandbox_;
};

TEST_F(Brackets, KeepLibgit2UpBetweenThem) {
  // The steps: begin a bracket, end it, set an option.
  const auto play = [](std::string_view steps) {
    std::string answers;
    for (const char step : steps) {
      answers += std::to_string(step == 'b'   ? init()
                                : step == 'e' ? shutdown()
                                              : opts(GIT_OPT_SET_SSL_CERT_LOCATIONS, 5));
    }
    return answers + " " + calls();
  };
  *find<int>("answer_of_init") = -7;
  EXPECT_EQ(play("ebeb"), "0-70-7 init init ");
  *find<int>("answer_of_init") = 1;
  EXPECT_EQ(play("bbee"), "1210 " + start() + "clear ");
  EXPECT_EQ(play("ebe"), "010 clear ");
  EXPECT_EQ(play("bbsee"), "12010 12=5 clear shutdown ");
  EXPECT_EQ(play("be"), "10 " + start() + "clear ");
  EXPECT_EQ(play("sbe"), "010 12=5 shutdown " + start() + "clear ")
      << "an option set between brackets";
}

TEST_F(Brackets, BeginAfreshWhenWhatLibgit2ReadAtItsStartHasChanged) {
  calls_of_a_bracket();
  const auto begins_afresh_once = [](auto) {
    EXPECT_EQ(calls_of_a_bracket(), "shutdown " + start() + "clear ");
    EXPECT_EQ(calls_of_a_bracket(), "clear ");
  };
  for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "SSL_CERT_DIR", "SSL_CERT_FILE"}) {
    for (const char* value : {"/a", "/b", "", static_cast<const char*>(nullptr), ""}) {
      begins_afresh_once(value ? setenv(variable, value, 1) : unsetenv(variable));
    }
  }
  for (auto* field : {&bundle.st_ino, &bundle.st_dev}) begins_afresh_once(++*field);
  for (auto* field : {&bundle.st_size, &bundle.st_mtim.tv_sec, &bundle.st_mtim.tv_nsec}) {
    begins_afresh_once(++*field);
  }
  begins_afresh_once(bundle.st_ino = 0);  // it is gone
  setenv("UWUGIT_TRUST_OBJECTS", "1", 1);
  EXPECT_EQ(calls_of_a_bracket(), "shutdown " + start(false) + "clear ");
  begins_afresh_once(unsetenv("UWUGIT_TRUST_OBJECTS"));
  init();
  setenv("HOME", "/c", 1);
  EXPECT_EQ(calls_of_a_bracket(), "") << "a bracket is open";
  shutdown();
  EXPECT_EQ(calls(), "clear ");
}

// What setting each option leads to, by the number that libgit2 gave the option: "-" changes
// nothing, "no" does not reach libgit2. After any other libgit2 is taken down, and gets the values
// that stand here. Values that can be read are 1000 and the number of the option that reads them.
TEST_F(Brackets, SetBackWhatOutlivesAShutdown) {
  std::map<int, std::string> options;
  for (const char* leads_to :
       {"-",     "=1000", "-",     "=1002", "-",  "",      "=1=4096 =2=4096 =3=0 =4=4096",
        "=1009", "=1",    "-",     "-",     "",   "",      "no",
        "=1",    "=1",    "no",    "-",     "=1", "=0",    "-",
        "",      "=1",    "=0",    "=0",    "-",  "=1025", "=0",
        "=0",    "-",     "=1029", "=2",    "=1", "-",     "",
        "-",     "=1035"}) {
    options.emplace(options.size(), leads_to);
  }
  [[maybe_unused]] const auto can_be_read = [&](int get, int set) {
    options[get] = "-";
    options[set] = "=" + std::to_string(1000 + get);
  };
#if HAS_PACK_MAX_OBJECT_SIZE
  can_be_read(GIT_OPT_GET_PACK_MAX_OBJECT_SIZE, GIT_OPT_SET_PACK_MAX_OBJECT_SIZE);
#endif
#if HAS_SERVER_TIMEOUT
  can_be_read(GIT_OPT_GET_SERVER_CONNECT_TIMEOUT, GIT_OPT_SET_SERVER_CONNECT_TIMEOUT);
  can_be_read(GIT_OPT_GET_SERVER_TIMEOUT, GIT_OPT_SET_SERVER_TIMEOUT);
  options[GIT_OPT_GET_HOMEDIR] = "-";
#endif
#if HAS_USER_AGENT_PRODUCT
  options[GIT_OPT_GET_USER_AGENT_PRODUCT] = "-";
  options[GIT_OPT_SET_USER_AGENT_PRODUCT] = "no";
#endif
  for (int option = 0; option <= 100; ++option) {
    const std::string leads_to = options[option];
    const bool is_refused = leads_to == "no";
    const std::string name = std::to_string(option);
    const char* given = option == 100 ? "=1=2=3 " : option == 6 ? "=1=2 " : "=1 ";
    std::string expected = is_refused ? "clear " : name + given + "clear ";
    if (!is_refused && leads_to != "-") expected += "shutdown ";
    std::istringstream values(leads_to);
    for (std::string value; values >> value && value[0] == '=';) expected += name + value + " ";
    calls_of_a_bracket();
    init();
    EXPECT_EQ(opts(option, 1, 2, 3), is_refused ? -1 : option / 100);
    shutdown();
    EXPECT_EQ(calls(), expected);
  }
}

TEST_F(Brackets, RefuseSshWhereLibgit2DoesNotCheckHosts) {
  auto*& connect = *find<git_transport_cb>("guard");
  for (const int version : {144, 145, 150, 151}) {
    *find<int>("told_version") = version;
    setenv("HOME", std::to_string(version).c_str(), 1);  // libgit2 comes up again
    connect = nullptr;
    calls_of_a_bracket();
    ASSERT_EQ(connect != nullptr, version == 144 || version == 150) << version;
    if (!connect) continue;
    EXPECT_EQ(connect(nullptr, nullptr, nullptr), GIT_ECERTIFICATE);
    setenv("UWUGIT_ACCEPT_SSH_HOSTS", "1", 1);
    EXPECT_EQ(connect(nullptr, nullptr, nullptr), 0);
    unsetenv("UWUGIT_ACCEPT_SSH_HOSTS");
  }
}

TEST_F(Brackets, EndWhenTheCompanionIsUnloaded) {
  calls_of_a_bracket();
  const fs::path file = sandbox_.root() / "another.so";
  fs::copy_file(UWUGIT_RECORDED_COMPANION, file);
  void* another = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  reinterpret_cast<int (*)()>(dlsym(another, "git_libgit2_init"))();
  EXPECT_EQ(calls(), start());
  dlclose(another);
  EXPECT_EQ(calls(), "shutdown ");
}

// The companion as it is delivered.
class DeleteRepository : public testing::Test {
 protected:
  static int remove(const std::string& path) {
    static void* library = dlopen((kLibraryFolder / "libgit2.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<int (*)(const char*)>(dlsym(library, "git_delete_repo"))(path.c_str());
  }

  Sandbox sandbox_;
};

// The tests may run as root, whom no permissions stop: a process without that right removes.
TEST_F(DeleteRepository, RemovesReadOnlyFoldersOfAnOrdinaryUser) {
  const fs::path repo = sandbox_.root() / "repo";
  write_file(repo / "a/b/file", "x");
  for (const fs::path& path : {repo / "a/b/file", repo / "a/b", repo}) {
    fs::permissions(repo / "a", fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(path, fs::perms::none);
  }
  EXPECT_EXIT(
      {
        __user_cap_header_struct version = {.version = _LINUX_CAPABILITY_VERSION_3};
        __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
        if (syscall(SYS_capset, &version, none) != 0 || access(repo.c_str(), R_OK) == 0) {
          std::_Exit(99);
        }
        std::_Exit(-remove(repo));
      },
      testing::ExitedWithCode(0), "");
  EXPECT_FALSE(fs::exists(repo));
}

// What cannot be removed is a link, which is not followed then either.
TEST_F(DeleteRepository, GoesOnAfterWhatCannotBeRemoved) {
  const fs::path root = sandbox_.root();
  for (const char* file : {"repo/a", "repo/b/c", "repo/d", "c"}) write_file(root / file, "x");
  fs::create_directory_symlink(root, root / "repo/b/stuck");
  removable = "abcd";
  EXPECT_EQ(remove(root / "repo"), -1);
  removable = nullptr;
  std::set<fs::path> left;
  for (const auto& entry : fs::recursive_directory_iterator(root)) left.insert(entry);
  for (const char* path : {"repo", "repo/b", "repo/b/stuck", "c"})
    EXPECT_TRUE(left.contains(root / path));
  EXPECT_EQ(left.size(), 6u) << "the two others are the home and its git configuration";
}

TEST_F(DeleteRepository, RefusesWhatHasNoNameOfItsOwn) {
  const fs::path root = sandbox_.root();
  write_file(root / "file", "x");
  fs::create_directory_symlink("home", root / "link");
  fs::create_symlink("loop", root / "loop");
  removable = "";  // in case one of these is not refused
  for (const char* path : {"/", "//", "/.", "link", "link/", "home/..", "home/.", "loop/x"}) {
    EXPECT_EQ(remove(root / path), -1) << path;
  }
  for (const char* path : {"none", "file/x"}) EXPECT_EQ(remove(root / path), -2) << path;
  EXPECT_EQ(remove(""), -2);
  removable = nullptr;
  EXPECT_TRUE(fs::exists(root / "home"));
}

}  // namespace
}  // namespace uwugit::test
