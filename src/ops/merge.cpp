// Merging a branch into the one that HEAD is on.
//
// merge_branch(repository, branch, name, email [, kind]) -> 0
//     Merges the local branch, or with kind 1 the remote-tracking one ("origin/topic"), and commits
//     the merge with that name and e-mail. 1: there is nothing to merge. -1: the repository or the
//     branch is not usable, or the merge could not be committed. -2: the merge left conflicts, one
//     note each. -3: libgit2 could not merge, for example over local changes. Unchanged: HEAD was
//     fast-forwarded, or an early step failed with an error in the log.
//
// Example: merge_branch("/home/me/project", "topic", "Me", "me@example.org");

#include "ops/merge.h"

#include "gitbind/frame.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "ops/branches.h"
#include "support/strings.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kMergeBranch = {.pool_name = "merge_branch_pool",
                                     .is_result_preset = false,
                                     .is_load_failure_reported = true,
                                     .failure = kFailure};
constexpr double kNothingToMerge = 1.0;
constexpr double kConflicts = -2.0;
constexpr double kMergeFailed = -3.0;

constexpr int kDone = 0;
constexpr int kFailed = -1;

int fail(GitModule* git) {
  log_git_error(git);
  return kFailed;
}

// Without either function there is no branch, which the step that moves it reports.
int create_head_branch(GitModule* git, git_repository* repo, git_reference* head,
                       const git_oid* target, git_reference** branch) {
  auto* symbolic_target = GIT_FUNCTION(git, git_reference_symbolic_target);
  auto* create = GIT_FUNCTION(git, git_reference_create);
  if (!symbolic_target || !create) return kDone;
  const char* name = symbolic_target(head);
  return name ? create(branch, repo, name, target, 1, nullptr) : kFailed;
}

int peel_to_commit(GitModule* git, git_reference* reference, git_commit** commit) {
  return attempt(GIT_FUNCTION(git, git_reference_peel), reinterpret_cast<git_object**>(commit),
                 reference, GIT_OBJECT_COMMIT);
}

// A tree that could not be written counts as a failure only when libgit2 has an error to tell; the
// lookup of the tree fails otherwise.
bool is_tree_written(GitModule* git, git_index* index, git_oid* id) {
  return attempt(GIT_FUNCTION(git, git_index_write_tree), id, index) >= 0 || !last_git_error(git);
}

char* merge_commit_text(HostPool* pool, const char* their_branch, const char* head_branch) {
  constexpr std::size_t fixed = sizeof message::kMergeCommitText - sizeof "%s%s";
  static_assert(fixed == 21);
  const std::size_t length = fixed + wzstlen(their_branch) + wzstlen(head_branch);
  auto* text = static_cast<char*>(pool->allocate(pool, length + 1, 0));
  xpsstr(text, static_cast<std::int64_t>(length), message::kMergeCommitText, their_branch,
         head_branch);
  text[length] = '\0';
  return text;
}

// What is being merged: our side is HEAD.
struct Merge {
  git_repository* repo;
  git_reference* head;
  const char* head_branch;
  git_annotated_commit* theirs;
  const git_oid* their_id;
  const char* their_branch;
  HostText name;
  HostText email;
};

// The files are written by the checkout, which goes by the configured merge.conflictStyle instead
// of the merge's own: only where that is diff3 do the markers show the ancestor.
int merge_trees(GitCall& call, const Merge& merge) {
  git_merge_options options = GIT_MERGE_OPTIONS_INIT;
  options.flags = GIT_MERGE_FIND_RENAMES;
  options.file_flags = GIT_MERGE_FILE_STYLE_DIFF3;
  git_checkout_options checkout = GIT_CHECKOUT_OPTIONS_INIT;
  checkout.checkout_strategy = kCheckoutSafe | kCheckoutAllowConflicts;
  checkout.ancestor_label = "Ancestor";
  checkout.our_label = merge.head_branch;
  checkout.their_label = merge.their_branch;
  const git_annotated_commit* heads[] = {merge.theirs};
  return attempt(GIT(call, git_merge), merge.repo, heads, 1, &options, &checkout);
}

// The second half of a merge without conflicts.
void conclude_merge(GitCall& call, const Merge& merge, git_index* index, bool is_fastforward) {
  if (is_fastforward) {
    fastforward_head(call.git, merge.repo, merge.their_id);  // the result stays as it was
    return;
  }
  const PoolText name(call.pool, merge.name);
  const PoolText email(call.pool, merge.email);
  const int rc = create_merge_commit(call.git, call.pool, merge.repo, index, merge.head,
                                     merge.head_branch, merge.their_branch, name.text, email.text);
  *call.result = rc >= 0 ? kSuccess : kFailure;
}

// False when the merge could not be tried, or its outcome not be read: its state then stays in the
// repository.
//
// A branch that could be fast-forwarded is merged first all the same: it is the merge that brings
// the working tree up to date, which the fast-forward alone would not.
bool merge_and_conclude(GitCall& call, const Merge& merge, bool is_fastforward) {
  if (merge_trees(call, merge) != 0) {
    *call.result = kMergeFailed;
    log_git_error(call.git);
    return false;
  }
  Held<git_index> index(call.git, free_git_index);
  auto* has_conflicts = GIT(call, git_index_has_conflicts);
  if (attempt(GIT(call, git_repository_index), &index.it, merge.repo) < 0 || !has_conflicts) {
    log_git_error(call.git);
    return false;
  }
  if (has_conflicts(index.it) != 0) {
    *call.result = kConflicts;
    output_conflicts(call.git, index.it);
  } else {
    conclude_merge(call, merge, index.it, is_fastforward);
  }
  return true;
}

// Answers whether the repository's state is to be cleaned up.
bool merge_by_analysis(GitCall& call, const Merge& merge, unsigned analysis) {
  constexpr unsigned kNormalOrFastforward =
      GIT_MERGE_ANALYSIS_NORMAL | GIT_MERGE_ANALYSIS_FASTFORWARD;
  switch (analysis) {
    case GIT_MERGE_ANALYSIS_UP_TO_DATE:
      xpslog(message::kUpToDate);
      *call.result = kNothingToMerge;
      return true;
    case GIT_MERGE_ANALYSIS_UNBORN:
      xpslog(message::kUnbornHead);
      *call.result = kFailure;
      return true;
    case GIT_MERGE_ANALYSIS_NORMAL:
    case kNormalOrFastforward:
      return merge_and_conclude(call, merge, analysis == kNormalOrFastforward);
    case GIT_MERGE_ANALYSIS_FASTFORWARD:
      fastforward_head(call.git, merge.repo, merge.their_id);  // the result stays as it was
      return true;
    default:
      return true;
  }
}

// `merge` comes with the repository, the names and the signature's texts.
void merge_into_head(GitCall& call, Merge merge, const char* full_name) {
  Held<git_reference> head(call.git, free_git_reference);
  if (attempt(GIT(call, git_repository_head), &head.it, merge.repo) < 0 ||
      attempt(GIT(call, git_branch_name), &merge.head_branch, head.it) < 0) {
    log_git_error(call.git);
    return;
  }
  merge.head = head.it;
  Held<git_reference> reference(call.git, free_git_reference);
  Held<git_annotated_commit> theirs(call.git, free_git_annotated_commit);
  if (attempt(GIT(call, git_reference_lookup), &reference.it, merge.repo, full_name) < 0 ||
      attempt(GIT(call, git_annotated_commit_from_ref), &theirs.it, merge.repo, reference.it) < 0) {
    return call.fail();
  }
  merge.theirs = theirs.it;
  auto* id_of = GIT(call, git_annotated_commit_id);
  if (!id_of) return call.fail();
  merge.their_id = id_of(theirs.it);

  git_merge_analysis_t analysis{};
  git_merge_preference_t preference{};
  const git_annotated_commit* heads[] = {theirs.it};
  if (attempt(GIT(call, git_merge_analysis), &analysis, &preference, merge.repo, heads, 1) < 0) {
    log_git_error(call.git);
    return;
  }
  if (merge_by_analysis(call, merge, analysis)) {
    attempt(GIT(call, git_repository_state_cleanup), merge.repo);
  }
}

}  // namespace

int fastforward_head(GitModule* git, git_repository* repo, const git_oid* target) {
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = kCheckoutSafe;
  Held<git_commit> commit(git, free_git_commit);
  if (attempt(GIT_FUNCTION(git, git_commit_lookup), &commit.it, repo, target) < 0) return fail(git);
  Held<git_reference> head(git, free_git_reference);
  if (attempt(GIT_FUNCTION(git, git_reference_lookup), &head.it, repo, "HEAD") != 0) {
    return fail(git);
  }
  Held<git_reference> branch(git, free_git_reference);
  if (create_head_branch(git, repo, head.it, target, &branch.it) < 0) return fail(git);
  if (attempt(GIT_FUNCTION(git, git_checkout_tree), repo, reinterpret_cast<git_object*>(commit.it),
              &options) < 0) {
    return fail(git);
  }
  Held<git_reference> moved(git, free_git_reference);
  auto* set_target = GIT_FUNCTION(git, git_reference_set_target);
  if (!branch.it || attempt(set_target, &moved.it, branch.it, target, nullptr) < 0) {
    return fail(git);
  }
  xpslog(message::kFastforwarded);
  return kDone;
}

int create_merge_commit(GitModule* git, HostPool* pool, git_repository* repo, git_index* index,
                        git_reference* head, const char* head_branch, const char* their_branch,
                        const char* name, const char* email) {
  Held<git_reference> their_reference(git, free_git_reference);
  if (attempt(GIT_FUNCTION(git, git_reference_dwim), &their_reference.it, repo, their_branch) < 0) {
    return fail(git);
  }
  Held<git_signature> signature(git, free_git_signature);
  if (attempt(GIT_FUNCTION(git, git_signature_now), &signature.it, name, email) < 0) {
    return fail(git);
  }
  Held<git_commit> ours(git, free_git_commit);
  if (peel_to_commit(git, head, &ours.it) < 0) return fail(git);
  Held<git_commit> theirs(git, free_git_commit);
  if (peel_to_commit(git, their_reference.it, &theirs.it) < 0) return fail(git);

  git_oid tree_id{};
  if (!is_tree_written(git, index, &tree_id)) return fail(git);
  Held<git_tree> tree(git, free_git_tree);
  if (attempt(GIT_FUNCTION(git, git_tree_lookup), &tree.it, repo, &tree_id) < 0) return fail(git);

  auto* reference_name = GIT_FUNCTION(git, git_reference_name);
  if (!reference_name) return fail(git);
  char* text = merge_commit_text(pool, their_branch, head_branch);
  const git_commit* parents[] = {ours.it, theirs.it};
  git_oid commit_id{};
  const int created =
      attempt(GIT_FUNCTION(git, git_commit_create), &commit_id, repo, reference_name(head),
              signature.it, signature.it, "UTF-8", text, tree.it, 2, parents);
  pool->free_block(pool, text);
  if (created < 0) return fail(git);
  xpslog(message::kMerged, their_branch, head_branch);
  return kDone;
}

int output_conflicts(GitModule* git, git_index* index) {
  Held<git_index_conflict_iterator> iterator(git, free_git_index_conflict_iterator);
  if (attempt(GIT_FUNCTION(git, git_index_conflict_iterator_new), &iterator.it, index) < 0) {
    log_git_error(git);
    return kDone;
  }
  const git_index_entry* ancestor = nullptr;
  const git_index_entry* ours = nullptr;
  const git_index_entry* theirs = nullptr;
  while (attempt(GIT_FUNCTION(git, git_index_conflict_next), &ancestor, &ours, &theirs,
                 iterator.it) == 0) {
    const git_index_entry* named = ancestor ? ancestor : ours ? ours : theirs;
    xpslog(message::kConflict, named->path);
  }
  return kDone;
}

int merge_branch(const HostArgumentBlock* arguments, double* result) {
  const HostText branch_argument = text_argument(arguments, 1);
  GitCall call(kMergeBranch, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const PoolText branch(call.pool, branch_argument);
  const PoolText full_name(call.pool,
                           is_remote_kind(arguments, 4) ? kRemoteBranchPrefix : kLocalBranchPrefix,
                           branch_argument);
  merge_into_head(call,
                  {.repo = repo.it,
                   .their_branch = branch.text,
                   .name = text_argument(arguments, 2),
                   .email = text_argument(arguments, 3)},
                  full_name.text);
  return 0;
}

}  // namespace uwugit
