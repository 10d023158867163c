#include "groups.h"

namespace uwugit::host {
namespace {

using enum Kind;
using enum ResultMatch;

constexpr Parameter kTransferParameters[] = {kRepository};
constexpr ResultRow kTransferResults[] = {
    {kExactly, -1, false, "this build of the module cannot transfer"},
};

constexpr Function kFunctions[] = {
    {
        .name = "do_pull",
        .registered_name = "GIT_PULL",
        .summary = "Fetches the current branch from \"origin\" and merges what arrived.",
        .details = "This build of the module cannot transfer: it logs an error and answers -1.",
        .parameters = kTransferParameters,
        .results = kTransferResults,
        .example = "git.do_pull(\"/home/me/project\")",
    },
    {
        .name = "do_push",
        .registered_name = "GIT_PUSH",
        .summary = "Pushes the current branch to \"origin\".",
        .details = "This build of the module cannot transfer: it logs an error and answers -1.",
        .parameters = kTransferParameters,
        .results = kTransferResults,
        .example = "git.do_push(\"/home/me/project\")",
    },
};

}  // namespace

std::span<const Function> transfer_functions() { return kFunctions; }

}  // namespace uwugit::host
