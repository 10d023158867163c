#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr Parameter kPosition = {"position", kNumber, "which entry; 0, the latest, when left out",
                                 true};
constexpr ResultRow kNotLoaded = {kUnchanged, 0, false, "libgit2 could not be loaded"};
constexpr ResultRow kLibgit2Code = {kOther, 0, false,
                                    "libgit2's own code, for example -22 when changes are staged"};
constexpr ResultRow kNoEntry = {kExactly, -3, false, "there is no such entry"};

constexpr Parameter kStashParameters[] = {
    kRepository,
    {"name", kText, "who stashes"},
    {"email", kText, "their e-mail address"},
};
constexpr ResultRow kStashResults[] = {
    {kExactly, 0, true, "the changes were put aside"},
    {kExactly, -1, false,
     "the repository could not be opened, there is nothing to stash, or libgit2 failed"},
    kNotLoaded,
};

constexpr Parameter kPopParameters[] = {kRepository};
constexpr ResultRow kPopResults[] = {
    {kExactly, 0, true, "the entry was applied, maybe with conflicts, and dropped"},
    kNoEntry,
    {kExactly, -1, false, "the repository could not be opened, or libgit2 failed"},
    kNotLoaded,
    kLibgit2Code,
};

constexpr Parameter kPositionParameters[] = {kRepository, kPosition};
constexpr ResultRow kApplyResults[] = {
    {kExactly, 0, true, "the entry was applied, maybe with conflicts"},
    kNoEntry,
    {kExactly, -1, false, "the repository could not be opened, or libgit2 failed"},
    kNotLoaded,
    kLibgit2Code,
};
constexpr ResultRow kDropResults[] = {
    {kExactly, 0, true, "the entry was discarded"},
    {kExactly, -1, false, "the repository could not be opened, or there is no such entry"},
    kNotLoaded,
};

constexpr Function kFunctions[] = {
    {
        .name = "stash",
        .registered_name = "",
        .summary = "Puts the changes of tracked files aside and restores the files to HEAD.",
        .details = "Staged changes are among them; untracked and ignored files stay as they are.",
        .parameters = kStashParameters,
        .results = kStashResults,
        .example = "git.stash(\"/home/me/project\", \"Me\", \"me@example.org\")",
    },
    {
        .name = "stash_pop",
        .registered_name = "",
        .summary = "Applies the latest stash entry to the working tree and drops it.",
        .details =
            "The entry is dropped even when files got conflict markers, or were passed over "
            "because they have changed locally. Where that can be, the safe way is stash_apply, "
            "then a look at get_status and the files, then stash_drop. What was staged comes "
            "back unstaged, except for new files.",
        .parameters = kPopParameters,
        .results = kPopResults,
        .example = "git.stash_pop(\"/home/me/project\")",
    },
    {
        .name = "stash_apply",
        .registered_name = "",
        .summary = "Applies a stash entry to the working tree and keeps it.",
        .details =
            "Files that have changed both ways get conflict markers; files that have changed "
            "locally and are not committed are passed over. Both count as success: look at "
            "get_status and the files before stash_drop.",
        .parameters = kPositionParameters,
        .results = kApplyResults,
        .example = "git.stash_apply(\"/home/me/project\", 1)",
    },
    {
        .name = "stash_drop",
        .registered_name = "",
        .summary = "Discards a stash entry.",
        .details = "The entries behind it move up by one position.",
        .parameters = kPositionParameters,
        .results = kDropResults,
        .example = "git.stash_drop(\"/home/me/project\")",
    },
};

}  // namespace

std::span<const Function> stash_functions() { return kFunctions; }

}  // namespace uwugit::host
