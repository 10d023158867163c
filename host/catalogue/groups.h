// The parts of the function catalogue, one file each; catalogue.cpp puts them in order.
#pragma once

#include "uwugithost/catalogue.h"

namespace uwugit::host {

std::span<const Function> branch_functions();
std::span<const Function> commit_functions();
std::span<const Function> diff_functions();
std::span<const Function> lifecycle_functions();
std::span<const Function> log_functions();
std::span<const Function> merge_functions();
std::span<const Function> rebase_functions();
std::span<const Function> reset_functions();
std::span<const Function> staging_functions();
std::span<const Function> stash_functions();
std::span<const Function> status_functions();
std::span<const Function> transfer_functions();
std::span<const Function> version_functions();

}  // namespace uwugit::host
