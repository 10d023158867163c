#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kCreateParameters[] = {
    kRepository,
    {"start", kText,
     "where the branch starts: a commit's whole id, \"HEAD\", or a full reference name such as "
     "\"refs/heads/main\""},
    {"branch", kText, "name of the new branch"},
    {"force", kNumber, "0: an existing branch of that name is refused; otherwise it is moved"},
};
constexpr ResultRow kCreateResults[] = {
    success(0, "the branch was created or moved"),
    failure(-1,
            "the repository could not be opened, or the branch was refused: it exists, HEAD is on "
            "it, or its name is not valid"),
    failure_unchanged("the start point is no commit's id and no reference, no commit is behind it, "
                      "or libgit2 could not be loaded or initialised"),
};

constexpr Parameter kDeleteParameters[] = {
    kRepository,
    {"branch", kText, "name of the branch: \"topic\", or \"origin/topic\" with kind 1"},
    kBranchKind,
};
constexpr ResultRow kDeleteResults[] = {
    success(0, "the branch was deleted"),
    failure(-1,
            "the repository could not be opened, or the deletion was refused: HEAD is on the "
            "branch, or its reference is locked"),
    failure_unchanged("there is no such branch, or libgit2 could not be loaded or initialised"),
};

constexpr Parameter kCheckoutParameters[] = {
    kRepository,
    {"branch", kText, "name of the local branch"},
};
constexpr ResultRow kCheckoutResults[] = {
    success(0, "the branch was checked out"),
    failure(
        -1,
        "the repository could not be opened, there is no such branch, local changes are in the "
        "way (nothing was touched), or index, disk or HEAD could not be written (files may have "
        "changed)"),
    kNotLoaded,
};

constexpr Function kFunctions[] = {
    {
        .name = "create_branch",
        .summary = "Creates a branch without checking it out.",
        .details = "A branch that is the start point is named by its full reference name: \"main\" "
                   "alone is not found. Neither is an abbreviated id.",
        .parameters = kCreateParameters,
        .results = kCreateResults,
        .example = R"(git.create_branch("/home/me/project", "HEAD", "topic", 0))",
    },
    {
        .name = "delete_branch",
        .summary = "Deletes a branch, whether or not it has been merged.",
        .details = "Deleting a remote-tracking branch changes nothing on the remote, and the next "
                   "fetch brings it back.",
        .parameters = kDeleteParameters,
        .results = kDeleteResults,
        .example = R"(git.delete_branch("/home/me/project", "topic"))",
    },
    {
        .name = "checkout_branch",
        .summary = "Checks a local branch out and points HEAD at it.",
        .details =
            "Local changes that the branch does not touch are kept; where they would be "
            "overwritten, the checkout is refused. What is only staged is overwritten, and so are "
            "ignored files in the way. The name is resolved as any revision, but HEAD "
            "is always pointed at the local branch of that name: checking out a tag \"v1\" or a "
            "commit's id checks that tree out and leaves HEAD on a branch of that name that has no "
            "commit yet. The safe way to a tag is create_branch with \"refs/tags/v1\" (for an "
            "annotated tag, the commit's id) and then checkout_branch of the new branch. A tag "
            "that has the name of a branch hides the branch: keep their names apart.",
        .parameters = kCheckoutParameters,
        .results = kCheckoutResults,
        .example = R"(git.checkout_branch("/home/me/project", "topic"))",
    },
};

}  // namespace

std::span<const Function> branch_functions() { return kFunctions; }

}  // namespace uwugit::host
