#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr Parameter kCreateParameters[] = {
    kRepository,
    {"start", kText,
     "where the branch starts: a commit's whole id, \"HEAD\", or a full reference name such as "
     "\"refs/heads/main\""},
    {"branch", kText, "name of the new branch"},
    {"force", kNumber, "0: an existing branch of that name is refused; otherwise it is moved"},
};
constexpr ResultRow kCreateResults[] = {
    {kExactly, 0, true, "the branch was created or moved"},
    {kExactly, -1, false,
     "the repository could not be opened, or the branch was refused: it exists, HEAD is on it, or "
     "its name is not valid"},
    {kUnchanged, 0, false,
     "the start point is no commit's id and no reference, or libgit2 could not be loaded"},
};

constexpr Parameter kDeleteParameters[] = {
    kRepository,
    {"branch", kText, "name of the branch: \"topic\", or \"origin/topic\" with kind 1"},
    {"kind", kNumber, "1: a remote-tracking branch; otherwise a local one", true},
};
constexpr ResultRow kDeleteResults[] = {
    {kExactly, 0, true, "the branch was deleted"},
    {kExactly, -1, false,
     "the repository could not be opened, or the deletion was refused: HEAD is on the branch, or "
     "its reference is locked"},
    {kUnchanged, 0, false, "there is no such branch, or libgit2 could not be loaded"},
};

constexpr Parameter kCheckoutParameters[] = {
    kRepository,
    {"branch", kText, "name of the local branch"},
};
constexpr ResultRow kCheckoutResults[] = {
    {kExactly, 0, true, "the branch was checked out"},
    {kExactly, -1, false,
     "the repository could not be opened, there is no such branch, local changes are in the way "
     "(nothing was touched), or HEAD could not be set"},
    {kUnchanged, 0, false, "libgit2 could not be loaded"},
};

constexpr Function kFunctions[] = {
    {
        .name = "create_branch",
        .registered_name = "",
        .summary = "Creates a branch without checking it out.",
        .details = "A branch is named by its full reference name when it is the start point: "
                   "\"main\" alone is not found. Neither is an abbreviated id.",
        .parameters = kCreateParameters,
        .results = kCreateResults,
        .example = "git.create_branch(\"/home/me/project\", \"HEAD\", \"topic\", 0)",
    },
    {
        .name = "delete_branch",
        .registered_name = "",
        .summary = "Deletes a branch, whether or not it has been merged.",
        .details = "Deleting a remote-tracking branch changes nothing on the remote, and the next "
                   "fetch brings it back.",
        .parameters = kDeleteParameters,
        .results = kDeleteResults,
        .example = "git.delete_branch(\"/home/me/project\", \"topic\")",
    },
    {
        .name = "checkout_branch",
        .registered_name = "",
        .summary = "Checks a local branch out and points HEAD at it.",
        .details =
            "Local changes that the branch does not touch are kept; where they would be "
            "overwritten, the checkout is refused. The name is resolved as any revision, but HEAD "
            "is always pointed at the local branch of that name: checking out a tag \"v1\" or a "
            "commit's id checks that tree out and leaves HEAD on a branch of that name that has no "
            "commit yet. The safe way to a tag is create_branch with \"refs/tags/v1\" (for an "
            "annotated tag, the commit's id) and then checkout_branch of the new branch. A tag "
            "that has the name of a branch hides the branch: keep their names apart.",
        .parameters = kCheckoutParameters,
        .results = kCheckoutResults,
        .example = "git.checkout_branch(\"/home/me/project\", \"topic\")",
    },
};

}  // namespace

std::span<const Function> branch_functions() { return kFunctions; }

}  // namespace uwugit::host
