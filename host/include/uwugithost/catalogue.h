// What the module's functions are, for people and programs: one table from which argument checks,
// help, the bindings and the documentation all come.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "uwugithost/host.h"

namespace uwugit::host {

enum class Kind {
  kText,
  kNumber,
  kOutput,  // a variable that the function fills; callers get it back instead of giving it
};

struct Parameter {
  std::string_view name;
  Kind kind;
  std::string_view meaning;
  bool is_optional = false;
  bool is_repeated = false;  // the last parameters that are repeated may be given again as a group
  // The bytes that an output variable has when the function is called. With 0 it has what most
  // values need, and when the value is longer, the function is called once more with a variable
  // that is large enough. A function that must not be called twice names a size that is always
  // enough.
  std::size_t capacity = 0;
  bool is_id = false;  // the whole id of a commit, where people may give a name
  std::span<const std::string_view> words = {};  // the words, in any case, that the text is one of
};

// What an argument means, with the words that it may be.
std::string explain(const Parameter& parameter);

// When a row of a function's results applies. The first row that applies decides.
enum class ResultMatch {
  kExactly,    // the return code is `value`
  kCount,      // the return code is 0 or more
  kUnchanged,  // the function wrote no return code
  kReturned,   // the function's own integer result is `value`
  kOther,
};

struct ResultRow {
  ResultMatch match;
  double value;
  bool is_success;
  std::string_view meaning;
  // The return code is the same when it failed: an error in the log of the call tells.
  bool is_told_by_log = false;
};

struct Function {
  std::string_view name;
  std::string_view registered_name = {};  // as which it is also registered; empty: none
  std::string_view summary;               // one sentence
  std::string_view details = {};          // what its users must know
  std::span<const Parameter> parameters = {};
  std::span<const ResultRow> results;
  std::string_view example;  // in Lua
};

// All functions, in the order in which they are shown.
std::span<const Function> catalogue();

// The function exported or registered under that name, or null.
const Function* find_function(std::string_view name);

// "get_status_attribute(number, repository, attribute) -> code, value"
std::string usage(const Function& function);

// The row that applies to an outcome, or null.
const ResultRow* find_result(const Function& function, const CallResult& result);

// One function, for a terminal. All functions as Markdown (docs/functions.md) and as a manual page.
std::string describe(const Function& function);
std::string catalogue_as_markdown();
std::string catalogue_as_manual_page(std::string_view version);

}  // namespace uwugit::host
