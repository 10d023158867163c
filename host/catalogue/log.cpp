#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr ResultRow kLogResults[] = {
    failure(-1,
            "the repository cannot be opened, or the walk cannot be set up, for example because "
            "HEAD has no commit yet; the commit log of an earlier call stays"),
    success_with_count("the number of commits"),
    kNotLoaded,
};

constexpr std::string_view kLogAttributes[] = {
    "ID",   "AUTHOR",     "EMAIL",        "COMMITTER", "COMMITTER_EMAIL",  "MESSAGE",
    "TIME", "PARENT_IDS", "CHILDREN_IDS", "STASH",     "IN_CURRENT_BRANCH"};
constexpr Parameter kLogAttributeParameters[] = {
    {"number", kNumber, "number of the commit, counted from 1"},
    kRepository,
    word_parameter("attribute", kLogAttributes),
    {"value", kOutput,
     "a text; TIME: seconds since 1970, right-justified in 20 characters; ids joined by commas; "
     "\"TRUE\" or \"FALSE\""},
};
constexpr ResultRow kLogAttributeResults[] = {
    failure_returned(1, "get_commit_log has not been called for this repository"),
    success_unchanged("the variable was filled, if there is such a commit"),
};

constexpr ResultRow kFreeLogResults[] = {
    success(0, "the commit log was discarded, or there was none"),
    failure(1, "its memory could not be released"),
};

constexpr Function kFunctions[] = {
    {
        .name = "get_commit_log",
        .summary = "Reads the history of a repository into a commit log.",
        .details = "The commit log has one entry per commit, for get_commit_attribute: every "
                   "commit that HEAD, a local or remote-tracking branch, a tag or the latest stash "
                   "reaches, each before its parents and otherwise the newest first. It replaces "
                   "that of an earlier call for the same path. In a shallow clone, or when a "
                   "commit is lost, it ends early or stays empty, without an error: compare the "
                   "count with `git rev-list --count --branches --remotes --tags HEAD`, and run "
                   "`git fetch --unshallow` or `git fsck`. A remote-tracking HEAD whose branch is "
                   "gone makes the call fail: run `git remote set-head origin --auto`.",
        .parameters = kOnlyRepository,
        .results = kLogResults,
        .example = R"(local count = git.get_commit_log("/home/me/project"))",
    },
    {
        .name = "get_commit_attribute",
        .summary = "Reads one attribute of one commit of the latest get_commit_log.",
        .details = "The repository is named as it was for get_commit_log. The function writes no "
                   "return code. A number without a commit leaves the variable as it was, so count "
                   "from 1 to what get_commit_log answered; an unknown attribute, and "
                   "GRAPH_COLUMN, fill it with blanks. A value that is longer than the variable is "
                   "cut. Each call for a repository without a commit log keeps a little memory "
                   "until the process ends: stop at the first one that fails.",
        .parameters = kLogAttributeParameters,
        .results = kLogAttributeResults,
        .example = R"(local _, id = git.get_commit_attribute(1, "/home/me/project", "ID"))",
    },
    {
        .name = "free_commit_objects",
        .summary = "Discards the commit log that get_commit_log keeps for a repository.",
        .parameters = kOnlyRepository,
        .results = kFreeLogResults,
        .example = R"(git.free_commit_objects("/home/me/project"))",
    },
};

}  // namespace

std::span<const Function> log_functions() { return kFunctions; }

}  // namespace uwugit::host
