// The catalogue in words: usage lines, help, Markdown and the manual page.
#include <cmath>
#include <string>

#include "uwugithost/catalogue.h"

namespace uwugit::host {
namespace {

// What holds for all functions.
constexpr std::string_view kPreface[] = {
    "Each function answers a return code. A code that a function leaves alone is shown as "
    "\"unchanged\".",
    "Outputs are character variables of the caller; the command and Lua programs get them back as "
    "extra results instead of giving them.",
    "A row \"returned 1\" tells of the function's own integer result; Lua programs get it where "
    "the "
    "return code is left alone.",
    "A number counts as a whole number of 32 bits: its decimals are cut off, one that is too large "
    "or too small counts as the largest or the lowest, and one that is missing (NaN) as the "
    "lowest.",
};

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

std::string success_text(const ResultRow& row) { return row.is_success ? "success" : "failure"; }

std::string padded(std::string_view text, std::size_t width) {
  std::string field(text);
  if (field.size() < width) field.append(width - field.size(), ' ');
  return field;
}

// Columns of the help in a terminal: wide enough for the longest name, and for the longest kind.
constexpr std::size_t kNameWidth = 21;
constexpr std::size_t kKindWidth = 28;

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

bool is_registered(const Function& function) { return !function.registered_name.empty(); }

std::string registration(const Function& function, std::string_view quote) {
  return "Also registered as " + std::string(quote) + std::string(function.registered_name) +
         std::string(quote) + ".";
}

std::string markdown_of(const Function& function) {
  std::string text = "\n## " + std::string(function.name) + "\n\n```\n" + usage(function) +
                     "\n```\n\n" + std::string(function.summary);
  if (!function.details.empty()) text += " " + std::string(function.details);
  if (is_registered(function)) text += " " + registration(function, "`");
  text += "\n";
  if (!function.parameters.empty()) text += "\n| argument | kind | meaning |\n|---|---|---|\n";
  for (const Parameter& parameter : function.parameters) {
    text += "| `" + std::string(parameter.name) + "` | " + kind_text(parameter) + " | " +
            cell(explain(parameter)) + " |\n";
  }
  text += "\n| return code | | meaning |\n|---|---|---|\n";
  for (const ResultRow& row : function.results) {
    text += "| " + code_text(row) + " | " + success_text(row) + " | " + cell(row.meaning) + " |\n";
  }
  return text + "\n```lua\n" + std::string(function.example) + "\n```\n";
}

std::string manual_of(const Function& function) {
  std::string text = ".SH " + roff(function.name) + "\n.B " + roff(usage(function)) + "\n.PP\n" +
                     roff(function.summary) + "\n" + roff(function.details) + "\n";
  if (is_registered(function)) text += roff(registration(function, "")) + "\n";
  for (const Parameter& parameter : function.parameters) {
    text += ".TP\n.I " + roff(parameter.name) + "\n(" + kind_text(parameter) + ") " +
            roff(explain(parameter)) + "\n";
  }
  text += ".PP\nReturn codes:\n";
  for (const ResultRow& row : function.results) {
    text += ".TP\n.B " + roff(code_text(row)) + "\n(" + success_text(row) + ") " +
            roff(row.meaning) + "\n";
  }
  return text + ".PP\n.EX\n" + roff(function.example) + "\n.EE\n";
}

}  // namespace

std::string explain(const Parameter& parameter) {
  std::string text;
  for (std::size_t i = 0; i < parameter.words.size(); ++i) {
    if (i > 0) text += i + 1 < parameter.words.size() ? ", " : " or ";
    text += parameter.words[i];
  }
  if (!parameter.words.empty())
    text += parameter.meaning.empty() ? ", in any case" : ", in any case, ";
  return text + std::string(parameter.meaning);
}

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
  if (is_registered(function)) text += registration(function, "") + "\n";
  if (!function.parameters.empty()) text += "\nArguments\n";
  for (const Parameter& parameter : function.parameters) {
    text += "  " + padded(parameter.name, kNameWidth) + padded(kind_text(parameter), kKindWidth) +
            explain(parameter) + "\n";
  }
  text += "\nReturn codes\n";
  for (const ResultRow& row : function.results) {
    text += "  " + padded(code_text(row), kNameWidth) + padded(success_text(row), kKindWidth) +
            std::string(row.meaning) + "\n";
  }
  return text + "\nExample\n  " + std::string(function.example) + "\n";
}

std::string catalogue_as_markdown() {
  std::string text =
      "# The functions\n\n"
      "Made from the host's function catalogue by `uwugit functions --markdown`; edit that, not "
      "this.\n";
  for (const std::string_view paragraph : kPreface) text += "\n" + std::string(paragraph) + "\n";
  for (const Function& function : catalogue()) text += markdown_of(function);
  return text;
}

std::string catalogue_as_manual_page(std::string_view version) {
  std::string text = ".TH UWUGIT\\-FUNCTIONS 7 \"\" \"uwugit " + std::string(version) +
                     "\" \"uwugit\"\n.SH NAME\nuwugit\\-functions \\- the git functions of uwugit\n"
                     ".SH DESCRIPTION\n";
  for (const std::string_view paragraph : kPreface) text += roff(paragraph) + "\n.PP\n";
  for (const Function& function : catalogue()) text += manual_of(function);
  return text;
}

}  // namespace uwugit::host
