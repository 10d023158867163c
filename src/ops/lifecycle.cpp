// Making, connecting and removing repositories.
//
// do_clone(url, directory, user, password, public key, private key, certificate file,
//          default credentials) -> 0, -3 or the class of libgit2's error
// init_repo(directory, branch [, url]) -> 0, -1
// set_remote_url(repository, url) -> 0, -1
// delete_repo(repository) -> 0, -1, -2

#include <unistd.h>

#include <climits>

#include "ops/branches.h"
#include "ops/origin.h"
#include "support/strings.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kClone = {
    .pool_name = "gitClonePool", .is_result_preset = true, .is_broken_pipe_held_off = true};
constexpr FrameRules kInitRepo = {.pool_name = "init_repo"};
constexpr FrameRules kSetRemoteUrl = {.pool_name = "set_url"};
constexpr FrameRules kDeleteRepo = {.pool_name = "delete_repo_pool"};

constexpr std::int64_t kCountWithUrl = 3;
constexpr char kFetchRefspec[] = "+refs/heads/*:refs/remotes/origin/*";

// What `git_delete_repo` of the loaded module answers.
constexpr int kNotRemoved = -1;
constexpr int kNothingThere = -2;

// What stands before a path to make it absolute: nothing when it is so already, or when the current
// folder cannot be told.
struct CurrentFolder {
  explicit CurrentFolder(const char* path) {
    if (*path == '/' || !getcwd(text, sizeof text - 1)) {
      *text = '\0';
    } else if (std::size_t length = wzstlen(text); text[length - 1] != '/') {
      wzstcat(text, length, sizeof text, "/", 1);
    }
  }
  char text[PATH_MAX + 1];
};

void clone(const GitCall& call) {
  const Credentials credentials(call, {.user = 2, .certificate = 6});
  credentials.trust_certificate_file();
  Held<git_repository> repo(call);
  const PoolText url = call.text(0);
  const PoolText directory = call.text(1);
  TransferOptions options;
  credentials.prepare(Transfer::kClone, &options);
  const int code = required(GIT(call, git_clone), &repo.it, url.text, directory.text,
                            reinterpret_cast<git_clone_options*>(options.bytes));
  if (code != 0) return fail_transfer(call, code);
  *call.result = kSuccess;
}

int create_origin(const GitCall& call, git_repository* repo, const char* url) {
  auto* create = GIT(call, git_remote_create_with_fetchspec);
  Held<git_remote> remote(call);
  return required(create, &remote.it, repo, kOrigin, url, kFetchRefspec);
}

// An empty name is refused: it would be the current folder, which nobody named.
int create_repo(const GitCall& call, const char* directory, git_repository** repo) {
  if (*directory == '\0') return -1;
  const PoolText head = call.text(kLocalBranchPrefix, 1);
  // libgit2 takes a relative working directory as one inside the new ".git". The two must start
  // with the same text, or it writes the working directory into the configuration.
  const PoolText absolute = call.text(CurrentFolder(directory).text, 0);
  git_repository_init_options options = {};
  options.version = GIT_REPOSITORY_INIT_OPTIONS_VERSION;
  options.flags = GIT_REPOSITORY_INIT_MKPATH;
  options.workdir_path = absolute.text;
  options.initial_head = head.text;
  return required(GIT(call, git_repository_init_ext), repo, absolute.text, &options);
}

void initialise(const GitCall& call) {
  const PoolText directory = call.text(0);
  Held<git_repository> repo(call);
  if (create_repo(call, directory.text, &repo.it) != 0) return call.fail();
  const bool is_url_given =
      call.count() == kCountWithUrl && text_argument(call.arguments, 2).is_present();
  if (is_url_given && GIT(call, git_remote_create_with_fetchspec)) {
    const PoolText url = call.text(2);
    if (create_origin(call, repo.it, url.text) != 0) return call.fail();
  }
  call.succeed(message::kInitialised, directory.text);
}

void set_origin(const RepoCall& call) {
  const PoolText url = call.text(1);
  if (create_origin(call, call.repo.it, url.text) != 0) return call.fail();
  call.succeed(message::kRemoteUrlSet, url.text, call.path.text);
}

// The function is not one of libgit2's own: the module that the host loads as "libgit2" brings it
// along. Without it the return code stays as it was.
void remove(const GitCall& call) {
  const PoolText path = call.text(0);
  auto* remove_folder = reinterpret_cast<int (*)(const char*)>(
      find_git_function(call, "git_delete_repo", L"git_delete_repo"));
  if (!remove_folder) return;
  const int code = remove_folder(path.text);
  *call.result = code;
  if (code == kNotRemoved) xpslog(message::kNotDeleted, path.text);
  if (code == kNothingThere) xpslog(message::kNothingToDelete, path.text);
}

}  // namespace

int do_clone(const HostArgumentBlock* arguments, double* result) {
  const GitCall call(kClone, arguments, result);
  if (call.is_ready()) clone(call);
  return 0;
}

int init_repo(const HostArgumentBlock* arguments, double* result) {
  const GitCall call(kInitRepo, arguments, result);
  if (call.is_ready()) initialise(call);
  return 0;
}

int set_remote_url(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kSetRemoteUrl, arguments, result);
  if (call.is_ready()) set_origin(call);
  return 0;
}

int delete_repo(const HostArgumentBlock* arguments, double* result) {
  const GitCall call(kDeleteRepo, arguments, result);
  if (call.is_ready()) remove(call);
  return 0;
}

}  // namespace uwugit
