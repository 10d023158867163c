#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr Parameter kStatusParameters[] = {kRepository};
constexpr ResultRow kStatusResults[] = {
    {kExactly, -1, false,
     "libgit2 could not be loaded or initialised, or lacks git_status_list_new"},
    {kExactly, -2, false, "libgit2 failed, for example because there is no repository"},
    {kCount, 0, true, "the number of entries"},
};

constexpr Parameter kStatusAttributeParameters[] = {
    {"number", kNumber, "number of the entry, counted from 1"},
    kRepository,
    {"attribute", kText, "PATH, STATUS or STAGED, in any case"},
    {"value", kOutput,
     "the path; \"new\", \"modified\", \"deleted\", \"renamed\", \"typechange\" or \"conflicted\"; "
     "\"TRUE\" or \"FALSE\""},
};
constexpr ResultRow kStatusAttributeResults[] = {
    {kExactly, 0, true, "the variable was filled"},
    {kExactly, 1, false, "there is no such attribute"},
    {kExactly, 2, false, "there is no such entry"},
    {kExactly, -2, false, "get_status has not been called for this repository"},
};

constexpr Parameter kFreeStatusParameters[] = {kRepository};
constexpr ResultRow kFreeStatusResults[] = {
    {kExactly, 0, true, "the entries were discarded"},
    {kExactly, 1, false, "there were none for this repository"},
    {kExactly, -2, false, "their memory could not be released"},
};

constexpr Function kFunctions[] = {
    {
        .name = "get_status",
        .registered_name = "",
        .summary = "Lists the changed files of a repository.",
        .details =
            "Writes one note per file and keeps one entry per file for get_status_attribute; "
            "a file that is staged and has changed since makes two. The entries replace those "
            "of an earlier call for the same path. Ignored files are passed over.",
        .parameters = kStatusParameters,
        .results = kStatusResults,
        .example = "local count = git.get_status(\"/home/me/project\")",
    },
    {
        .name = "get_status_attribute",
        .registered_name = "",
        .summary = "Reads one attribute of one entry of the latest get_status.",
        .details =
            "The repository is named as it was for get_status. For a file that is staged and "
            "has changed since, the two entries tell both changes.",
        .parameters = kStatusAttributeParameters,
        .results = kStatusAttributeResults,
        .example = "local code, path = git.get_status_attribute(1, \"/home/me/project\", \"PATH\")",
    },
    {
        .name = "free_status_objects",
        .registered_name = "",
        .summary = "Discards the entries that get_status keeps for a repository.",
        .details = "",
        .parameters = kFreeStatusParameters,
        .results = kFreeStatusResults,
        .example = "git.free_status_objects(\"/home/me/project\")",
    },
};

}  // namespace

std::span<const Function> status_functions() { return kFunctions; }

}  // namespace uwugit::host
