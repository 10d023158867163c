#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kCommitParameters[] = {
    kRepository,
    {"reference", kText,
     "what moves to the new commit, and gives its first parent: \"HEAD\", or a full name such as "
     "\"refs/heads/topic\""},
    {"name", kText, "who commits, as author and committer"},
    kEmail,
    {"message", kText, "the commit's message"},
    {.name = "parent",
     .kind = kText,
     .meaning = "id of a second parent, all 40 digits: makes a merge commit",
     .is_optional = true,
     .is_id = true},
};
constexpr ResultRow kCommitResults[] = {
    success(0, "libgit2 was asked for the commit; compare the reference to be sure"),
    failure(-1,
            "the repository could not be opened, or the signature, the index or the tree could not "
            "be made"),
    failure_unchanged("no commit was made: libgit2 could not be loaded or initialised, the index "
                      "has conflicts or cannot be written as a tree, or a parent was not found"),
};

constexpr Function kFunctions[] = {
    {
        .name = "do_commit",
        .summary = "Records what is staged as a commit and moves a reference to it.",
        .details =
            "The return code is 0 even when libgit2 then failed to make the commit, as it does for "
            "a locked reference or a name that is not a full one, and the function does not tell: "
            "compare the id of the reference before and after. A reference that does not exist "
            "makes a commit without parents, also when a second parent was given. A second parent "
            "must be given by its whole id: a prefix is read, but finds no commit. An index "
            "without changes makes a commit without changes, and an empty one an empty tree. The "
            "state that git keeps of a merge in progress stays.",
        .parameters = kCommitParameters,
        .results = kCommitResults,
        .example =
            R"(git.do_commit("/home/me/project", "HEAD", "Me", "me@example.org", "Add the report"))",
    },
};

}  // namespace

std::span<const Function> commit_functions() { return kFunctions; }

}  // namespace uwugit::host
