#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr Parameter kAddParameters[] = {
    kRepository,
    {"file", kText, "a file, relative to the working tree; not a folder or a pattern", true, true},
    {"status", kText,
     "DELETED, in any case, stages the removal of the file before it; any other word, or none "
     "after "
     "the last file, stages its content",
     true, true},
};
constexpr ResultRow kAddResults[] = {
    {kExactly, 0, true, "the index was written; the last file is staged"},
    {kExactly, -1, false,
     "libgit2 could not be loaded or the repository opened, no file was given, the last file could "
     "not be staged, or the index is locked; the index is as it was"},
};

constexpr Parameter kRemoveParameters[] = {
    kRepository,
    {"file", kText, "a file, relative to the working tree, or a pattern", true, true},
};
constexpr ResultRow kRemoveResults[] = {
    {kExactly, 0, true, "the files are unstaged"},
    {kExactly, -1, false,
     "libgit2 could not be loaded or the repository opened, a file could not be unstaged, or the "
     "index is locked; files before one that failed may be unstaged"},
};

constexpr Function kFunctions[] = {
    {
        .name = "add_files_to_index",
        .registered_name = "",
        .summary = "Stages files, or their removal, for the next commit.",
        .details =
            "The paths and words that get_status_attribute gives as PATH and STATUS can be handed "
            "on as they are. Only the last file decides the return code: one before it that fails "
            "is passed over without a message, and the others are staged. To know of each file, "
            "stage it by a call of its own, or look at get_status afterwards. When the last file "
            "fails, none is staged. Staging a removal leaves the working tree as it is.",
        .parameters = kAddParameters,
        .results = kAddResults,
        .example = "git.add_files_to_index(\"/home/me/project\", \"new.txt\", \"NEW\", "
                   "\"old.txt\", \"DELETED\")",
    },
    {
        .name = "remove_files_from_index",
        .registered_name = "",
        .summary = "Unstages files; the working tree stays as it is.",
        .details =
            "What is staged of each file becomes what HEAD has. In a repository without commits "
            "the file leaves the index. Once there is a commit, a file is one of libgit2's "
            "patterns: \"*\", \"?\" and \"[...]\" stand for other characters (\"\\\\[\" is the "
            "character itself), a folder stands for all files in it and an empty text for every "
            "file. A file that is not staged is passed over.",
        .parameters = kRemoveParameters,
        .results = kRemoveResults,
        .example = "git.remove_files_from_index(\"/home/me/project\", \"new.txt\", \"old.txt\")",
    },
};

}  // namespace

std::span<const Function> staging_functions() { return kFunctions; }

}  // namespace uwugit::host
