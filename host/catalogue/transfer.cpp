#include "groups.h"
#include "remote_rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kFetchParameters[] = {
    kRepository,
    kUser,
    kPassword,
    kPublicKey,
    kPrivateKey,
    {"refspec", kText,
     "what to fetch instead of what the remote's configuration says; one blank is the same as none",
     kOptional},
    kCertificate,
    kDefaultCredentials,
};
constexpr Parameter kBranchParameters[] = {
    kRepository, kUser, kPassword, kPublicKey, kPrivateKey, kCertificate, kDefaultCredentials,
};

constexpr ResultRow kNotOpened =
    failure(-1, "the repository could not be opened, or libgit2 failed without saying why");
constexpr ResultRow kNothingDone = failure_unchanged(
    "there is no \"origin\" or no commit yet, or libgit2 could not be loaded or initialised");

constexpr ResultRow kFetchResults[] = {
    success(0, "fetched"), kNotOpened, kNotAuthenticated, kNothingDone, kOtherError,
};
constexpr ResultRow kPullResults[] = {
    success(0, "fast-forwarded or merged, or the remote has no such branch"),
    success(1, "already up to date"),
    failure(-1,
            "the repository could not be opened, a step of the merge failed (files may be merged "
            "in part), or libgit2 failed without saying why"),
    failure(-2, "the merge left conflicts, which are in the log and in the files"),
    kNotAuthenticated,
    kNothingDone,
    kOtherError,
};
constexpr ResultRow kPushResults[] = {
    success(0, "the server took the commits and moved the branch"),
    kNotOpened,
    kNotAuthenticated,
    kNothingDone,
    kOtherError,
};

constexpr Function kFunctions[] = {
    {
        .name = "do_fetch",
        .summary = "Fetches from \"origin\" without touching branches and files.",
        .details = "Needs a commit to be there already: a new repository clones instead. "
                   "docs/transport.md tells what each failure means.",
        .parameters = kFetchParameters,
        .results = kFetchResults,
        .example = R"(local code = git.do_fetch("/home/me/project"))",
    },
    {
        .name = "do_pull",
        .registered_name = "GIT_PULL",
        .summary = "Fetches the current branch from \"origin\" and merges what arrived.",
        .details = "A merge commit is made in the name \"Merge\". Commit local changes first: a "
                   "merge that would overwrite them is refused; ignored files in the way are "
                   "overwritten. A merge that git had in progress is ended. **After conflicts no "
                   "merge is in "
                   "progress**: what is committed then has one parent, and the next pull meets the "
                   "same conflict until our side has the other side's text; docs/transport.md "
                   "tells how to go on. With a detached HEAD nothing is merged.",
        .parameters = kBranchParameters,
        .results = kPullResults,
        .example = R"(local code = git.do_pull("/home/me/project", "me", "{uwugit1}..."))",
    },
    {
        .name = "do_push",
        .registered_name = "GIT_PUSH",
        .summary = "Pushes the current branch to the branch of that name on \"origin\".",
        .details =
            "A branch that the server refuses to move (a hook, a protected branch) is an error "
            "with the server's words. **Without the companion such a push answers 0**: to be sure, "
            "call do_fetch afterwards and compare the branch with origin's.",
        .parameters = kBranchParameters,
        .results = kPushResults,
        .example = R"(local code = git.do_push("/home/me/project", "me", "{uwugit1}..."))",
    },
};

}  // namespace

std::span<const Function> transfer_functions() { return kFunctions; }

}  // namespace uwugit::host
