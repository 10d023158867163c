// The C interface: an adapter of the library's classes. Exceptions end in attempt().
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <memory>

#include "uwugithost/call.h"
#include "uwugithost/repository.h"
#include "uwugithost/rows.h"

#pragma GCC visibility push(default)  // all that the shared library exports
#include "uwugithost/uwugithost.h"
#pragma GCC visibility pop

namespace host = uwugit::host;
namespace fs = std::filesystem;

namespace {

// In the processes that compare commits there is nobody to be told.
struct ProgressTeller : host::CallObserver {
  void begin(const host::Function& function) noexcept override {
    told = {function.name.data(), "", 0, 0, 0};
    is_ended = false;
    is_in_worker = getpid() != process;
  }
  bool go_on(const uwugit::WorkProgress& progress) noexcept override {
    if (is_in_worker) return true;
    if (progress.stage != uwugit::WorkStage::kAsBefore) {
      told = {told.function, host::describe(progress.stage), progress.done, progress.total,
              progress.bytes};
    }
    const bool is_to_end = callback(context, &told) != 0;
    if (is_to_end && progress.can_end) is_ended = true;
    return !is_to_end;
  }
  bool end() noexcept override { return !is_ended; }

  uwugithost_progress_callback* callback = nullptr;
  void* context = nullptr;
  pid_t process = 0;  // in which the callback was given
  uwugithost_progress told{};
  bool is_ended = false;
  bool is_in_worker = false;
};

}  // namespace

struct uwugithost {
  explicit uwugithost(const host::SearchLists& lists, const fs::path& module_file)
      : host(lists), module(module_file, host.control_block()) {}

  ProgressTeller progress;
  host::Host host;
  host::FunctionModule module;
  host::Log::Sink sink;  // empty: lines go to stderr
  std::size_t open_rows = 0;
};

struct uwugithost_outcome {
  host::Outcome outcome;
  std::string meaning;
  std::vector<std::string> names;  // of the outputs, with a NUL behind each
};

struct uwugithost_rows {
  uwugithost_rows(uwugithost& its_owner, const host::RowSet& its_set)
      : owner(its_owner), set(its_set), texts(set.columns.size()) {
    for (const host::Column& column : set.columns) names.emplace_back(column.name);
    ++owner.open_rows;
  }
  ~uwugithost_rows() { --owner.open_rows; }

  uwugithost& owner;
  const host::RowSet& set;
  std::unique_ptr<host::RowReader> reader;
  bool is_at_row = false;
  std::vector<std::string> names;  // of the columns, with a NUL behind each
  std::vector<std::string> texts;  // of this row, with a NUL behind each
};

namespace {

thread_local char last_error[4096];

uwugithost_code fail(uwugithost_code code, const char* why) {
  std::snprintf(last_error, sizeof last_error, "%s", why);
  return code;
}

template <class Work>
uwugithost_code attempt(Work work) noexcept try {
  work();
  return UWUGITHOST_OK;
} catch (const host::UsageError& error) {
  return fail(UWUGITHOST_USAGE, error.what());
} catch (const host::Interrupted& error) {
  return fail(UWUGITHOST_INTERRUPTED, error.what());
} catch (const host::RepositoryError& error) {
  return fail(UWUGITHOST_REPOSITORY, error.what());
} catch (const std::exception& error) {
  return fail(UWUGITHOST_FAILURE, error.what());
} catch (...) {
  return fail(UWUGITHOST_FAILURE, "something failed, and it does not tell what");
}

void require(bool is_right, const char* otherwise) {
  if (!is_right) throw host::UsageError(otherwise);
}

void require_texts(std::initializer_list<const char*> texts) {
  for (const char* text : texts) require(text, "a text is missing: it is a null pointer");
}

// Opening rows captures the log and then puts the default in place, so that the sink is set before
// everything that may write a line.
void begin(uwugithost* owner) {
  require(owner, "there is no host: it is a null pointer");
  if (owner->sink) {
    owner->host.log().set_sink(owner->sink);
  } else {
    owner->host.log().reset_sink();
  }
}

// One row of a table of keys, and what is made of its value.
template <class Record>
struct Key {
  std::string_view name;
  void (*take)(Record& record, std::string_view value);
};

template <class Record, std::size_t count>
Record read_pairs(const char* const* pairs, const Key<Record> (&keys)[count], Record record) {
  for (; pairs && *pairs; pairs += 2) {
    const auto* key = std::begin(keys);
    while (key != std::end(keys) && key->name != *pairs) ++key;
    if (key == std::end(keys)) {
      throw host::UsageError("there is no option '" + std::string(*pairs) + "'");
    }
    if (!pairs[1]) throw host::UsageError("the option '" + std::string(*pairs) + "' has no value");
    try {
      key->take(record, pairs[1]);
    } catch (const host::UsageError& error) {
      throw host::UsageError("the option '" + std::string(*pairs) + "' " + error.what());
    }
  }
  return record;
}

struct Settings {
  std::string module_file;
  host::SearchLists lists;
};

template <auto list>
void take_folders(Settings& settings, std::string_view value) {
  settings.lists.*list = host::split_path_list(value);
}
constexpr Key<Settings> kSettings[] = {
    {"module", [](Settings& settings, std::string_view file) { settings.module_file = file; }},
    {"system-path", take_folders<&host::SearchLists::system>},
    {"extension-path", take_folders<&host::SearchLists::extension>},
    {"install-path", take_folders<&host::SearchLists::install>},
};

using host::RowQuery;

template <auto member>
void take_text(RowQuery& query, std::string_view value) {
  query.*member = value;
}

template <auto member>
void take_flag(RowQuery& query, std::string_view value) {
  require(value == "true" || value == "false", "must be \"true\" or \"false\"");
  query.*member = value == "true";
}

template <auto member>
void take_number(RowQuery& query, std::string_view value) {
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, query.*member);
  require(error == std::errc() && stop == end, "must be a whole number");
}

constexpr Key<RowQuery> kQueryKeys[] = {
    {"author", take_text<&RowQuery::author>}, {"branch", take_flag<&RowQuery::is_current_branch>},
    {"first", take_text<&RowQuery::first>},   {"grep", take_text<&RowQuery::text>},
    {"id", take_text<&RowQuery::id>},         {"jobs", take_number<&RowQuery::jobs>},
    {"limit", take_number<&RowQuery::limit>}, {"merges", take_flag<&RowQuery::merges>},
    {"path", take_text<&RowQuery::path>},     {"second", take_text<&RowQuery::second>},
    {"since", take_number<&RowQuery::since>}, {"staged", take_flag<&RowQuery::is_staged>},
    {"until", take_number<&RowQuery::until>},
};

// The file that this code is in: the shared library, or a program that holds the static one, whose
// name the linker does not keep.
fs::path own_file() {
  Dl_info info{};
  void* loaded = nullptr;
  dladdr1(reinterpret_cast<void*>(&own_file), &info, &loaded, RTLD_DL_LINKMAP);
  const char* name = loaded ? static_cast<link_map*>(loaded)->l_name : "";
  std::error_code error;  // without a file the settings must tell the module
  return fs::canonical(*name ? name : "/proc/self/exe", error);
}

// The folder of the module and its companion, as seen from there: from a library in lib or in a
// folder of lib, or from a program in bin.
fs::path library_folder() {
  const fs::path here = own_file().parent_path();
  std::error_code error;
  for (const char* place : {"uwugit", "../uwugit", "../lib/uwugit"}) {
    fs::path folder = fs::canonical(here / place, error);
    if (fs::exists(folder / "uwugit_p.so", error)) return folder;
  }
  return here / "uwugit";
}

host::Value value_of(const uwugithost_value& value) {
  if (value.text) return std::string(value.text);
  return value.number;
}

uwugithost_cell cell_of(const host::Cell& cell, std::string& room) {
  room.assign(cell.text);
  return {cell.is_null, cell.number, room.c_str(), room.size()};
}

}  // namespace

const char* uwugithost_version() { return UWUGIT_VERSION; }

const char* uwugithost_last_error() { return last_error; }

uwugithost_code uwugithost_open(const char* const settings[], uwugithost** opened) {
  return attempt([=] {
    require(opened, "there is no place for the host");
    *opened = nullptr;
    require(!host::Host::current(), "this process has a host already");
    const fs::path folder = library_folder();
    const Settings given = read_pairs(
        settings, kSettings,
        {(folder / "uwugit_p.so").string(), host::SearchLists::from_environment(folder)});
    *opened = new uwugithost(given.lists, given.module_file);
  });
}

uwugithost_code uwugithost_close(uwugithost* owner) {
  return attempt([=] {
    require(!owner || owner->open_rows == 0, "rows of this host are still open");
    delete owner;
  });
}

uwugithost_code uwugithost_on_log(uwugithost* owner, uwugithost_log_callback* callback,
                                  void* context) {
  return attempt([=] {
    begin(owner);
    owner->sink = {};
    if (!callback) return;
    owner->sink = [=](const host::LogLine& line) {
      callback(context, line.level, line.text.c_str());
    };
  });
}

uwugithost_code uwugithost_on_progress(uwugithost* owner, uwugithost_progress_callback* callback,
                                       void* context) {
  return attempt([=] {
    begin(owner);
    owner->progress.callback = callback;
    owner->progress.context = context;
    owner->progress.process = getpid();
    owner->host.set_observer(callback ? &owner->progress : nullptr);
  });
}

uwugithost_code uwugithost_call(uwugithost* owner, const char* function,
                                const uwugithost_value values[], size_t count,
                                uwugithost_outcome** outcome) {
  return attempt([=] {
    require(outcome, "there is no place for the outcome");
    *outcome = nullptr;
    begin(owner);
    require_texts({function});
    require(values || count == 0, "the values are a null pointer");
    const host::Function* found = host::find_function(function);
    if (!found) throw host::UsageError("there is no function '" + std::string(function) + "'");
    std::vector<host::Value> given;
    for (std::size_t i = 0; i < count; ++i) given.push_back(value_of(values[i]));
    auto made = std::make_unique<uwugithost_outcome>();
    made->outcome = call_function(owner->host, owner->module, *found, given);
    const host::ResultRow* row = find_result(*found, made->outcome.result);
    if (row) made->meaning = row->meaning;
    for (const auto& output : made->outcome.outputs) made->names.emplace_back(output.name);
    *outcome = made.release();
  });
}

int uwugithost_outcome_is_success(const uwugithost_outcome* outcome) {
  return outcome->outcome.is_success;
}

int uwugithost_outcome_code(const uwugithost_outcome* outcome, double* code) {
  const host::CallResult& result = outcome->outcome.result;
  if (!result.is_unchanged) *code = result.code;
  return !result.is_unchanged;
}

const char* uwugithost_outcome_meaning(const uwugithost_outcome* outcome) {
  return outcome->meaning.c_str();
}

size_t uwugithost_outcome_outputs(const uwugithost_outcome* outcome) {
  return outcome->names.size();
}

const char* uwugithost_outcome_output_name(const uwugithost_outcome* outcome, size_t output) {
  return output < outcome->names.size() ? outcome->names[output].c_str() : nullptr;
}

const char* uwugithost_outcome_output(const uwugithost_outcome* outcome, size_t output,
                                      size_t* length) {
  if (output >= outcome->names.size()) return nullptr;
  const std::string& text = outcome->outcome.outputs[output].text;
  if (length) *length = text.size();
  return text.c_str();
}

void uwugithost_outcome_free(uwugithost_outcome* outcome) { delete outcome; }

uwugithost_code uwugithost_rows_open(uwugithost* owner, const char* set, const char* place,
                                     const char* const options[], uwugithost_rows** rows) {
  return attempt([=] {
    require(rows, "there is no place for the rows");
    *rows = nullptr;
    begin(owner);
    require_texts({set, place});
    const host::RowSet* found = host::find_row_set(set);
    if (!found) throw host::UsageError("there is no set of rows '" + std::string(set) + "'");
    const RowQuery query = read_pairs(options, kQueryKeys, RowQuery());
    auto made = std::make_unique<uwugithost_rows>(*owner, *found);
    made->reader = found->open(host::Repository(owner->host, owner->module, place), query);
    *rows = made.release();
  });
}

size_t uwugithost_rows_columns(const uwugithost_rows* rows) { return rows->names.size(); }

const char* uwugithost_rows_column_name(const uwugithost_rows* rows, size_t column) {
  return column < rows->names.size() ? rows->names[column].c_str() : nullptr;
}

uwugithost_type uwugithost_rows_column_type(const uwugithost_rows* rows, size_t column) {
  if (column >= rows->names.size()) return UWUGITHOST_TEXT;
  switch (rows->set.columns[column].type) {
    case host::ColumnType::kFlag:
      return UWUGITHOST_FLAG;
    case host::ColumnType::kNumber:
      return UWUGITHOST_NUMBER;
    case host::ColumnType::kTime:
      return UWUGITHOST_TIME;
    case host::ColumnType::kIds:
      return UWUGITHOST_IDS;
    case host::ColumnType::kText:
    case host::ColumnType::kAny:
      break;
  }
  return UWUGITHOST_TEXT;
}

size_t uwugithost_rows_find(const uwugithost_rows* rows, const char* column) {
  const int place = column ? rows->set.find(column) : -1;
  return place < 0 ? rows->names.size() : static_cast<std::size_t>(place);
}

uwugithost_code uwugithost_rows_next(uwugithost_rows* rows) {
  const uwugithost_code code = attempt([=] {
    require(rows, "there are no rows: it is a null pointer");
    rows->is_at_row = false;
    begin(&rows->owner);
    rows->is_at_row = rows->reader->next();
  });
  return code == UWUGITHOST_OK && !rows->is_at_row ? UWUGITHOST_END : code;
}

uwugithost_code uwugithost_rows_cell(uwugithost_rows* rows, size_t column, uwugithost_cell* cell) {
  return attempt([=] {
    require(rows && cell, "there are no rows, or no place for the value");
    require(rows->is_at_row, "there is no row: uwugithost_rows_next comes first");
    require(column < rows->texts.size(), "there is no such column");
    begin(&rows->owner);
    *cell = cell_of(rows->reader->cell(column), rows->texts[column]);
  });
}

void uwugithost_rows_close(uwugithost_rows* rows) { delete rows; }
