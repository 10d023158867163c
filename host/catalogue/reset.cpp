#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr std::string_view kModes[] = {"SOFT", "MIXED", "HARD"};
constexpr Parameter kResetParameters[] = {
    kRepository,
    id_parameter("commit", "id of the commit, all 40 digits"),
    word_parameter("mode", kModes),
};
constexpr ResultRow kResetResults[] = {
    success(0, "the branch is at the commit"),
    failure(
        -1,
        "the repository could not be opened, there is no such commit or mode, or libgit2 failed"),
    kNotLoaded,
};

constexpr Parameter kResetFileParameters[] = {
    kRepository,
    {"file", kText, "a file, relative to the working tree, or a pattern; not empty"},
};
constexpr ResultRow kResetFileResults[] = {
    success(0, "what matches the file is as HEAD has it"),
    failure(-1,
            "the repository could not be opened or has no commit, the file path is empty, or "
            "libgit2 failed"),
    kNotLoaded,
};

constexpr Function kFunctions[] = {
    {
        .name = "reset_to_commit",
        .summary = "Moves the current branch to a commit.",
        .details = "SOFT leaves index and working tree as they are, MIXED unstages everything, "
                   "HARD also overwrites local changes of tracked files, which are lost, and "
                   "untracked files where the commit has a file; others stay. Stash or commit what "
                   "is to be kept. A prefix of an id finds no "
                   "commit. When another process has locked the index or the branch, -1 can leave "
                   "a MIXED or HARD reset half way: call again once the lock is gone.",
        .parameters = kResetParameters,
        .results = kResetResults,
        .example =
            R"(git.reset_to_commit("/home/me/project", "9fceb02d0ae598e95dc970b74767f19372d61af8", "SOFT"))",
    },
    {
        .name = "reset_file_in_index",
        .summary = "Makes a file in index and working tree what HEAD has.",
        .details =
            "Local changes of the file are lost, and a file that HEAD does not have is deleted, "
            "also when it was never staged. The file is one of libgit2's patterns: \"*\", \"?\" "
            "and \"[...]\" stand for other characters unless a backslash is before them, and a "
            "folder stands for all files in it. A path that matches nothing is a success. With an "
            "index that is locked or a disk that is full the file is reset although the answer is "
            "-1. To "
            "unstage a file and keep its content, use remove_files_from_index.",
        .parameters = kResetFileParameters,
        .results = kResetFileResults,
        .example = R"(git.reset_file_in_index("/home/me/project", "report.txt"))",
    },
};

}  // namespace

std::span<const Function> reset_functions() { return kFunctions; }

}  // namespace uwugit::host
