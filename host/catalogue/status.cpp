#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr ResultRow kStatusResults[] = {
    failure(-1, "libgit2 could not be loaded or initialised, or lacks git_status_list_new"),
    failure(-2, "libgit2 failed, for example because there is no repository"),
    success_with_count("the number of entries"),
};

constexpr std::string_view kStatusAttributes[] = {"PATH", "STATUS", "STAGED"};
constexpr Parameter kStatusAttributeParameters[] = {
    {"number", kNumber, "number of the entry, counted from 1"},
    kRepository,
    word_parameter("attribute", kStatusAttributes),
    {"value", kOutput,
     "the path; \"new\", \"modified\", \"deleted\", \"renamed\", \"typechange\" or \"conflicted\"; "
     "\"TRUE\" or \"FALSE\""},
};
constexpr ResultRow kStatusAttributeResults[] = {
    success(0, "the variable was filled"),
    failure(1, "there is no such attribute"),
    failure(2, "there is no such entry"),
    failure(-2, "get_status has not been called for this repository"),
};

constexpr ResultRow kFreeStatusResults[] = {
    success(0, "the entries were discarded"),
    failure(1, "there were none for this repository"),
    failure(-2, "their memory could not be released"),
};

constexpr Function kFunctions[] = {
    {
        .name = "get_status",
        .summary = "Lists the changed files of a repository.",
        .details =
            "Writes one note per file and keeps one entry per file for get_status_attribute; a "
            "file that is staged and has changed since makes two. The entries replace those of an "
            "earlier call for the same path. Ignored files are passed over.",
        .parameters = kOnlyRepository,
        .results = kStatusResults,
        .example = R"(local count = git.get_status("/home/me/project"))",
    },
    {
        .name = "get_status_attribute",
        .summary = "Reads one attribute of one entry of the latest get_status.",
        .details = "The repository is named as it was for get_status. For a file that is staged "
                   "and has changed since, the two entries tell both changes.",
        .parameters = kStatusAttributeParameters,
        .results = kStatusAttributeResults,
        .example = R"(local code, path = git.get_status_attribute(1, "/home/me/project", "PATH"))",
    },
    {
        .name = "free_status_objects",
        .summary = "Discards the entries that get_status keeps for a repository.",
        .parameters = kOnlyRepository,
        .results = kFreeStatusResults,
        .example = R"(git.free_status_objects("/home/me/project"))",
    },
};

}  // namespace

std::span<const Function> status_functions() { return kFunctions; }

}  // namespace uwugit::host
