// The name that somebody meant who mistyped it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace uwugit::runner {

// " Did you mean 'status'?", with the name that is nearest; empty when none is near.
std::string did_you_mean(std::string_view word, const std::vector<std::string>& names);

}  // namespace uwugit::runner
