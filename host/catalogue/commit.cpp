#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr Parameter kCommitParameters[] = {
    kRepository,
    {"reference", kText,
     "what moves to the new commit, and gives its first parent: \"HEAD\", or a full name such as "
     "\"refs/heads/topic\""},
    {"name", kText, "who commits, as author and committer"},
    {"email", kText, "their e-mail address"},
    {"message", kText, "the commit's message"},
    {"parent", kText, "id of a second parent, all 40 digits: makes a merge commit", true},
};
constexpr ResultRow kCommitResults[] = {
    {kExactly, 0, true, "libgit2 was asked for the commit; compare the reference to be sure"},
    {kExactly, -1, false,
     "the repository could not be opened, or the signature, the index or the tree could not be "
     "made"},
    {kUnchanged, 0, false,
     "no commit was made: libgit2 could not be loaded, the index has conflicts or cannot be "
     "written as a tree, or a parent was not found"},
};

constexpr Function kFunctions[] = {
    {
        .name = "do_commit",
        .registered_name = "",
        .summary = "Records what is staged as a commit and moves a reference to it.",
        .details =
            "The return code is 0 even when the creation itself failed, without a message: the "
            "reference was locked or its name is not a full one, or a second parent was given "
            "where "
            "the reference has no target (the commit is then made without any parent). Compare the "
            "id of the reference before and after. A second parent must be given by its whole id: "
            "a prefix is read, but finds no commit. A reference that does not exist makes a "
            "commit without parents. An index without changes makes a commit without changes, and "
            "an empty one an empty tree. After a merge the state that git keeps of it stays.",
        .parameters = kCommitParameters,
        .results = kCommitResults,
        .example = "git.do_commit(\"/home/me/project\", \"HEAD\", \"Me\", \"me@example.org\", "
                   "\"Add the report\")",
    },
};

}  // namespace

std::span<const Function> commit_functions() { return kFunctions; }

}  // namespace uwugit::host
