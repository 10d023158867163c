#include <algorithm>
#include <cstdio>

#include "commands.h"

namespace uwugit::runner {
namespace {

std::string list_of_functions() {
  std::size_t width = 0;
  for (const host::Function& function : host::catalogue()) {
    width = std::max(width, function.name.size());
  }
  std::string text;
  for (const host::Function& function : host::catalogue()) {
    text += std::string(function.name) + std::string(width + 2 - function.name.size(), ' ') +
            std::string(function.summary) + "\n";
  }
  return text;
}

std::string functions_text(const std::string& name, CatalogueForm form) {
  if (form == CatalogueForm::kMarkdown) return host::catalogue_as_markdown();
  if (form == CatalogueForm::kManualPage) return host::catalogue_as_manual_page(UWUGIT_VERSION);
  return name.empty() ? list_of_functions() : host::describe(require_function(name));
}

}  // namespace

const host::Function& require_function(const std::string& name) {
  if (const host::Function* function = host::find_function(name)) return *function;
  throw host::UsageError("There is no function " + name +
                         ". `uwugit functions` lists those there are.");
}

int show_functions(const std::string& name, CatalogueForm form) {
  const std::string text = functions_text(name, form);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kExitSuccess;
}

}  // namespace uwugit::runner
