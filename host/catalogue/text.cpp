// The catalogue in words: usage lines, help, Markdown and the manual page.
#include <cmath>
#include <string>

#include "uwugithost/catalogue.h"

namespace uwugit::host {
namespace {

std::string code_text(const ResultRow& row) {
  switch (row.match) {
    case ResultMatch::kExactly:
      return std::to_string(std::lround(row.value));
    case ResultMatch::kCount:
      return "0 or more";
    case ResultMatch::kUnchanged:
      return "unchanged";
    case ResultMatch::kReturned:
      return "returned " + std::to_string(std::lround(row.value));
    case ResultMatch::kOther:
      return "other";
  }
  return "";
}

std::string kind_text(const Parameter& parameter) {
  std::string text = parameter.kind == Kind::kText     ? "text"
                     : parameter.kind == Kind::kNumber ? "number"
                                                       : "output";
  if (parameter.is_optional) text += ", optional";
  if (parameter.is_repeated) text += ", repeatable";
  return text;
}

std::string padded(std::string_view text, std::size_t width) {
  std::string field(text);
  if (field.size() < width) field.append(width - field.size(), ' ');
  return field;
}

// Roff reads a leading dot or quote as a command, and a plain hyphen as a typographical one.
std::string roff(std::string_view text) {
  std::string escaped;
  bool is_line_start = true;
  for (const char c : text) {
    if (is_line_start && (c == '.' || c == '\'')) escaped += "\\&";
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
    is_line_start = c == '\n';
  }
  return escaped;
}

// A bar would end a table's cell.
std::string cell(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '|') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace

std::string usage(const Function& function) {
  std::string text(function.name);
  text += '(';
  std::string outputs;
  bool is_first = true;
  bool is_repeated = false;
  for (const Parameter& parameter : function.parameters) {
    if (parameter.kind == Kind::kOutput) {
      outputs += ", " + std::string(parameter.name);
      continue;
    }
    if (!is_first) text += ", ";
    is_first = false;
    text += parameter.is_optional ? "[" + std::string(parameter.name) + "]" : parameter.name;
    is_repeated = is_repeated || parameter.is_repeated;
  }
  if (is_repeated) text += ", ...";
  return text + ") -> code" + outputs;
}

std::string describe(const Function& function) {
  std::string text = usage(function) + "\n\n" + std::string(function.summary) + "\n";
  if (!function.details.empty()) text += std::string(function.details) + "\n";
  if (!function.registered_name.empty()) {
    text += "Also registered as " + std::string(function.registered_name) + ".\n";
  }
  if (!function.parameters.empty()) text += "\nArguments\n";
  for (const Parameter& parameter : function.parameters) {
    text += "  " + padded(parameter.name, 14) + padded(kind_text(parameter), 28) +
            std::string(parameter.meaning) + "\n";
  }
  text += "\nReturn codes\n";
  for (const ResultRow& row : function.results) {
    text += "  " + padded(code_text(row), 14) + padded(row.is_success ? "success" : "failure", 20) +
            std::string(row.meaning) + "\n";
  }
  return text + "\nExample\n  " + std::string(function.example) + "\n";
}

std::string catalogue_as_markdown() {
  std::string text =
      "# The functions\n\n"
      "Made from the host's function catalogue by `uwugit functions --markdown`; edit that, not "
      "this.\n\n"
      "Each function answers a return code. A code that a function leaves alone is shown as\n"
      "\"unchanged\". Outputs are character variables of the caller; the command and Lua programs "
      "get\n"
      "them back as extra results instead of giving them.\n\n"
      "A row \"returned 1\" tells of the function's own integer result; Lua programs get it where "
      "the\n"
      "return code is left alone.\n";
  for (const Function& function : catalogue()) {
    text += "\n## " + std::string(function.name) + "\n\n```\n" + usage(function) + "\n```\n\n" +
            std::string(function.summary);
    if (!function.details.empty()) text += " " + std::string(function.details);
    if (!function.registered_name.empty()) {
      text += " Also registered as `" + std::string(function.registered_name) + "`.";
    }
    text += "\n";
    if (!function.parameters.empty()) text += "\n| argument | kind | meaning |\n|---|---|---|\n";
    for (const Parameter& parameter : function.parameters) {
      text += "| `" + std::string(parameter.name) + "` | " + kind_text(parameter) + " | " +
              cell(parameter.meaning) + " |\n";
    }
    text += "\n| return code | | meaning |\n|---|---|---|\n";
    for (const ResultRow& row : function.results) {
      text += "| " + code_text(row) + " | " + (row.is_success ? "success" : "failure") + " | " +
              cell(row.meaning) + " |\n";
    }
    text += "\n```lua\n" + std::string(function.example) + "\n```\n";
  }
  return text;
}

std::string catalogue_as_manual_page(std::string_view version) {
  std::string text = ".TH UWUGIT\\-FUNCTIONS 7 \"\" \"uwugit " + std::string(version) +
                     "\" \"uwugit\"\n.SH NAME\nuwugit\\-functions \\- the git functions of uwugit\n"
                     ".SH DESCRIPTION\nEach function answers a return code. A code that a function "
                     "leaves alone is shown as \"unchanged\".\n";
  for (const Function& function : catalogue()) {
    text += ".SH " + roff(function.name) + "\n.B " + roff(usage(function)) + "\n.PP\n" +
            roff(function.summary) + "\n" + roff(function.details) + "\n";
    for (const Parameter& parameter : function.parameters) {
      text += ".TP\n.I " + roff(parameter.name) + "\n(" + kind_text(parameter) + ") " +
              roff(parameter.meaning) + "\n";
    }
    text += ".PP\nReturn codes:\n";
    for (const ResultRow& row : function.results) {
      text += ".TP\n.B " + roff(code_text(row)) + "\n" + roff(row.meaning) + "\n";
    }
    text += ".PP\n.EX\n" + roff(function.example) + "\n.EE\n";
  }
  return text;
}

}  // namespace uwugit::host
