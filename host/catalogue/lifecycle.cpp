#include "credential_parameters.h"
#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

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
    {kExactly, 0, true, "cloned; nothing is written to the log"},
    {kExactly, -1, false, "libgit2 could not be loaded, or failed without saying why"},
    {kExactly, -3, false, "the server did not accept the credentials"},
    {kOther, 0, false, "the class of libgit2's error, which is in the log"},
};

constexpr Parameter kInitParameters[] = {
    {"directory", kText, "folder of the new repository; missing parents are made"},
    {"branch", kText, "name of the initial branch"},
    {"url", kText, "URL of the remote \"origin\"", kOptional},
};
constexpr ResultRow kInitResults[] = {
    {kExactly, 0, true, "the repository was made"},
    {kExactly, -1, false, "libgit2 failed; a repository without its remote may be left"},
    {kUnchanged, 0, false, "libgit2 could not be loaded or initialised"},
};

constexpr Parameter kSetUrlParameters[] = {
    kRepository,
    {"url", kText, "URL of the remote \"origin\""},
};
constexpr ResultRow kSetUrlResults[] = {
    {kExactly, 0, true, "\"origin\" was added"},
    {kExactly, -1, false, "the repository could not be opened, or has an \"origin\" already"},
    {kUnchanged, 0, false, "libgit2 could not be loaded or initialised"},
};

constexpr Parameter kDeleteParameters[] = {kRepository};
constexpr ResultRow kDeleteResults[] = {
    {kExactly, 0, true, "the folder is gone"},
    {kExactly, -1, false, "it could not be removed, or not all of it, or it is not a folder"},
    {kExactly, -2, false, "there is nothing of that name"},
    {kUnchanged, 0, false, "libgit2 could not be loaded or initialised, or cannot delete"},
};

constexpr Function kFunctions[] = {
    {
        .name = "do_clone",
        .registered_name = "",
        .summary = "Clones a remote repository into a new folder.",
        .details = "Checks out the remote's default branch. docs/transport.md tells how to set up "
                   "credentials, certificates and known hosts, and what each failure means.",
        .parameters = kCloneParameters,
        .results = kCloneResults,
        .example = "local code = git.do_clone(\"https://example.org/project.git\", "
                   "\"/home/me/project\", \"me\", \"{uwugit1}...\")",
    },
    {
        .name = "init_repo",
        .registered_name = "",
        .summary = "Makes a new repository.",
        .details = "The branch is named without \"refs/heads/\", which is put in front of it in "
                   "any case. It exists from the first commit on.",
        .parameters = kInitParameters,
        .results = kInitResults,
        .example = "local code = git.init_repo(\"/home/me/project\", \"main\")",
    },
    {
        .name = "set_remote_url",
        .registered_name = "",
        .summary = "Adds the remote \"origin\" to a repository that has none.",
        .details = "An \"origin\" that exists is never changed: use `git remote set-url`.",
        .parameters = kSetUrlParameters,
        .results = kSetUrlResults,
        .example = "local code = git.set_remote_url(\"/home/me/project\", "
                   "\"https://example.org/project.git\")",
    },
    {
        .name = "delete_repo",
        .registered_name = "",
        .summary = "Removes the folder of a repository with all that is in it.",
        .details = "Whatever the folder holds is removed, a repository or not, read-only files and "
                   "folders too. Symbolic links in it are removed, and what they point to stays. "
                   "The root folder is refused.",
        .parameters = kDeleteParameters,
        .results = kDeleteResults,
        .example = "local code = git.delete_repo(\"/home/me/project\")",
    },
};

}  // namespace

std::span<const Function> lifecycle_functions() { return kFunctions; }

}  // namespace uwugit::host
