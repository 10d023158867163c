#include "groups.h"
#include "remote_rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kCloneParameters[] = {
    {"url", kText, "URL or path of the remote repository"},
    {"directory", kText, "new folder for the clone, or an empty one"},
    kUser,
    kPassword,
    kPublicKey,
    kPrivateKey,
    kCertificate,
    kDefaultCredentials,
};
constexpr ResultRow kCloneResults[] = {
    success(0, "cloned; nothing is written to the log"),
    failure(-1, "libgit2 could not be loaded, or failed without saying why"),
    kNotAuthenticated,
    kOtherError,
};

constexpr Parameter kInitParameters[] = {
    {"directory", kText, "folder of the new repository; missing parents are made"},
    {"branch", kText, "name of the initial branch"},
    {"url", kText, "URL of the remote \"origin\"", kOptional},
};
constexpr ResultRow kInitResults[] = {
    success(0, "the repository was made"),
    failure(-1, "libgit2 failed; a repository without its remote may be left"),
    kNotLoaded,
};

constexpr Parameter kSetUrlParameters[] = {
    kRepository,
    {"url", kText, "URL of the remote \"origin\""},
};
constexpr ResultRow kSetUrlResults[] = {
    success(0, "\"origin\" was added"),
    failure(-1, "the repository could not be opened, or has an \"origin\" already"),
    kNotLoaded,
};

constexpr ResultRow kDeleteResults[] = {
    success(0, "the folder is gone"),
    failure(-1, "it could not be removed, or not all of it, or it is not a folder"),
    failure(-2, "there is nothing of that name"),
    failure_unchanged("libgit2 could not be loaded or initialised, or cannot delete"),
};

constexpr Function kFunctions[] = {
    {
        .name = "do_clone",
        .summary = "Clones a remote repository into a new folder.",
        .details = "Checks out the remote's default branch. docs/transport.md tells how to set up "
                   "credentials, certificates and known hosts, and what each failure means.",
        .parameters = kCloneParameters,
        .results = kCloneResults,
        .example =
            R"(local code = git.do_clone("https://example.org/project.git", "/home/me/project", "me", "{uwugit1}..."))",
    },
    {
        .name = "init_repo",
        .summary = "Makes a new repository.",
        .details = "The branch is named without \"refs/heads/\", which is put in front of it in "
                   "any case. It exists from the first commit on.",
        .parameters = kInitParameters,
        .results = kInitResults,
        .example = R"(local code = git.init_repo("/home/me/project", "main"))",
    },
    {
        .name = "set_remote_url",
        .summary = "Adds the remote \"origin\" to a repository that has none.",
        .details = "An \"origin\" that exists is never changed: use `git remote set-url`.",
        .parameters = kSetUrlParameters,
        .results = kSetUrlResults,
        .example =
            R"(local code = git.set_remote_url("/home/me/project", "https://example.org/project.git"))",
    },
    {
        .name = "delete_repo",
        .summary = "Removes the folder of a repository with all that is in it.",
        .details = "Whatever the folder holds is removed, a repository or not, read-only files and "
                   "folders too. Symbolic links in it are removed, and what they point to stays. "
                   "The root folder is refused.",
        .parameters = kOnlyRepository,
        .results = kDeleteResults,
        .example = R"(local code = git.delete_repo("/home/me/project"))",
    },
};

}  // namespace

std::span<const Function> lifecycle_functions() { return kFunctions; }

}  // namespace uwugit::host
