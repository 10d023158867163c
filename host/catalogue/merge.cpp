#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kMergeParameters[] = {
    kRepository,
    {"branch", kText, "name of the branch to merge: \"topic\", or \"origin/topic\" with kind 1"},
    {"name", kText, "who merges, as author and committer of the merge commit"},
    kEmail,
    kBranchKind,
};
constexpr ResultRow kMergeResults[] = {
    success(0, "the branches were merged in a merge commit"),
    success(1, "HEAD already has all of the branch"),
    failure(-1,
            "the repository could not be opened, there is no such branch, HEAD has no commit, or "
            "the merge could not be committed: what it changed is then staged"),
    failure(-2, "the merge left conflicts, each noted in the log"),
    failure(-3,
            "libgit2 could not merge, for example because local changes would be overwritten: "
            "nothing was touched, unless the disk is full"),
    unless_logged(
        success_unchanged("HEAD's branch was fast-forwarded, as a note says; or, with an error in "
                          "the log, HEAD is not on a branch with a commit, a step failed, or "
                          "libgit2 could not be loaded or initialised")),
};

constexpr Function kFunctions[] = {
    {
        .name = "merge_branch",
        .summary = "Merges a branch into the one that HEAD is on.",
        .details =
            "A branch that is only ahead of HEAD is fast-forwarded, and this leaves the return "
            "code as it was: compare HEAD before and after to be sure. With conflicts, the files "
            "get markers that name both branches (and show the ancestor where the configuration's "
            "merge.conflictStyle is diff3), the index holds the three stages, and no merge stays "
            "in progress. To conclude such a merge, edit the files, stage them with "
            "add_files_to_index and give do_commit the branch's id as second parent. Any merge "
            "that git had in progress is ended as well, even when there is nothing to merge: "
            "conclude it first. Ignored files in the way are overwritten. A tag that has the name "
            "of the branch would become the merge's "
            "second parent: keep their names apart.",
        .parameters = kMergeParameters,
        .results = kMergeResults,
        .example =
            R"(local code = git.merge_branch("/home/me/project", "topic", "Me", "me@example.org"))",
    },
};

}  // namespace

std::span<const Function> merge_functions() { return kFunctions; }

}  // namespace uwugit::host
