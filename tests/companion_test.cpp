// The companion git module: nothing leaks from one bracket to the next, and the removal of
// repositories. The process links no libgit2, so that only the companion keeps it up.
#include <dlfcn.h>
#include <git2.h>
#include <git2/sys/transport.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "process.h"
#include "support/module_test.h"

// The version that the companion is told: its own call finds this program's function first.
static int told_version = 190;
int git_libgit2_version(int* major, int* minor, int* revision) {
  *major = told_version / 100;
  *minor = told_version / 10 % 10;
  *revision = told_version % 10;
  return 0;
}

namespace uwugit::test {
namespace {

class Companion : public testing::Test {
 protected:
  static void* library() {
    static void* handle = dlopen((kLibraryFolder / "libgit2.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    return handle;
  }
  template <class Function>
  static Function* find(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library(), name));
  }
#define COMPANION(name) find(static_cast<decltype(&::name)>(nullptr), #name)

  static int init() { return COMPANION(git_libgit2_init)(); }
  static int shutdown() { return COMPANION(git_libgit2_shutdown)(); }
  template <class... Given>
  static int opts(int option, Given... given) {
    return COMPANION(git_libgit2_opts)(option, given...);
  }

  // How often the distribution's own libgit2 is initialised.
  static int real_count() {
    void* real = dlopen(UWUGIT_LIBGIT2_FILE, RTLD_NOW | RTLD_NOLOAD);
    const int count = reinterpret_cast<int (*)()>(dlsym(real, "git_libgit2_init"))() - 1;
    reinterpret_cast<int (*)()>(dlsym(real, "git_libgit2_shutdown"))();
    dlclose(real);
    return count;
  }

  static std::string search_path(int level) {
    git_buf buffer = {nullptr, 0, 0};
    opts(GIT_OPT_GET_SEARCH_PATH, level, &buffer);
    std::string path = buffer.ptr ? buffer.ptr : "";
    COMPANION(git_buf_dispose)(&buffer);
    return path;
  }

  // The error of this thread, empty when there is none.
  static std::string error() {
    const git_error* last = COMPANION(git_error_last)();
    return last && last->klass != GIT_ERROR_NONE ? last->message : "";
  }

  // Whether libgit2 comes up anew for the next bracket: it then forgets an option that was set
  // behind the companion's back.
  static bool restarts() {
    init();
    const bool is_new = search_path(GIT_CONFIG_LEVEL_SYSTEM) != "/marked";
    void* real = dlopen(UWUGIT_LIBGIT2_FILE, RTLD_NOW | RTLD_NOLOAD);
    reinterpret_cast<decltype(&git_libgit2_opts)>(dlsym(real, "git_libgit2_opts"))(
        GIT_OPT_SET_SEARCH_PATH, GIT_CONFIG_LEVEL_SYSTEM, "/marked");
    dlclose(real);
    shutdown();
    return is_new;
  }

  Sandbox sandbox_;
};

TEST_F(Companion, CountsBracketsAndKeepsLibgit2UpBetweenThem) {
  EXPECT_EQ(shutdown(), 0) << "a shutdown without an initialisation";
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(init(), 2);
  EXPECT_EQ(shutdown(), 1);
  EXPECT_EQ(shutdown(), 0);
  EXPECT_EQ(real_count(), 1);
  EXPECT_EQ(shutdown(), 0);
  EXPECT_EQ(real_count(), 1);
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(real_count(), 1);
  shutdown();
}

TEST_F(Companion, ClearsTheErrorAtTheEndOfABracket) {
  init();
  init();
  git_repository* repo = nullptr;
  EXPECT_LT(COMPANION(git_repository_open)(&repo, "/nothing/here"), 0);
  shutdown();
  EXPECT_NE(error(), "") << "the outer bracket is still open";
  shutdown();
  init();
  EXPECT_EQ(error(), "");
  EXPECT_EQ(COMPANION(git_repository_open)(&repo, sandbox_.new_repository().c_str()), 0);
  EXPECT_EQ(error(), "") << "left by a successful open";
  COMPANION(git_repository_free)(repo);
  shutdown();
}

// Options that can be read, those that only show in what libgit2 does, and those that libgit2's own
// shutdown resets: after the bracket that set them, all are as they were.
TEST_F(Companion, SetsEveryOptionBack) {
  const auto numbers = [] {
    std::vector<std::size_t> values;
    for (const int option : {
           GIT_OPT_GET_MWINDOW_SIZE, GIT_OPT_GET_MWINDOW_MAPPED_LIMIT,
               GIT_OPT_GET_MWINDOW_FILE_LIMIT, GIT_OPT_GET_PACK_MAX_OBJECTS,
#if HAS_PACK_MAX_OBJECT_SIZE
               GIT_OPT_GET_PACK_MAX_OBJECT_SIZE,
#endif
#if HAS_SERVER_TIMEOUT
               GIT_OPT_GET_SERVER_CONNECT_TIMEOUT, GIT_OPT_GET_SERVER_TIMEOUT,
#endif
         }) {
      std::size_t value = 0;
      opts(option, &value);
      values.push_back(value);
    }
    int is_validated = 0;
    opts(GIT_OPT_GET_OWNER_VALIDATION, &is_validated);
    values.push_back(static_cast<std::size_t>(is_validated));
    std::size_t used = 0, allowed = 0;
    opts(GIT_OPT_GET_CACHED_MEMORY, &used, &allowed);
    values.push_back(allowed);
    return values;
  };
  const fs::path path = sandbox_.new_repository();
  const auto can_point_into_nothing = [&path] {
    git_repository* repo = nullptr;
    git_reference* reference = nullptr;
    git_oid nothing = {};
    nothing.id[0] = 1;
    COMPANION(git_repository_open)(&repo, path.c_str());
    const int code =
        COMPANION(git_reference_create)(&reference, repo, "refs/heads/x", &nothing, 1, nullptr);
    COMPANION(git_reference_free)(reference);
    COMPANION(git_repository_free)(repo);
    return code == 0;
  };
  init();
  const std::vector<std::size_t> before = numbers();
  const std::string path_before = search_path(GIT_CONFIG_LEVEL_GLOBAL);
  EXPECT_FALSE(can_point_into_nothing());
  shutdown();

  init();
  for (const int option :
       {GIT_OPT_SET_MWINDOW_SIZE, GIT_OPT_SET_MWINDOW_MAPPED_LIMIT, GIT_OPT_SET_MWINDOW_FILE_LIMIT,
        GIT_OPT_SET_PACK_MAX_OBJECTS, GIT_OPT_SET_CACHE_MAX_SIZE}) {
    opts(option, std::size_t{12345});
  }
#if HAS_PACK_MAX_OBJECT_SIZE
  opts(GIT_OPT_SET_PACK_MAX_OBJECT_SIZE, std::size_t{12345});
#endif
#if HAS_SERVER_TIMEOUT
  opts(GIT_OPT_SET_SERVER_CONNECT_TIMEOUT, 12345);
  opts(GIT_OPT_SET_SERVER_TIMEOUT, 12345);
#endif
  opts(GIT_OPT_SET_OWNER_VALIDATION, 0);
  opts(GIT_OPT_ENABLE_STRICT_OBJECT_CREATION, 0);
  opts(GIT_OPT_SET_SEARCH_PATH, GIT_CONFIG_LEVEL_GLOBAL, "/elsewhere");
  EXPECT_LT(opts(GIT_OPT_SET_USER_AGENT, "an agent that libgit2 frees and goes on using"), 0);
#if HAS_USER_AGENT_PRODUCT
  EXPECT_LT(opts(GIT_OPT_SET_USER_AGENT_PRODUCT, "the same"), 0);
#endif
  EXPECT_NE(numbers(), before);
  EXPECT_TRUE(can_point_into_nothing());
  shutdown();

  init();
  EXPECT_EQ(numbers(), before);
  EXPECT_EQ(search_path(GIT_CONFIG_LEVEL_GLOBAL), path_before);
  EXPECT_FALSE(can_point_into_nothing());
  shutdown();
}

TEST_F(Companion, ComesUpFreshOnlyWhenItMust) {
  init();
  std::size_t size = 0;
  opts(GIT_OPT_GET_MWINDOW_SIZE, &size);
  shutdown();
  EXPECT_EQ(real_count(), 1) << "reading an option changes nothing";
  init();
  opts(GIT_OPT_SET_SSL_CERT_LOCATIONS, "/etc/ssl/certs/ca-certificates.crt", nullptr);
  shutdown();
  EXPECT_EQ(real_count(), 0) << "a certificate location was installed";

  EXPECT_TRUE(restarts());
  const std::string place = sandbox_.root() / "changed";
  for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "SSL_CERT_DIR", "SSL_CERT_FILE"}) {
    EXPECT_FALSE(restarts());
    setenv(variable, place.c_str(), 1);
    EXPECT_TRUE(restarts()) << variable;
  }
  EXPECT_TRUE(search_path(GIT_CONFIG_LEVEL_GLOBAL).starts_with(place));
  write_file(place, "the file of authorities appears");
  EXPECT_TRUE(restarts());
  unsetenv("SSL_CERT_FILE");
}

TEST_F(Companion, ShutsLibgit2DownWhenItIsUnloaded) {
  const fs::path file = sandbox_.root() / "another.so";
  fs::copy_file(kLibraryFolder / "libgit2.so", file);
  init();
  void* other = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  reinterpret_cast<int (*)()>(dlsym(other, "git_libgit2_init"))();
  EXPECT_EQ(real_count(), 2);
  dlclose(other);
  EXPECT_EQ(real_count(), 1);
  shutdown();
}

TEST_F(Companion, RefusesSshWhereLibgit2DoesNotCheckHosts) {
  const auto is_refused = [this] {
    setenv("HOME", (sandbox_.root() / std::to_string(told_version)).c_str(), 1);  // for a restart
    git_transport* transport = nullptr;
    init();
    const int code = COMPANION(git_transport_new)(&transport, nullptr, "ssh://localhost/repo");
    if (transport) transport->free(transport);
    shutdown();
    return code == GIT_ECERTIFICATE;
  };
  for (const int version : {144, 145, 150, 151}) {
    told_version = version;
    EXPECT_EQ(is_refused(), version == 144 || version == 150) << version;
    setenv("UWUGIT_ACCEPT_SSH_HOSTS", "1", 1);
    EXPECT_FALSE(is_refused());
    unsetenv("UWUGIT_ACCEPT_SSH_HOSTS");
  }
}

class DeleteRepository : public Companion {
 protected:
  static int remove(const std::string& path) {
    return reinterpret_cast<int (*)(const char*)>(dlsym(library(), "git_delete_repo"))(
        path.c_str());
  }
};

TEST_F(DeleteRepository, RemovesAllAndOnlyWhatIsInside) {
  const fs::path outside = sandbox_.root() / "outside";
  write_file(outside / "file", "kept");
  const fs::path repo = sandbox_.new_repository();
  write_file(repo / "deep/er/file", "x");
  write_file(repo / "read-only/file", "x");
  commit_all(repo, "one");
  fs::create_directory_symlink(outside, repo / "link-to-folder");
  fs::create_symlink(outside / "file", repo / "link-to-file");
  fs::create_symlink("/nowhere", repo / "dangling");
  fs::permissions(repo / "read-only/file", fs::perms::owner_read);
  fs::permissions(repo / "read-only", fs::perms::owner_read);
  EXPECT_EQ(remove(repo.string() + "/"), 0);
  EXPECT_FALSE(fs::exists(fs::symlink_status(repo)));
  EXPECT_EQ(read_file(outside / "file"), "kept");
}

// The tests may run as root, whom permissions do not stop: the removal is done by another user.
TEST_F(DeleteRepository, RemovesReadOnlyFoldersOfAnOrdinaryUser) {
  constexpr unsigned nobody = 65534;
  const fs::path repo = sandbox_.root() / "open" / "repo";
  write_file(repo / "a/b/file", "x");
  for (const fs::path& path :
       {repo.parent_path(), repo, repo / "a", repo / "a/b", repo / "a/b/file"}) {
    if (geteuid() == 0) {
      ASSERT_EQ(chown(path.c_str(), nobody, nobody), 0);
    }
  }
  for (const fs::path& path : {repo / "a/b/file", repo / "a/b", repo / "a", repo}) {
    fs::permissions(path, fs::perms::none);
  }
  fs::permissions(sandbox_.root(), fs::perms::all);
  EXPECT_EXIT(
      {
        if (geteuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) std::_Exit(99);
        std::_Exit(-remove(repo));
      },
      testing::ExitedWithCode(0), "");
  EXPECT_FALSE(fs::exists(repo));
}

TEST_F(DeleteRepository, RefusesWhatIsNoFolderOfItsOwn) {
  write_file(sandbox_.root() / "file", "kept");
  fs::create_directory_symlink(sandbox_.root(), sandbox_.root() / "link");
  const struct {
    std::string path;
    int code;
  } rows[] = {{(sandbox_.root() / "file").string(), -1},
              {(sandbox_.root() / "link").string(), -1},
              {"/", -1},
              {"//", -1},
              {"/tmp/..", -1},
              {"", -2},
              {(sandbox_.root() / "none").string(), -2},
              {(sandbox_.root() / "file/x").string(), -2}};
  for (const auto& row : rows) EXPECT_EQ(remove(row.path), row.code) << row.path;
  EXPECT_EQ(read_file(sandbox_.root() / "file"), "kept");
}

}  // namespace
}  // namespace uwugit::test
