#include <charconv>
#include <cstdio>
#include <ctime>
#include <set>

#include "rows/readers.h"
#include "uwugithost/call.h"

namespace uwugit::host {
namespace {

constexpr std::size_t kFirstCapacity = 512;
constexpr std::size_t kKeptCapacity = 64 * 1024;  // what is longer has its room for one row only

// "Return code from GIT is (4). " means nothing to people.
std::string_view without_code(std::string_view text) {
  constexpr std::string_view kStart = "Return code from GIT is (";
  const std::size_t end = text.find("). ");
  return text.starts_with(kStart) && end != text.npos ? text.substr(end + 3) : text;
}

// The errors that a call logged, as one text.
std::string errors_of(const LogCapture& log) {
  std::string text;
  for (const LogLine& line : log.lines()) {
    if (line.level != LogLine::kError) continue;
    if (!text.empty()) text += "; ";
    text += without_code(line.text);
  }
  return text;
}

// The module keeps one result for each repository, as it is named. Readers of the same one at the
// same time name it differently, so that none frees what another one reads.
std::set<std::string>& names_in_use() {
  static std::set<std::string> names;
  return names;
}
constexpr char kAnotherName[] = "/.";

}  // namespace

double call_or_throw(const Repository& repository, std::string_view name,
                     std::span<const std::string> texts, bool is_log_decisive) {
  const Function* function = find_function(name);
  const std::vector<Value> values(texts.begin(), texts.end());
  const LogCapture log(repository.host().log());
  const Outcome outcome = call_function(repository.host(), repository.module(), *function, values);
  const std::string errors = errors_of(log);
  if (!outcome.is_success || (is_log_decisive && !errors.empty())) {
    throw RepositoryError(errors.empty() ? std::string(name) + " failed" : errors);
  }
  return outcome.result.code;
}

AttributeReader::AttributeReader(const Repository& repository, std::string_view function,
                                 std::span<const std::string> keys, std::string_view attribute)
    : host_(repository.host()),
      function_(repository.module().find(std::string(function))),
      storage_(kFirstCapacity, '\0') {
  if (!function_) throw RepositoryError("the module lacks the function " + std::string(function));
  arguments_.number(0);
  for (const std::string& key : keys) arguments_.text(key);
  arguments_.text(attribute);
  output_ = arguments_.count();
  arguments_.output(0);
  block_ = arguments_.block();
}

bool AttributeReader::read_into(std::size_t capacity, std::size_t* wanted) {
  if (storage_.size() < capacity) storage_.resize(capacity);
  HostString& variable = arguments_.string(output_);
  variable.characters = storage_.data();
  variable.capacity = static_cast<std::int32_t>(capacity);
  variable.length = 0;
  host_.call(function_, block_);
  const Formatted& formatted = host_.last_formatted();
  *wanted = formatted.characters == storage_.data() ? formatted.length : 0;
  return *wanted <= capacity;
}

std::string_view AttributeReader::read(std::uint64_t number) {
  arguments_.number_at(0) = static_cast<double>(number);
  std::size_t wanted = 0;
  const std::size_t kept = std::min(storage_.size(), kKeptCapacity);
  if (!read_into(kept, &wanted)) read_into(wanted, &wanted);
  return {storage_.data(), wanted};
}

ListedRows::ListedRows(const Repository& repository, const Listing& listing,
                       std::vector<std::string> keys, std::span<const Column> columns)
    : repository_(repository),
      listing_(listing),
      keys_(std::move(keys)),
      columns_(columns),
      rooms_(columns.size()) {
  std::vector<std::string_view> names;
  for (const Column& column : columns_) {
    std::size_t place = 0;
    while (place < names.size() && names[place] != column.attribute) ++place;
    if (place == names.size()) names.push_back(column.attribute);
    attribute_of_column_.push_back(place);
  }
  while (!names_in_use().insert(name_in_use()).second) keys_.front() += kAnotherName;
  try {
    count_ = static_cast<std::uint64_t>(call_or_throw(repository_, listing_.list, keys_, true));
  } catch (...) {
    names_in_use().erase(name_in_use());
    throw;
  }
  for (const std::string_view name : names) {
    attributes_.push_back({AttributeReader(repository_, listing_.read, keys_, name), 0, {}});
  }
}

std::string ListedRows::name_in_use() const {
  std::string name(listing_.list);
  for (const std::string& key : keys_) name += '\n' + key;
  return name;
}

ListedRows::~ListedRows() {
  names_in_use().erase(name_in_use());
  try {
    call_or_throw(repository_, listing_.free, keys_, false);
  } catch (const std::exception&) {  // there was nothing, or the run is at its end anyway
  }
}

bool ListedRows::next() {
  if (number_ >= count_) return false;
  ++number_;
  return true;
}

Cell ListedRows::cell(std::size_t column) {
  Attribute& attribute = attributes_[attribute_of_column_[column]];
  if (attribute.number != number_) {
    attribute.value = attribute.reader.read(number_);
    attribute.number = number_;
  }
  return columns_[column].make(attribute.value, &rooms_[column]);
}

Cell as_text(std::string_view text, std::string*) { return {false, 0, text}; }

Cell as_lower_case(std::string_view text, std::string* room) {
  room->assign(text);
  for (char& c : *room) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return {false, 0, *room};
}

Cell as_flag(std::string_view text, std::string*) { return {false, text == "TRUE", {}}; }

Cell as_number(std::string_view text, std::string*) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  Cell cell;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), cell.number);
  cell.is_null = error != std::errc();
  return cell;
}

// A commit can tell of a time that no calendar has.
Cell as_date(std::string_view text, std::string* room) {
  const Cell time = as_number(text, room);
  std::tm parts{};
  if (time.is_null || !gmtime_r(&time.number, &parts)) return {true, 0, {}};
  char date[48];
  const int length =
      std::snprintf(date, sizeof date, "%04ld-%02d-%02d %02d:%02d:%02d", parts.tm_year + 1900L,
                    parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  room->assign(date, static_cast<std::size_t>(length));
  return {false, 0, *room};
}

}  // namespace uwugit::host
