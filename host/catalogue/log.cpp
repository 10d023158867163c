#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr Parameter kLogParameters[] = {kRepository};
constexpr ResultRow kLogResults[] = {
    {kExactly, -1, false,
     "the repository cannot be opened, or the walk cannot be set up, for example because HEAD has "
     "no commit yet; an earlier log stays"},
    {kCount, 0, true, "the number of commits"},
    {kUnchanged, 0, false, "libgit2 could not be loaded or initialised"},
};

constexpr Parameter kLogAttributeParameters[] = {
    {"number", kNumber, "number of the commit, counted from 1"},
    kRepository,
    {"attribute", kText,
     "ID, AUTHOR, EMAIL, COMMITTER, COMMITTER_EMAIL, MESSAGE, TIME, PARENT_IDS, CHILDREN_IDS, "
     "STASH or IN_CURRENT_BRANCH, in any case"},
    {"value", kOutput,
     "a text; TIME: seconds since 1970, right-justified in 20 characters; ids joined by commas; "
     "\"TRUE\" or \"FALSE\""},
};
constexpr ResultRow kLogAttributeResults[] = {
    {kReturned, 1, false, "get_commit_log has not been called for this repository"},
    {kUnchanged, 0, true, "the variable was filled, if there is such a commit"},
};

constexpr Parameter kFreeLogParameters[] = {kRepository};
constexpr ResultRow kFreeLogResults[] = {
    {kExactly, 0, true, "the log was discarded, or there was none"},
    {kExactly, 1, false, "its memory could not be released"},
};

constexpr Function kFunctions[] = {
    {
        .name = "get_commit_log",
        .registered_name = "",
        .summary = "Reads the history of a repository.",
        .details =
            "Keeps one entry per commit for get_commit_attribute: every commit that HEAD, a local "
            "or remote-tracking branch, a tag or the latest stash reaches, each before its "
            "parents and otherwise the newest first. The log replaces that of an earlier call for "
            "the same path. In a shallow clone, or when a commit is lost, the log ends early or "
            "stays empty, without an error: compare the count with `git rev-list --count "
            "--branches --remotes --tags HEAD`, and run `git fetch --unshallow` or `git fsck`. A "
            "remote-tracking HEAD whose branch is gone makes the call fail: run `git remote "
            "set-head origin --auto`.",
        .parameters = kLogParameters,
        .results = kLogResults,
        .example = "local count = git.get_commit_log(\"/home/me/project\")",
    },
    {
        .name = "get_commit_attribute",
        .registered_name = "",
        .summary = "Reads one attribute of one commit of the latest get_commit_log.",
        .details =
            "The repository is named as it was for get_commit_log. The function writes no return "
            "code. A number without a commit leaves the variable as it was, so count from 1 to "
            "what get_commit_log answered; an unknown attribute, and GRAPH_COLUMN, fill it with "
            "blanks. A value that is longer than the variable is cut. Each call without a log "
            "keeps a little memory until the process ends: stop at the first one that fails.",
        .parameters = kLogAttributeParameters,
        .results = kLogAttributeResults,
        .example = "local _, id = git.get_commit_attribute(1, \"/home/me/project\", \"ID\")",
    },
    {
        .name = "free_commit_objects",
        .registered_name = "",
        .summary = "Discards the log that get_commit_log keeps for a repository.",
        .details = "",
        .parameters = kFreeLogParameters,
        .results = kFreeLogResults,
        .example = "git.free_commit_objects(\"/home/me/project\")",
    },
};

}  // namespace

std::span<const Function> log_functions() { return kFunctions; }

}  // namespace uwugit::host
