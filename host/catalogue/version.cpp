#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr ResultRow kVersionResults[] = {
    {kExactly, 0, true, "the version was noted in the log"},
    {kExactly, -1, false, "libgit2 could not be loaded or initialised"},
};

constexpr Function kFunctions[] = {
    {
        .name = "git_version",
        .registered_name = "",
        .summary = "Notes the version of the libgit2 in use in the log.",
        .details = "It names any libgit2, also one that the other functions refuse.",
        .parameters = {},
        .results = kVersionResults,
        .example = "git.git_version()",
    },
};

}  // namespace

std::span<const Function> version_functions() { return kFunctions; }

}  // namespace uwugit::host
