// merge_branch(repository, branch, name, email [, kind]) -> 0, 1, -1, -2, -3
//
// The return code stays as it was after a fast-forward, and where an early step failed with an
// error in the log.

#include "ops/branches.h"
#include "ops/merge_into_head.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kMergeBranch = {.pool_name = "merge_branch_pool"};
constexpr int kBranch = 1;
constexpr int kKind = 4;

// What the ends of a merge answer; the others leave the return code as it was.
struct Answer {
  MergeEnd end;
  double code;
};
constexpr Answer kAnswers[] = {
    {MergeEnd::kUpToDate, 1},      {MergeEnd::kUnborn, -1},    {MergeEnd::kCommitted, 0},
    {MergeEnd::kNotCommitted, -1}, {MergeEnd::kConflicts, -2}, {MergeEnd::kNotMerged, -3},
};

int find_theirs(const RepoCall& call, Held<git_reference>& reference,
                Held<git_annotated_commit>& theirs) {
  const char* prefix = is_remote_kind(call, kKind) ? kRemoteBranchPrefix : kLocalBranchPrefix;
  const PoolText name = call.text(prefix, kBranch);
  const int code =
      required(GIT(call, git_reference_lookup), &reference.it, call.repo.it, name.text);
  if (code < 0) return code;
  return required(GIT(call, git_annotated_commit_from_ref), &theirs.it, call.repo.it, reference.it);
}

void merge(const RepoCall& call) {
  Head head(call);
  if (find_head(call, call.repo.it, &head) < 0) return call.give_up();
  Held<git_reference> reference(call);
  Held<git_annotated_commit> theirs(call);
  if (find_theirs(call, reference, theirs) < 0) return call.fail();
  const git_oid* their_id = if_found(GIT(call, git_annotated_commit_id), theirs.it);
  if (!their_id) return call.fail();
  const PoolText branch = call.text(kBranch);
  const MergeEnd end = merge_into_head({.git = call,
                                        .pool = call.pool,
                                        .repo = call.repo.it,
                                        .theirs = theirs.it,
                                        .their_id = their_id,
                                        .their_name = branch.text,
                                        .our_label = head.branch,
                                        .their_label = branch.text,
                                        .committer = text_argument(call.arguments, 2),
                                        .email = text_argument(call.arguments, 3)});
  for (const Answer& answer : kAnswers) {
    if (answer.end == end) *call.result = answer.code;
  }
}

}  // namespace

int merge_branch(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kMergeBranch, arguments, result);
  if (call.is_ready()) merge(call);
  return 0;
}

}  // namespace uwugit
