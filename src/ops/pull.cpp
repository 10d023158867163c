// do_pull(repository, user, password, public key, private key, certificate file,
//         default credentials) -> 0
//
// Fetches the current branch from the remote "origin" and merges what arrived; also registered as
// GIT_PULL. All but the repository are optional. 0: fast-forwarded or merged, or the remote has no
// such branch. 1: already up to date. -1: the repository could not be opened, or a step of the
// merge failed. -2: the merge left conflicts, which are noted. -3: the server did not accept the
// credentials. Another positive number is the class of libgit2's error. Unchanged: there is no
// "origin" or no commit yet.
//
// Example: do_pull("/home/me/project", "me", "{uwugit1}…");

#include <optional>

#include "module/messages.h"
#include "module/vector_stubs.h"
#include "ops/merge.h"
#include "ops/origin.h"
#include "support/broken_pipe.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kPull = {.pool_name = "gitPullPool",
                              .is_result_preset = false,
                              .is_load_failure_reported = true,
                              .failure = kFailure};
constexpr char kFetchHeadPool[] = "fetchhead";

constexpr char kMergeName[] = "Merge";
constexpr char kMergeEmail[] = "No Email";
constexpr char kMergedSide[] = "FETCH_HEAD";

// What an entry's merge answers. All but kGoOn end the walk and become the result of the pull.
constexpr int kGoOn = 0;
constexpr int kUpToDate = 1;
constexpr int kMergeFailed = -1;
constexpr int kConflicts = -2;

// libgit2's merge analysis, compared as a whole.
constexpr int kAnalysisNormal = 1;
constexpr int kAnalysisUpToDate = 2;
constexpr int kAnalysisFastForward = 4;
constexpr int kAnalysisNormalOrFastForward = 5;
constexpr int kAnalysisUnborn = 8;

// The payload of the walk over FETCH_HEAD.
struct FetchHeadContext {
  GitModule* git;
  git_repository* repo;
};

int fail(const FetchHeadContext& context) {
  log_git_error(context.git);
  return kMergeFailed;
}

int merge_into_files(const FetchHeadContext& context, const git_annotated_commit* theirs) {
  git_merge_options merge = GIT_MERGE_OPTIONS_INIT;
  merge.flags = GIT_MERGE_FIND_RENAMES;
  merge.file_flags = GIT_MERGE_FILE_STYLE_DIFF3;
  git_checkout_options checkout = GIT_CHECKOUT_OPTIONS_INIT;
  checkout.checkout_strategy = kCheckoutSafe | kCheckoutAllowConflicts;
  checkout.ancestor_label = "Ancestor";
  checkout.our_label = "Local";
  checkout.their_label = "Remote";
  return attempt(GIT(context, git_merge), context.repo, &theirs, 1, &merge, &checkout);
}

bool has_conflicts(const FetchHeadContext& context, const git_index* index) {
  auto* ask = GIT(context, git_index_has_conflicts);
  return ask && ask(index) != 0;
}

// Answers nothing when a step failed.
std::optional<int> commit_merge(const FetchHeadContext& context, HostPool* pool, git_index* index) {
  Held<git_reference> head(context.git, free_git_reference);
  const char* branch = nullptr;
  if (attempt(GIT(context, git_repository_head), &head.it, context.repo) < 0 ||
      attempt(GIT(context, git_branch_name), &branch, head.it) < 0) {
    fail(context);
    return std::nullopt;
  }
  return create_merge_commit(context.git, pool, context.repo, index, head.it, branch, kMergedSide,
                             kMergeName, kMergeEmail);
}

// Merges for real, also where the branch could just be moved on: moving it leaves the files as they
// are, and it is the merge that updates them. Answers nothing when a step failed.
std::optional<int> merge_entry(const FetchHeadContext& context, HostPool* pool,
                               const git_annotated_commit* theirs, const git_oid* id,
                               int analysis) {
  Held<git_index> index_before(context.git, free_git_index);
  Held<git_index> index(context.git, free_git_index);
  if (attempt(GIT(context, git_repository_index), &index_before.it, context.repo) < 0 ||
      merge_into_files(context, theirs) != 0 ||
      attempt(GIT(context, git_repository_index), &index.it, context.repo) < 0) {
    fail(context);
    return std::nullopt;
  }
  if (has_conflicts(context, index.it)) {
    output_conflicts(context.git, index.it);
    return kConflicts;
  }
  if (analysis == kAnalysisNormalOrFastForward) {
    return fastforward_head(context.git, context.repo, id);
  }
  return commit_merge(context, pool, index.it);
}

// One entry that is to be merged. Its merge state is cleared away, conflicts or not, unless a step
// failed.
int take_entry(const FetchHeadContext& context, HostPool* pool, const char* name, const char* url,
               const git_oid* id) {
  Held<git_annotated_commit> commit(context.git, free_git_annotated_commit);
  if (attempt(GIT(context, git_annotated_commit_from_fetchhead), &commit.it, context.repo, name,
              url, id) < 0) {
    return kGoOn;
  }
  const git_annotated_commit* theirs = commit.it;
  git_merge_analysis_t analysis{};
  git_merge_preference_t preference{};  // not used
  if (attempt(GIT(context, git_merge_analysis), &analysis, &preference, context.repo, &theirs, 1) <
      0) {
    return fail(context);
  }
  std::optional<int> result = kGoOn;
  switch (static_cast<int>(analysis)) {
    case kAnalysisUpToDate:
      xpslog(message::kUpToDate);
      result = kUpToDate;
      break;
    case kAnalysisUnborn:
      xpslog(message::kUnbornHead);
      break;
    case kAnalysisNormal:
    case kAnalysisNormalOrFastForward:
      result = merge_entry(context, pool, theirs, id, analysis);
      break;
    case kAnalysisFastForward:
      result = fastforward_head(context.git, context.repo, id);
      break;
    default:
      break;
  }
  if (!result) return kMergeFailed;
  attempt(GIT(context, git_repository_state_cleanup), context.repo);
  return *result;
}

int git_repository_fetchhead_foreach_cb(const char* name, const char* url, const git_oid* id,
                                        unsigned is_merge, void* payload) {
  // An entry without a name comes from a detached HEAD, and nothing is merged into that.
  if (is_merge != 1 || !name) return kGoOn;
  HostPool* pool = create_pool(kFetchHeadPool);
  const int result =
      take_entry(*static_cast<const FetchHeadContext*>(payload), pool, name, url, id);
  pool->destroy(pool);
  return result;
}

void pull(GitCall& call, HostText path_argument, const CredentialArguments& given) {
  const PoolText path(call.pool, path_argument);
  Origin origin(call.git);
  if (!open_origin(call, path.text, &origin)) return;
  const Credentials credentials(call.pool, given);
  const char* branch = current_branch(call, &origin);
  if (!branch) return;
  trust_certificate_file(call, given.certificate);
  const int code = fetch_from(call, origin.remote.it, branch, credentials);
  if (code < 0) return fail_transfer(call, code);
  auto* context =
      static_cast<FetchHeadContext*>(call.pool->allocate(call.pool, sizeof(FetchHeadContext), 0));
  *context = {call.git, origin.repo.it};
  auto* walk = GIT(call, git_repository_fetchhead_foreach);
  *call.result = walk ? walk(origin.repo.it, git_repository_fetchhead_foreach_cb, context) : 0;
  call.pool->free_block(call.pool, context);
}

}  // namespace

int do_pull(const HostArgumentBlock* arguments, double* result) {
  const HostText path = text_argument(arguments, 0);
  const CredentialArguments credentials = credential_arguments(arguments, 1, 5);
  const BrokenPipeGuard guard;
  GitCall call(kPull, result);
  if (call.is_ready()) pull(call, path, credentials);
  return 0;
}

}  // namespace uwugit
