#include "ops/merge_into_head.h"

#include "ops/branches.h"
#include "support/strings.h"

namespace uwugit {
namespace {

constexpr char kEncoding[] = "UTF-8";
constexpr int kDone = 0;
constexpr int kFailed = -1;

int fail(GitModule* git) {
  log_git_error(git);
  return kFailed;
}

// Where libgit2 lacks one of the two functions no branch is made, and the step that moves the
// branch fails.
int create_head_branch(GitModule* git, git_repository* repo, const git_reference* head,
                       const git_oid* target, git_reference** branch) {
  auto* symbolic_target = GIT(git, git_reference_symbolic_target);
  auto* create = GIT(git, git_reference_create);
  if (!symbolic_target || !create) return kDone;
  const char* name = symbolic_target(head);
  return name ? create(branch, repo, name, target, 1, nullptr) : kFailed;
}

// Creates or moves the branch that HEAD names to the commit and checks the commit's tree out: 0, or
// -1 after libgit2's error in the log. A detached HEAD names no branch: -1, and nothing is changed.
// Files that differ between the two commits are *not* updated, since the branch moves before the
// checkout compares: the merge has updated them before.
int fastforward_head(GitModule* git, git_repository* repo, const git_oid* target) {
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = kCheckoutSafe;
  Held<git_commit> commit(git);
  Held<git_reference> head(git);
  Held<git_reference> branch(git);
  Held<git_reference> moved(git);
  if (required(GIT(git, git_commit_lookup), &commit.it, repo, target) < 0 ||
      required(GIT(git, git_reference_lookup), &head.it, repo, kHead) != 0 ||
      create_head_branch(git, repo, head.it, target, &branch.it) < 0 ||
      required(GIT(git, git_checkout_tree), repo, reinterpret_cast<git_object*>(commit.it),
               &options) < 0 ||
      !branch.it ||
      required(GIT(git, git_reference_set_target), &moved.it, branch.it, target, nullptr) < 0) {
    return fail(git);
  }
  xpslog(message::kFastforwarded);
  return kDone;
}

// The two parents of a merge commit.
struct Parents {
  explicit Parents(GitModule* git) : ours(git), theirs(git) {}

  Held<git_commit> ours;
  Held<git_commit> theirs;
};

int peel_to_commit(GitModule* git, git_reference* reference, Held<git_commit>& commit) {
  return required(GIT(git, git_reference_peel), reinterpret_cast<git_object**>(&commit.it),
                  reference, GIT_OBJECT_COMMIT);
}

int find_parents(const Merge& merge, const Head& head, git_reference* their_reference,
                 Parents* parents) {
  const int code = peel_to_commit(merge.git, head.reference.it, parents->ours);
  return code < 0 ? code : peel_to_commit(merge.git, their_reference, parents->theirs);
}

// A tree that could not be written counts as a failure only when libgit2 has an error to tell; the
// lookup of the tree fails otherwise.
int write_tree(const Merge& merge, git_index* index, git_tree** tree) {
  git_oid id{};
  const int written = required(GIT(merge.git, git_index_write_tree), &id, index);
  if (written < 0 && last_git_error(merge.git)) return written;
  return required(GIT(merge.git, git_tree_lookup), tree, merge.repo, &id);
}

// The text of the merge commit, in a block of the pool.
char* merge_commit_text(const Merge& merge, const Head& head) {
  constexpr std::size_t fixed = sizeof message::kMergeCommitText - sizeof "%s%s";
  static_assert(fixed == 21);
  const std::size_t length = fixed + wzstlen(merge.their_name) + wzstlen(head.branch);
  auto* text = static_cast<char*>(merge.pool->allocate(merge.pool, length + 1, 0));
  xpsstr(text, static_cast<std::int64_t>(length), message::kMergeCommitText, merge.their_name,
         head.branch);
  text[length] = '\0';
  return text;
}

int create_commit(const Merge& merge, const Head& head, const git_signature* signature,
                  const git_tree* tree, const Parents& parents) {
  const char* reference = if_found(GIT(merge.git, git_reference_name), head.reference.it);
  if (!reference) return kFailed;
  char* text = merge_commit_text(merge, head);
  const git_commit* both[] = {parents.ours.it, parents.theirs.it};
  git_oid id{};
  const int code = required(GIT(merge.git, git_commit_create), &id, merge.repo, reference,
                            signature, signature, kEncoding, text, tree, 2, both);
  merge.pool->free_block(merge.pool, text);
  return code;
}

// Commits the index as the merge of their commit into HEAD's branch: 0, or -1 after libgit2's error
// in the log.
int create_merge_commit(const Merge& merge, const Head& head, git_index* index) {
  GitModule* git = merge.git;
  const PoolText committer(merge.pool, merge.committer);
  const PoolText email(merge.pool, merge.email);
  Parents parents(git);
  Held<git_signature> signature(git);
  Held<git_reference> their_reference(git);
  Held<git_tree> tree(git);
  if (required(GIT(git, git_reference_dwim), &their_reference.it, merge.repo, merge.their_name) <
          0 ||
      required(GIT(git, git_signature_now), &signature.it, committer.text, email.text) < 0 ||
      find_parents(merge, head, their_reference.it, &parents) < 0 ||
      write_tree(merge, index, &tree.it) < 0 ||
      create_commit(merge, head, signature.it, tree.it, parents) < 0) {
    return fail(git);
  }
  xpslog(message::kMerged, merge.their_name, head.branch);
  return kDone;
}

// Writes one note per conflict in the index.
void output_conflicts(GitModule* git, git_index* index) {
  Held<git_index_conflict_iterator> iterator(git);
  if (required(GIT(git, git_index_conflict_iterator_new), &iterator.it, index) < 0) {
    log_git_error(git);
    return;
  }
  const git_index_entry* ancestor = nullptr;
  const git_index_entry* ours = nullptr;
  const git_index_entry* theirs = nullptr;
  while (required(GIT(git, git_index_conflict_next), &ancestor, &ours, &theirs, iterator.it) == 0) {
    const git_index_entry* named = ancestor ? ancestor : ours ? ours : theirs;
    xpslog(message::kConflict, named->path);
  }
}

// The files are written by the checkout, which goes by the configured merge.conflictStyle instead
// of the merge's own: only where that is diff3 do the markers show the ancestor.
int merge_trees(const Merge& merge) {
  git_merge_options options = GIT_MERGE_OPTIONS_INIT;
  options.flags = GIT_MERGE_FIND_RENAMES;
  options.file_flags = GIT_MERGE_FILE_STYLE_DIFF3;
  git_checkout_options checkout = GIT_CHECKOUT_OPTIONS_INIT;
  checkout.checkout_strategy = kCheckoutSafe | kCheckoutAllowConflicts;
  checkout.ancestor_label = "Ancestor";
  checkout.our_label = merge.our_label;
  checkout.their_label = merge.their_label;
  const git_annotated_commit* heads[] = {merge.theirs};
  return required(GIT(merge.git, git_merge), merge.repo, heads, 1, &options, &checkout);
}

MergeEnd fastforward(const Merge& merge) {
  return fastforward_head(merge.git, merge.repo, merge.their_id) >= 0 ? MergeEnd::kFastForwarded
                                                                      : MergeEnd::kNotFastForwarded;
}

MergeEnd fail(const Merge& merge, MergeEnd end) {
  log_git_error(merge.git);
  return end;
}

MergeEnd commit_merge(const Merge& merge, git_index* index) {
  Head head(merge.git);
  if (find_head(merge.git, merge.repo, &head) < 0) return fail(merge, MergeEnd::kStepFailed);
  return create_merge_commit(merge, head, index) >= 0 ? MergeEnd::kCommitted
                                                      : MergeEnd::kNotCommitted;
}

// A branch that could be fast-forwarded is merged first all the same: it is the merge that brings
// the working tree up to date, which the fast-forward alone would not. The index is taken before as
// well: where there is none, nothing has been touched yet.
MergeEnd merge_for_real(const Merge& merge, bool is_fastforward) {
  Held<git_index> index_before(merge.git);
  Held<git_index> index(merge.git);
  auto* get_index = GIT(merge.git, git_repository_index);
  if (required(get_index, &index_before.it, merge.repo) < 0) {
    return fail(merge, MergeEnd::kStepFailed);
  }
  if (merge_trees(merge) != 0) return fail(merge, MergeEnd::kNotMerged);
  auto* has_conflicts = GIT(merge.git, git_index_has_conflicts);
  if (required(get_index, &index.it, merge.repo) < 0 || !has_conflicts) {
    return fail(merge, MergeEnd::kStepFailed);
  }
  if (has_conflicts(index.it) != 0) {
    output_conflicts(merge.git, index.it);
    return MergeEnd::kConflicts;
  }
  return is_fastforward ? fastforward(merge) : commit_merge(merge, index.it);
}

// libgit2's analysis is a set of flags, but only these values as a whole mean something here.
MergeEnd merge_by_analysis(const Merge& merge, unsigned analysis) {
  constexpr unsigned kNormalOrFastforward =
      GIT_MERGE_ANALYSIS_NORMAL | GIT_MERGE_ANALYSIS_FASTFORWARD;
  switch (analysis) {
    case GIT_MERGE_ANALYSIS_UP_TO_DATE:
      xpslog(message::kUpToDate);
      return MergeEnd::kUpToDate;
    case GIT_MERGE_ANALYSIS_UNBORN:
      xpslog(message::kUnbornHead);
      return MergeEnd::kUnborn;
    case GIT_MERGE_ANALYSIS_NORMAL:
    case kNormalOrFastforward:
      return merge_for_real(merge, analysis == kNormalOrFastforward);
    case GIT_MERGE_ANALYSIS_FASTFORWARD:
      return fastforward(merge);
    default:
      return MergeEnd::kNothingToDo;
  }
}

}  // namespace

int find_head(GitModule* git, git_repository* repo, Head* head) {
  const int code = required(GIT(git, git_repository_head), &head->reference.it, repo);
  return code < 0 ? code : required(GIT(git, git_branch_name), &head->branch, head->reference.it);
}

MergeEnd merge_into_head(const Merge& merge) {
  git_merge_analysis_t analysis{};
  git_merge_preference_t preference{};  // not used
  const git_annotated_commit* heads[] = {merge.theirs};
  if (required(GIT(merge.git, git_merge_analysis), &analysis, &preference, merge.repo, heads, 1) <
      0) {
    return fail(merge, MergeEnd::kStepFailed);
  }
  const MergeEnd end = merge_by_analysis(merge, analysis);
  if (end != MergeEnd::kNotMerged && end != MergeEnd::kStepFailed) {
    if_found(GIT(merge.git, git_repository_state_cleanup), merge.repo);
  }
  return end;
}

}  // namespace uwugit
