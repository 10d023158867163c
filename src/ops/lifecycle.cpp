// Making, connecting and removing repositories.
//
// do_clone(url, directory, user, password, public key, private key, certificate file,
//          default credentials) -> 0
//     Clones a remote repository; all but the first two are optional. -3: the server did not accept
//     the credentials. Another positive number is the class of libgit2's error, -1 when it has none
//     or could not be loaded.
//
// init_repo(directory, branch, url) -> 0
//     Makes a repository with its missing parent folders, on a branch without commits, and with a
//     URL also the remote "origin". -1: libgit2 failed. A repository that was made stays when only
//     its remote could not be.
//
// set_remote_url(repository, url) -> 0
//     Adds the remote "origin". -1: the repository could not be opened, or has an "origin" already,
//     which is never changed.
//
// delete_repo(repository) -> 0
//     Removes the directory with all that is in it. -1: not all of it could be removed. -2: it does
//     not exist.
//
// Example: do_clone("https://example.org/project.git", "/home/me/project");

#include <unistd.h>

#include <climits>

#include "module/messages.h"
#include "module/vector_stubs.h"
#include "ops/credentials.h"
#include "support/broken_pipe.h"
#include "support/strings.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kClone = {.pool_name = "gitClonePool",
                               .is_result_preset = true,
                               .is_load_failure_reported = true,
                               .failure = kFailure};
constexpr FrameRules kInitRepo = {.pool_name = "init_repo",
                                  .is_result_preset = false,
                                  .is_load_failure_reported = true,
                                  .failure = kFailure};
constexpr FrameRules kSetRemoteUrl = {.pool_name = "set_url",
                                      .is_result_preset = false,
                                      .is_load_failure_reported = true,
                                      .failure = kFailure};
constexpr FrameRules kDeleteRepo = {.pool_name = "delete_repo_pool",
                                    .is_result_preset = false,
                                    .is_load_failure_reported = true,
                                    .failure = kFailure};

constexpr char kOrigin[] = "origin";
constexpr char kFetchRefspec[] = "+refs/heads/*:refs/remotes/origin/*";
constexpr char kBranchPrefix[] = "refs/heads/";
constexpr char kSeparator[] = "/";

// What `git_delete_repo` of the loaded module answers.
constexpr int kNotRemoved = -1;
constexpr int kNothingThere = -2;

// Two texts as one, in the call's pool.
struct JoinedText {
  JoinedText(HostPool* from, const char* first, const char* second)
      : pool(from),
        capacity(wzstlen(first) + wzstlen(second) + 1),
        text(static_cast<char*>(pool->allocate(pool, capacity, 0))) {
    const std::size_t length = wzstcat(text, 0, capacity, first, wzstlen(first));
    wzstcat(text, length, capacity, second, wzstlen(second));
  }
  ~JoinedText() { pool->free_block(pool, text); }
  JoinedText(const JoinedText&) = delete;
  JoinedText& operator=(const JoinedText&) = delete;

  HostPool* pool;
  std::size_t capacity;
  char* text;
};

// What stands before a path to make it absolute: nothing when it is so already, or when the current
// folder cannot be told.
struct CurrentFolder {
  explicit CurrentFolder(const char* path) {
    if (*path == '/' || !getcwd(text, sizeof text - 1)) {
      *text = '\0';
    } else if (std::size_t length = wzstlen(text); text[length - 1] != '/') {
      wzstcat(text, length, sizeof text, kSeparator, 1);
    }
  }
  char text[PATH_MAX + 1];
};

void clone(GitCall& call, HostText url_argument, HostText directory_argument,
           const CredentialArguments& given) {
  trust_certificate_file(call, given.certificate);
  Held<git_repository> repo(call.git, free_git_repo);
  const PoolText url(call.pool, url_argument);
  const PoolText directory(call.pool, directory_argument);
  const Credentials credentials(call.pool, given);
  TransferOptions options;
  credentials.prepare(call.git, Transfer::kClone, &options);
  const int code = attempt(GIT(call, git_clone), &repo.it, url.text, directory.text,
                           reinterpret_cast<git_clone_options*>(options.bytes));
  if (code != 0) return fail_transfer(call, code);
  *call.result = kSuccess;
}

using RemoteCreator = decltype(&git_remote_create_with_fetchspec);

bool create_origin(RemoteCreator create, GitCall& call, git_repository* repo, const char* url) {
  Held<git_remote> remote(call.git, free_git_remote);
  return attempt(create, &remote.it, repo, kOrigin, url, kFetchRefspec) == 0;
}

// An empty name is refused: it would be the current folder, which nobody named.
int init(GitCall& call, git_repository** repo, const char* directory, const char* branch) {
  if (*directory == '\0') return -1;
  const JoinedText head(call.pool, kBranchPrefix, branch);
  // libgit2 takes a relative working directory as one inside the new ".git". The two must start
  // with the same text, or it writes the working directory into the configuration.
  const JoinedText absolute(call.pool, CurrentFolder(directory).text, directory);
  git_repository_init_options options = {};
  options.version = GIT_REPOSITORY_INIT_OPTIONS_VERSION;
  options.flags = GIT_REPOSITORY_INIT_MKPATH;
  options.workdir_path = absolute.text;
  options.initial_head = head.text;
  return attempt(GIT(call, git_repository_init_ext), repo, absolute.text, &options);
}

void init(GitCall& call, const char* directory, const char* branch, HostText url_argument) {
  Held<git_repository> repo(call.git, free_git_repo);
  if (init(call, &repo.it, directory, branch) != 0) return call.fail();
  if (url_argument.is_present()) {
    const PoolText url(call.pool, url_argument);
    auto* create = GIT(call, git_remote_create_with_fetchspec);
    if (create && !create_origin(create, call, repo.it, url.text)) return call.fail();
  }
  *call.result = kSuccess;
  xpslog(message::kInitialised, directory);
}

void set_origin(GitCall& call, const char* path, HostText url_argument) {
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path, &repo.it)) return;
  const PoolText url(call.pool, url_argument);
  auto* create = GIT(call, git_remote_create_with_fetchspec);
  if (!create_origin(create, call, repo.it, url.text)) return call.fail();
  *call.result = kSuccess;
  xpslog(message::kRemoteUrlSet, url.text, path);
}

}  // namespace

int do_clone(const HostArgumentBlock* arguments, double* result) {
  const HostText url = text_argument(arguments, 0);
  const HostText directory = text_argument(arguments, 1);
  const CredentialArguments credentials = credential_arguments(arguments, 2, 6);
  const BrokenPipeGuard guard;
  GitCall call(kClone, result);
  if (call.is_ready()) clone(call, url, directory, credentials);
  return 0;
}

int init_repo(const HostArgumentBlock* arguments, double* result) {
  const HostText directory_argument = text_argument(arguments, 0);
  const HostText branch_argument = text_argument(arguments, 1);
  const HostText url = arguments->count == 3 ? text_argument(arguments, 2) : HostText{};
  GitCall call(kInitRepo, result);
  if (!call.is_ready()) return 0;
  const PoolText directory(call.pool, directory_argument);
  const PoolText branch(call.pool, branch_argument);
  init(call, directory.text, branch.text, url);
  return 0;
}

int set_remote_url(const HostArgumentBlock* arguments, double* result) {
  const HostText path_argument = text_argument(arguments, 0);
  const HostText url = text_argument(arguments, 1);
  GitCall call(kSetRemoteUrl, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, path_argument);
  set_origin(call, path.text, url);
  return 0;
}

int delete_repo(const HostArgumentBlock* arguments, double* result) {
  const HostText path_argument = text_argument(arguments, 0);
  GitCall call(kDeleteRepo, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, path_argument);
  // Not one of libgit2's own: the module that the host loads as "libgit2" brings it along.
  auto* remove = reinterpret_cast<int (*)(const char*)>(
      find_git_function(call.git, "git_delete_repo", L"git_delete_repo"));
  if (!remove) return 0;
  const int code = remove(path.text);
  *result = code;
  if (code == kNotRemoved) xpslog(message::kNotDeleted, path.text);
  if (code == kNothingThere) xpslog(message::kNothingToDelete, path.text);
  return 0;
}

}  // namespace uwugit
