#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr ResultRow kVersionResults[] = {
    success(0, "the version was noted in the log"),
    failure(-1, "libgit2 could not be loaded or initialised"),
};

constexpr Function kFunctions[] = {
    {
        .name = "git_version",
        .summary = "Notes the version of the libgit2 in use in the log.",
        .details = "It names any libgit2, also one that the other functions refuse.",
        .parameters = {},
        .results = kVersionResults,
        .example = R"(git.git_version())",
    },
};

}  // namespace

std::span<const Function> version_functions() { return kFunctions; }

}  // namespace uwugit::host
