#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kPosition = {"position", kNumber, "which entry; 0, the latest, when left out",
                                 kOptional};
constexpr ResultRow kLibgit2Code =
    failure_with_other_code("libgit2's own code, for example -22 when changes are staged");
constexpr ResultRow kNoEntry = failure(-3, "there is no such entry");

constexpr Parameter kStashParameters[] = {
    kRepository,
    {"name", kText, "who stashes"},
    kEmail,
};
constexpr ResultRow kStashResults[] = {
    success(0, "the changes were put aside"),
    failure(-1, "the repository could not be opened, there is nothing to stash, or libgit2 failed"),
    kNotLoaded,
};

constexpr ResultRow kPopResults[] = {
    success(0, "the entry was applied, maybe with conflicts, and dropped"),
    kNoEntry,
    failure(-1,
            "the repository could not be opened, or libgit2 failed: the entry stays, and files may "
            "be restored in part"),
    kNotLoaded,
    kLibgit2Code,
};

constexpr Parameter kPositionParameters[] = {kRepository, kPosition};
constexpr ResultRow kApplyResults[] = {
    success(0, "the entry was applied, maybe with conflicts"),
    kNoEntry,
    failure(-1,
            "the repository could not be opened, or libgit2 failed: the entry stays, and files may "
            "be restored in part"),
    kNotLoaded,
    kLibgit2Code,
};
constexpr ResultRow kDropResults[] = {
    success(0, "the entry was discarded"),
    failure(-1, "the repository could not be opened, or there is no such entry"),
    kNotLoaded,
};

constexpr Function kFunctions[] = {
    {
        .name = "stash",
        .summary = "Puts the changes of tracked files aside and restores the files to HEAD.",
        .details = "Staged changes are among them; untracked and ignored files stay as they are. "
                   "With the companion the call is refused, with the path, when such a file or "
                   "folder stands where HEAD has one and would be lost. What is only in the index "
                   "is not restored by stash_pop: docs/safety.md tells the way.",
        .parameters = kStashParameters,
        .results = kStashResults,
        .example = R"(git.stash("/home/me/project", "Me", "me@example.org"))",
    },
    {
        .name = "stash_pop",
        .summary = "Applies the latest stash entry to the working tree and drops it.",
        .details = "The entry is dropped even when files got conflict markers, or were passed over "
                   "because they have changed locally. Where that can be, the safe way is "
                   "stash_apply, then a look at get_status and the files, then stash_drop. What "
                   "was staged comes back unstaged, except for new files.",
        .parameters = kOnlyRepository,
        .results = kPopResults,
        .example = R"(git.stash_pop("/home/me/project"))",
    },
    {
        .name = "stash_apply",
        .summary = "Applies a stash entry to the working tree and keeps it.",
        .details = "Files that have changed both ways get conflict markers; files that have "
                   "changed locally and are not committed are passed over. Both count as success: "
                   "look at get_status and the files before stash_drop.",
        .parameters = kPositionParameters,
        .results = kApplyResults,
        .example = R"(git.stash_apply("/home/me/project", 1))",
    },
    {
        .name = "stash_drop",
        .summary = "Discards a stash entry.",
        .details = "The entries behind it move up by one position.",
        .parameters = kPositionParameters,
        .results = kDropResults,
        .example = R"(git.stash_drop("/home/me/project"))",
    },
};

}  // namespace

std::span<const Function> stash_functions() { return kFunctions; }

}  // namespace uwugit::host
