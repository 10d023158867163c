#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr ResultRow kNotLoaded = {kUnchanged, 0, false,
                                  "libgit2 could not be loaded or initialised"};

constexpr Parameter kResetParameters[] = {
    kRepository,
    {"commit", kText, "id of the commit, all 40 digits"},
    {"mode", kText, "SOFT, MIXED or HARD, in any case"},
};
constexpr ResultRow kResetResults[] = {
    {kExactly, 0, true, "the branch is at the commit"},
    {kExactly, -1, false,
     "the repository could not be opened, there is no such commit or mode, or libgit2 failed"},
    kNotLoaded,
};

constexpr Parameter kResetFileParameters[] = {
    kRepository,
    {"file", kText, "a file, relative to the working tree, or a pattern; not empty"},
};
constexpr ResultRow kResetFileResults[] = {
    {kExactly, 0, true, "what matches the file is as HEAD has it"},
    {kExactly, -1, false,
     "the repository could not be opened or has no commit, the file path is empty, or libgit2 "
     "failed"},
    kNotLoaded,
};

constexpr Function kFunctions[] = {
    {
        .name = "reset_to_commit",
        .registered_name = "",
        .summary = "Moves the current branch to a commit.",
        .details =
            "SOFT leaves index and working tree as they are, MIXED unstages everything, HARD also "
            "overwrites local changes of tracked files, which are lost; untracked files stay. "
            "Stash or commit what is to be kept. A prefix of an id finds no commit. When another "
            "process has locked the index or the branch, -1 can leave a MIXED or HARD reset "
            "half way: call again once the lock is gone.",
        .parameters = kResetParameters,
        .results = kResetResults,
        .example = "git.reset_to_commit(\"/home/me/project\", "
                   "\"9fceb02d0ae598e95dc970b74767f19372d61af8\", \"SOFT\")",
    },
    {
        .name = "reset_file_in_index",
        .registered_name = "",
        .summary = "Makes a file in index and working tree what HEAD has.",
        .details =
            "Local changes of the file are lost, and a file that HEAD does not have is deleted, "
            "also when it was never staged. The file is one of libgit2's patterns: \"*\", \"?\" "
            "and \"[...]\" stand for other characters (\"\\\\[\" is the character itself) and a "
            "folder stands for all files in it. A path that matches nothing is a success. With an "
            "index locked by another process the file is reset although the answer is -1. To "
            "unstage a file and keep its content, use remove_files_from_index.",
        .parameters = kResetFileParameters,
        .results = kResetFileResults,
        .example = "git.reset_file_in_index(\"/home/me/project\", \"report.txt\")",
    },
};

}  // namespace

std::span<const Function> reset_functions() { return kFunctions; }

}  // namespace uwugit::host
