#include "uwugithost/catalogue.h"

#include <algorithm>
#include <vector>

#include "groups.h"

namespace uwugit::host {

std::span<const Function> catalogue() {
  static const std::vector<Function> all = [] {
    std::vector<Function> functions;
    for (const auto list : {
             version_functions,
             lifecycle_functions,
             status_functions,
             staging_functions,
             commit_functions,
             log_functions,
             diff_functions,
             reset_functions,
             branch_functions,
             merge_functions,
             stash_functions,
             rebase_functions,
             transfer_functions,
         }) {
      const std::span<const Function> group = list();
      functions.insert(functions.end(), group.begin(), group.end());
    }
    return functions;
  }();
  return all;
}

const Function* find_function(std::string_view name) {
  const auto all = catalogue();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Function& it) {
    return it.name == name || (!it.registered_name.empty() && it.registered_name == name);
  });
  return found == all.end() ? nullptr : &*found;
}

const ResultRow* find_result(const Function& function, const CallResult& result) {
  using enum ResultMatch;
  for (const ResultRow& row : function.results) {
    const bool has_code = !result.is_unchanged;
    const bool applies = (row.match == kExactly && has_code && result.code == row.value) ||
                         (row.match == kCount && has_code && result.code >= 0) ||
                         (row.match == kUnchanged && result.is_unchanged) ||
                         (row.match == kReturned && result.returned == row.value) ||
                         row.match == kOther;
    if (applies) return &row;
  }
  return nullptr;
}

}  // namespace uwugit::host
