#include <cstdio>

#include "commands.h"

namespace uwugit::runner {

int call_function(const SessionOptions& options, const std::string& name,
                  std::span<const std::string> words) {
  const host::Function& function = require_function(name);
  const std::vector<host::Value> values = host::values_from_words(function, words);
  Session session(options);
  const host::Outcome outcome = session.call(function, values);
  std::printf("return code: %s\n", outcome.code_text().c_str());
  if (outcome.result.returned != 0) std::printf("returned: %d\n", outcome.result.returned);
  for (const host::OutputValue& output : outcome.outputs) {
    std::printf("%.*s: ", static_cast<int>(output.name.size()), output.name.data());
    std::fwrite(output.text.data(), 1, output.text.size(), stdout);
    std::printf("\n");
  }
  std::fflush(stdout);
  return outcome.is_success ? kExitSuccess : kExitFailure;
}

}  // namespace uwugit::runner
