#include <cmath>
#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "uwugithost/repository.h"

namespace uwugit::runner {
namespace {

// The value of a parameter; null when it has none or is a number.
const std::string* find_text(const host::Function& function, std::span<const host::Value> values,
                             std::string_view parameter) {
  for (std::size_t i = 0; i < values.size() && i < function.parameters.size(); ++i) {
    if (function.parameters[i].name == parameter) return std::get_if<std::string>(&values[i]);
  }
  return nullptr;
}

// The repository that a call is about, when there is one.
std::optional<host::Repository> find_repository(Session& session, const host::Function& function,
                                                std::span<const host::Value> values) {
  const std::string* place = find_text(function, values, "repository");
  if (!place) return std::nullopt;
  try {
    return host::Repository(session.host(), session.module(), *place);
  } catch (const host::RepositoryError&) {
    return std::nullopt;
  }
}

bool is_whole_id(const std::string& text) {
  constexpr std::size_t kDigits = 40;
  return text.size() == kDigits && text.find_first_not_of("0123456789abcdefABCDEF") == text.npos;
}

// A name is not an id, and a function that takes ids may take it for something else.
void refuse_names(Session& session, const host::Function& function,
                  std::span<const host::Value> values) {
  for (const host::Parameter& parameter : function.parameters) {
    const std::string* text = find_text(function, values, parameter.name);
    if (!parameter.is_id || !text || text->empty() || is_whole_id(*text)) continue;
    const auto repository = find_repository(session, function, values);
    const std::string id = repository ? repository->find_commit(*text) : "";
    if (id.empty()) continue;
    throw host::UsageError(function, "'" + *text + "' is a name, and " +
                                         std::string(parameter.name) +
                                         " takes the whole id of a commit: " + id);
  }
}

// The functions cut decimals off, which nobody means who types them.
void refuse_fractions(const host::Function& function, std::span<const host::Value> values) {
  std::size_t i = 0;
  for (const host::Parameter& parameter : function.parameters) {
    if (parameter.kind == host::Kind::kOutput || i == values.size()) continue;
    const double* number = std::get_if<double>(&values[i++]);
    if (!number || std::trunc(*number) == *number) continue;
    throw host::UsageError(function, "argument " + std::to_string(i) + " (" +
                                         std::string(parameter.name) + ") must be a whole number");
  }
}

// The commit that do_commit is to move on from; empty for other functions.
std::string commit_to_move(Session& session, const host::Function& function,
                           std::span<const host::Value> values) {
  if (function.name != "do_commit") return {};
  const auto repository = find_repository(session, function, values);
  return repository ? repository->find_commit(*find_text(function, values, "reference")) : "";
}

// Whether the commit was made, which the return code of do_commit does not tell.
bool is_commit_made(Session& session, const host::Function& function,
                    std::span<const host::Value> values, const std::string& before) {
  if (function.name != "do_commit" || commit_to_move(session, function, values) != before) {
    return true;
  }
  std::fprintf(stderr, "uwugit: no commit was made\n");
  return false;
}

// A folder inside a repository is not the repository to the functions.
void tell_repository(Session& session, const host::Function& function,
                     std::span<const host::Value> values) {
  const auto repository = find_repository(session, function, values);
  const std::string* place = find_text(function, values, "repository");
  if (!repository || std::filesystem::equivalent(*place, repository->path())) return;
  std::fprintf(stderr, "uwugit: the repository of '%s' is '%s'\n", place->c_str(),
               repository->path().c_str());
}

void show(const host::Outcome& outcome) {
  std::printf("return code: %s\n", outcome.code_text().c_str());
  if (outcome.result.returned != 0) std::printf("returned: %d\n", outcome.result.returned);
  for (const host::OutputValue& output : outcome.outputs) {
    std::printf("%.*s: ", static_cast<int>(output.name.size()), output.name.data());
    std::fwrite(output.text.data(), 1, output.text.size(), stdout);
    std::printf("\n");
  }
  std::fflush(stdout);
}

}  // namespace

int call_function(const SessionOptions& options, const std::string& name,
                  std::span<const std::string> words) {
  const host::Function& function = require_function(name);
  const std::vector<host::Value> values = host::values_from_words(function, words);
  refuse_fractions(function, values);
  Session session(options);
  refuse_names(session, function, values);
  const std::string before = commit_to_move(session, function, values);
  const host::Outcome outcome = session.call(function, values);
  show(outcome);
  if (!outcome.is_success) tell_repository(session, function, values);
  return outcome.is_success && is_commit_made(session, function, values, before) ? kExitSuccess
                                                                                 : kExitFailure;
}

}  // namespace uwugit::runner
