// Every line that the module writes to the host's log, by operation. "%1z" marks an error, "%3z" a
// note; the rest is a printf-style format.
#pragma once

namespace uwugit::message {

// Loading libgit2
inline constexpr char kTryingExtensionPath[] =
    "%3zlibgit2.so not found in the system location, trying the extension path.";
// It was the extension path that failed here. The wording is one that users search for: it stays.
inline constexpr char kTryingInstallPath[] =
    "%3zlibgit2.so not found in the system location, trying the install path.";
inline constexpr char kLibgit2NotFound[] = "%1zlibgit2.so not found.";
inline constexpr char kUnableToLoad[] = "%1zUnable to load libgit2 module.";
inline constexpr char kUnsupportedVersion[] =
    "%1zlibgit2 %d.%d.%d cannot be used. Versions 1.1 to 1.9 are supported.";
inline constexpr char kUnsupportedSha256[] =
    "%1zlibgit2 %d.%d.%d cannot be used. Its commit ids have room for SHA-256, as in experimental "
    "builds and in versions after 1.9.";

// libgit2's own errors
inline constexpr char kGitError[] = "%1zReturn code from GIT is (%d). %s\n";
inline constexpr char kNoErrorInfo[] = "%1zNo detailed error info available.";

// git_version
inline constexpr char kVersion[] = "%3zLibgit2 version %d.%d.%d";

// Opening a repository
inline constexpr char kUnableToOpen[] = "%1zUnable to open local repository '%s'.";
inline constexpr char kErrorOpening[] = "%1zAn error occurred while opening local repository '%s'.";

// Status
inline constexpr char kStagedNew[] = "%3zEntry: %s. Staged: True. Status: New.";
inline constexpr char kStagedModified[] = "%3zEntry: %s. Staged: True. Status: Modified.";
inline constexpr char kStagedDeleted[] = "%3zEntry: %s. Staged: True. Status: Deleted.";
inline constexpr char kStagedRenamed[] = "%3zEntry: %s. Staged: True. Status: Renamed.";
inline constexpr char kStagedTypechange[] = "%3zEntry: %s. Staged: True. Status: Typechange.";
inline constexpr char kUnstagedNew[] = "%3zEntry: %s. Staged: False. Status: New.";
inline constexpr char kUnstagedModified[] = "%3zEntry: %s. Staged: False. Status: Modified.";
inline constexpr char kUnstagedDeleted[] = "%3zEntry: %s. Staged: False. Status: Deleted.";
inline constexpr char kUnstagedTypechange[] = "%3zEntry: %s. Staged: False. Status: Typechange.";
inline constexpr char kUnstagedRenamed[] = "%3zEntry: %s. Staged: False. Status: Renamed.";
inline constexpr char kUnstagedConflicted[] = "%3zEntry: %s. Staged: False. Status: Conflicted.";
inline constexpr char kNoStatusObjects[] =
    "%1zCould not find any status objects. Run GITFN_STATUS on your repo prior to obtaining repo "
    "status objects.";

// Reset
inline constexpr char kInvalidResetMode[] =
    "%1z%s is an invalid mode. SOFT, MIXED or HARD are valid modes.";
inline constexpr char kResetToCommit[] = "%3z%s reset to commit:%s successful.";
inline constexpr char kFileRequired[] = "%1zA file path is required.";
inline constexpr char kFileReset[] = "%3z%s reset successfully.";

// Log
inline constexpr char kNoCommitObjects[] =
    "%1zCould not find any commit objects. Run GITFN_COMMIT_LOG on your repo prior to obtaining "
    "commit objects.";
inline constexpr char kLogNotFreed[] = "%1zAn error occurred while trying to free commit objects";
inline constexpr char kLogFreed[] = "%3z%s commit objects freed successfully.";

// Branches
inline constexpr char kNoStartPoint[] =
    "%1zUnable to create branch '%s'. A valid commit id or reference name is required.";
inline constexpr char kBranchCreated[] = "%3zBranch \"%s\" successfully created.";
inline constexpr char kBranchDeleted[] = "%3zBranch \"%s\" successfully deleted.";
inline constexpr char kBranchCheckedOut[] = "%3zBranch \"%s\" successfully checked out.";

// Merge
inline constexpr char kUpToDate[] = "%3zRepository is already up-to-date.";
inline constexpr char kUnbornHead[] =
    "%3zThe HEAD of the current repository is \"unborn\" and does not point to a valid commit.";
inline constexpr char kConflict[] = "%3zConflict in file: %s";
inline constexpr char kFastforwarded[] = "%3zHead has successfully been fastforwarded.";
inline constexpr char kMerged[] = "%3zMerge '%s' into current branch '%s' successful.";
inline constexpr char kMergeCommitText[] = "Merge '%s' into branch %s";  // not for the log

// Stash
inline constexpr char kStashed[] = "%3z%s stash successful.";
inline constexpr char kStashPopped[] = "%3z%s stash successfully popped.";
inline constexpr char kStashApplied[] = "%3z%s stash successfully applied.";
inline constexpr char kStashDropped[] = "%3z%s stash successfully dropped.";

// Rebase. The misspelt word is one that programs look for in the log: it stays.
inline constexpr char kRebaseError[] =
    "%1zAn error occured while rebasing. Abort the rebase and try again.";
inline constexpr char kRebaseNotUndone[] =
    "%1zThe rebase stays in progress: undoing it would overwrite local files. Move them away, then "
    "abort the rebase.";
inline constexpr char kRebaseConflict[] =
    "%1zAn error occured while rebasing commit [%s]. Check for conflicts.";
inline constexpr char kRebaseAdvice[] =
    "%1zYour options are to abort the rebase or skip this commit and finish the rebase.";
inline constexpr char kInvalidRebaseOperation[] =
    "%1z%s is an invalid operation. SKIP, CONTINUE, FINISH or ABORT are valid operations.";
inline constexpr char kRebased[] = "%3zRebase successful.";
inline constexpr char kRebaseFinished[] = "%3zRebase finished.";
inline constexpr char kRebaseAborted[] = "%3zRebase aborted.";

// Repository lifecycle
inline constexpr char kInitialised[] = "%3z%s repository successfully initialized.";
inline constexpr char kRemoteUrlSet[] = "%3zRemote URL: %s successfully set for repository: %s.";
inline constexpr char kNotDeleted[] = "%1zAn error occurred while trying to delete %s.";
inline constexpr char kNothingToDelete[] =
    "%1zAn error occurred while trying to delete %s. Location does not exist.";

// Diff
inline constexpr char kFileNotInDiff[] =
    "%1zUnable to diff file \"%s\" because it's not currently in the index or it's a new file.";
// The two name the function differently. Users search for the wording: it stays.
inline constexpr char kNoDiffToRead[] =
    "%1zCould not find any diff objects. Run GITFN_DIFF between two commits prior to obtaining "
    "diff "
    "objects.";
inline constexpr char kNoDiffToWrite[] =
    "%1zCould not find any diff objects. Run GIT_DIFF between two commits prior to obtaining data "
    "from diff objects.";
inline constexpr char kDiffFreed[] = "%3zDiff objects freed successfully.";
inline constexpr char kDiffNotFreed[] =
    "%1zAn error occurred while trying to free diff object of %s commit and %s commit";

// Transfer
inline constexpr char kCredentialsRequired[] = "%1zCredentials Required.";
inline constexpr char kNotAuthenticated[] = "%1zFailed to authenticate with the remote repository.";
inline constexpr char kFetched[] = "%3zFetch successful!";
inline constexpr char kPushed[] = "%3zPush successful!";

}  // namespace uwugit::message
