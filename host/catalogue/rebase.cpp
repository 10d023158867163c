#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kCommitterName = {"name", kText, "who rebases, as committer"};
constexpr Parameter kCommitterEmail = kEmail;

constexpr Parameter kRebaseParameters[] = {
    kRepository,
    id_parameter("commit", "whole id of the commit to rebase: the tip of the branch"),
    id_parameter("onto", "whole id of the commit to rebase onto"),
    kCommitterName,
    kCommitterEmail,
};
constexpr ResultRow kRebaseResults[] = {
    success(0, "the branch that HEAD is on was rebased"),
    failure(-1,
            "failed; when the log names a commit and says to check for conflicts, the rebase is in "
            "progress and waits for rebase_operation. With the branch locked HEAD is on no branch, "
            "at the rebased commits"),
    kNotLoaded,
};

constexpr std::string_view kOperations[] = {"SKIP", "CONTINUE", "FINISH", "ABORT"};
constexpr Parameter kOperationParameters[] = {
    kRepository,
    word_parameter("operation", kOperations),
    {"branch", kText, "name of the local branch that is being rebased"},
    kCommitterName,
    kCommitterEmail,
};
constexpr ResultRow kOperationResults[] = {
    success(0, "the rebase has ended and HEAD is on the branch"),
    failure(-1,
            "failed: no rebase is in progress, a commit conflicts or cannot be applied (the rebase "
            "stays in progress), what is staged was not committed, or there is no "
            "such branch (the rebase itself has then ended, and HEAD is on no branch)"),
    failure_unchanged("there is no such operation, or libgit2 could not be loaded or initialised"),
};

constexpr Function kFunctions[] = {
    {
        .name = "rebase",
        .summary = "Applies the commits of a branch on top of another commit.",
        .details = "The commits that lead to the named one, and that the other commit does not "
                   "have, are applied in their order. Check the branch out first: the branch that "
                   "HEAD is on is the one that is moved, whatever commit is named; with nothing "
                   "to apply it moves to the other commit, unless commits of its own would be left "
                   "behind. Ignored files in the way are overwritten. The working tree must be "
                   "without changes to tracked files. Authors and messages are kept, "
                   "and the committer is the one named; merges are left out and their commits made "
                   "linear. When a commit conflicts, or when its change is there already, the call "
                   "ends with -1 and the rebase stays in progress for rebase_operation. An attempt "
                   "that could not apply all commits for another reason is undone and made again. "
                   "Where undoing it would overwrite untracked files, the rebase stays in progress "
                   "instead, and the log says so. When a hundred attempts in a row end as the one "
                   "before them, the call gives up with -1, and HEAD is back where it was.",
        .parameters = kRebaseParameters,
        .results = kRebaseResults,
        .example = R"(git.rebase("/home/me/project", topic_id, main_id, "Me", "me@example.org"))",
    },
    {
        .name = "rebase_operation",
        .summary = "Goes on with a rebase that stopped, or ends it.",
        .details = "SKIP throws away the changes of the commit that stopped and applies the "
                   "commits that are left. CONTINUE applies the commits that are left: before it, "
                   "edit the files, stage them with add_files_to_index and commit them on \"HEAD\" "
                   "with do_commit. A resolution that is only staged is not enough, nor are files "
                   "left as they are: CONTINUE then fails and drops nothing. (**Without the "
                   "companion it drops the commits that are left, and answers 0.**) FINISH ends "
                   "the rebase without applying what is left. ABORT goes back to the commit where "
                   "the rebase started. SKIP and ABORT discard what was changed in tracked files "
                   "since the stop, ABORT also untracked files in the way. All of them move the "
                   "branch named, and "
                   "point HEAD at it, so take care to name the branch that is being rebased.",
        .parameters = kOperationParameters,
        .results = kOperationResults,
        .example =
            R"(git.rebase_operation("/home/me/project", "CONTINUE", "topic", "Me", "me@example.org"))",
    },
};

}  // namespace

std::span<const Function> rebase_functions() { return kFunctions; }

}  // namespace uwugit::host
