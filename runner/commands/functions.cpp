#include <algorithm>
#include <cstdio>

#include "commands.h"
#include "format/wrap.h"
#include "nearest.h"

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

}  // namespace

std::string about_missing_function(const std::string& name) {
  std::vector<std::string> names;
  for (const host::Function& function : host::catalogue()) names.emplace_back(function.name);
  return "There is no function " + name + "." + did_you_mean(name, names);
}

const host::Function& require_function(const std::string& name) {
  if (const host::Function* function = host::find_function(name)) return *function;
  throw host::UsageError(about_missing_function(name) +
                         " `uwugit functions` lists those there are.");
}

int show_functions(const std::string& name, CatalogueForm form) {
  if (form == CatalogueForm::kText) {
    print_help(name.empty() ? list_of_functions() : host::describe(require_function(name)));
  } else {
    const std::string text = form == CatalogueForm::kMarkdown
                                 ? host::catalogue_as_markdown()
                                 : host::catalogue_as_manual_page(UWUGIT_VERSION);
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
  return kExitSuccess;
}

}  // namespace uwugit::runner
