#include "ops/merge.h"

#include "gitbind/compatibility.h"
#include "gitbind/release.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "support/strings.h"

namespace uwugit {
namespace {

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

}  // namespace uwugit
