#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr std::string_view kRemoval[] = {"DELETED"};
constexpr Parameter kAddParameters[] = {
    kRepository,
    {"file", kText, "a file, relative to the working tree; not a folder or a pattern", kOptional,
     kRepeated},
    {.name = "status",
     .kind = kText,
     .meaning = "stages the removal of the file before it; any other word, or none after the last "
                "file, stages its content",
     .is_optional = true,
     .is_repeated = true,
     .words = kRemoval},
};
constexpr ResultRow kAddResults[] = {
    success(0, "the index was written; the last file is staged"),
    failure(-1,
            "libgit2 could not be loaded or the repository opened, no file was given, the last "
            "file could not be staged, or the index is locked; the index is as it was"),
};

constexpr Parameter kRemoveParameters[] = {
    kRepository,
    {"file", kText, "a file, relative to the working tree, or a pattern", kOptional, kRepeated},
};
constexpr ResultRow kRemoveResults[] = {
    success(0, "the files are unstaged"),
    failure(-1,
            "libgit2 could not be loaded or the repository opened, a file could not be unstaged, "
            "or the index is locked; files before one that failed may be unstaged"),
};

constexpr Function kFunctions[] = {
    {
        .name = "add_files_to_index",
        .summary = "Stages files, or their removal, for the next commit.",
        .details =
            "The paths and words that get_status_attribute gives as PATH and STATUS can be handed "
            "on as they are. Only the last file decides the return code: one before it that fails "
            "is passed over without a message, and the others are staged. To know of each file, "
            "stage it by a call of its own, or look at get_status afterwards. When the last file "
            "fails, none is staged. Staging a removal leaves the working tree as it is.",
        .parameters = kAddParameters,
        .results = kAddResults,
        .example =
            R"(git.add_files_to_index("/home/me/project", "new.txt", "NEW", "old.txt", "DELETED"))",
    },
    {
        .name = "remove_files_from_index",
        .summary = "Unstages files; the working tree stays as it is.",
        .details = "What is staged of each file becomes what HEAD has. In a repository without "
                   "commits the file leaves the index. Once there is a commit, a file is one of "
                   "libgit2's patterns: \"*\", \"?\" and \"[...]\" stand for other characters "
                   "unless a backslash is before them, a folder stands for all files in it and an "
                   "empty text for every file. A file that is not staged is passed over.",
        .parameters = kRemoveParameters,
        .results = kRemoveResults,
        .example = R"(git.remove_files_from_index("/home/me/project", "new.txt", "old.txt"))",
    },
};

}  // namespace

std::span<const Function> staging_functions() { return kFunctions; }

}  // namespace uwugit::host
