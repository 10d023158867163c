#include "sql/row_source.h"

#include <algorithm>

#include "sql/sql_cells.h"

namespace uwugit::runner {
namespace {

constexpr std::string_view kChanges = "changes";
constexpr std::string_view kRefs = "refs";

// The columns that rows are looked up by.
std::uint64_t key_columns(const host::RowSet& set) {
  std::uint64_t columns = 0;
  for (const std::string_view name : {"id", "path"}) {
    if (const int place = set.find(name); place >= 0) columns |= std::uint64_t{1} << place;
  }
  return columns;
}

// The files that differ between a commit and its first parent, as rows of `changes`.
class ChangesOfCommit : public host::RowReader {
 public:
  ChangesOfCommit(std::string id, const host::RowSet& changes, const host::RowSet& files,
                  std::unique_ptr<host::RowReader> reader)
      : id_(std::move(id)), reader_(std::move(reader)) {
    for (const host::Column& column : changes.columns) places_.push_back(files.find(column.name));
  }

  bool next() override { return reader_->next(); }

  host::Cell cell(std::size_t column) override {
    if (places_[column] < 0) return {false, 0, id_};
    return reader_->cell(static_cast<std::size_t>(places_[column]));
  }

 private:
  std::string id_;
  std::unique_ptr<host::RowReader> reader_;
  std::vector<int> places_;  // among the columns of `files`; -1 for the id
};

// FNV-1a, with a byte between the texts.
std::int64_t hash_of(std::initializer_list<std::string_view> texts) {
  std::uint64_t hash = 0xCBF29CE484222325;
  const auto add = [&hash](unsigned char byte) { hash = (hash ^ byte) * 0x100000001B3; };
  for (const std::string_view text : texts) {
    for (const char c : text) add(static_cast<unsigned char>(c));
    add(0);
  }
  return static_cast<std::int64_t>(hash);
}

}  // namespace

RowScan::RowScan(RowSource& source, const host::RowSet& set) : source_(source), set_(set) {
  source_.scans_.push_back(this);
}

RowScan::~RowScan() { std::erase(source_.scans_, this); }

// Rows are read as they come, unless they will be wanted again: when the statement looks them up by
// changing keys, goes through them for a second time, or has another scan of the same set.
void RowScan::begin(const host::RowQuery& query, std::optional<Key> key) {
  const bool is_again = was_begun_ && query.first == query_.first && query.second == query_.second;
  was_begun_ = true;
  query_ = query;
  key_ = std::move(key);
  end();
  is_at_end_ = is_indexed_ = is_of_module_ = false;
  place_ = first_kept_ = 0;
  const bool is_of_commit =
      key_ && set_.name == kChanges && set_.columns[key_->column].name == "id";
  if (is_of_commit && !source_.has_kept(set_, query_)) {
    reader_ = source_.changes_of(key_->text);
    is_of_module_ = true;
    is_at_end_ = !reader_;
  } else if (is_again || (key_ && !key_->is_constant) || source_.has_kept(set_, query_) ||
             source_.has_other_scan(*this)) {
    kept_ = source_.keep_all(set_, query_);
    is_indexed_ = key_.has_value();
    if (is_indexed_) place_ = kept_->find_first(key_->column, key_->text);
    is_at_end_ = place_ >= kept_->size();
    return;
  } else {
    reader_ = source_.open(set_, query_);
    is_of_module_ = set_.name != kChanges && set_.name != kRefs;
  }
  if (is_at_end_) return;
  place_ = ~std::uint64_t{0};
  next();
}

void RowScan::next() {
  do {
    step();
  } while (!is_at_end_ && !is_wanted());
}

void RowScan::end() {
  is_at_end_ = true;
  reader_.reset();  // frees the module's objects
  kept_.reset();
}

void RowScan::step() {
  if (is_indexed_) {
    place_ = kept_->find_next(key_->column, static_cast<std::uint32_t>(place_));
    is_at_end_ = place_ == KeptRows::kNone;
    return;
  }
  ++place_;
  if (kept_) {
    is_at_end_ = place_ - first_kept_ >= kept_->size();
  } else if (!reader_->next()) {
    end();
  }
}

bool RowScan::is_wanted() { return !key_ || is_indexed_ || cell(key_->column).text == key_->text; }

host::Cell RowScan::cell(std::size_t column) {
  if (kept_) return kept_->cell(static_cast<std::uint32_t>(place_ - first_kept_), column);
  return sql_cell(set_.columns[column].type, reader_->cell(column), &converted_);
}

// The changes of one commit do not know their place among all.
std::int64_t RowScan::row_number() {
  if (set_.name != kChanges) return static_cast<std::int64_t>(place_);
  const std::string id(cell(static_cast<std::size_t>(set_.find("id"))).text);
  return hash_of({id, cell(static_cast<std::size_t>(set_.find("path"))).text});
}

// From the row that the scan stands on.
void RowScan::keep_rest() {
  const auto rows = std::make_shared<KeptRows>(set_.columns, source_.used(set_));
  do {
    rows->add(*reader_);
  } while (reader_->next());
  reader_.reset();
  first_kept_ = place_;
  kept_ = rows;
}

// Looking up the changes of a commit takes its parents.
void RowSource::use(const host::RowSet& set, std::uint64_t columns) {
  used_[&set] |= columns;
  if (set.name != kChanges || columns == 0) return;
  const host::RowSet& commits = *host::find_row_set("commits");
  used_[&commits] |= std::uint64_t{1} << commits.find("parents");
}

std::uint64_t RowSource::used(const host::RowSet& set) const {
  const auto found = used_.find(&set);
  return key_columns(set) | (found == used_.end() ? 0 : found->second);
}

std::unique_ptr<host::RowReader> RowSource::open(const host::RowSet& set,
                                                 const host::RowQuery& query) {
  for (RowScan* scan : scans_) {
    if (set.name != kRefs && scan->reader_ && scan->is_of_module_) scan->keep_rest();
  }
  return set.open(repository_, query);
}

bool RowSource::has_kept(const host::RowSet& set, const host::RowQuery& query) const {
  const auto found = kept_.find(&set);
  return found != kept_.end() && found->second.first == query.first &&
         found->second.second == query.second;
}

// Looking up the changes of a commit goes through the commits as well.
bool RowSource::has_other_scan(const RowScan& scan) const {
  return !scan.set().is_of_two_commits &&
         std::any_of(scans_.begin(), scans_.end(), [&scan](const RowScan* other) {
           return other != &scan &&
                  (&other->set() == &scan.set() ||
                   (scan.set().name == "commits" && other->set().name == kChanges));
         });
}

std::shared_ptr<KeptRows> RowSource::keep_all(const host::RowSet& set,
                                              const host::RowQuery& query) {
  if (has_kept(set, query)) return kept_[&set].rows;
  kept_.erase(&set);
  auto rows = std::make_shared<KeptRows>(set.columns, used(set));
  for (const auto reader = open(set, query); reader->next();) rows->add(*reader);
  kept_[&set] = {query.first, query.second, rows};
  return rows;
}

std::unique_ptr<host::RowReader> RowSource::changes_of(const std::string& id) {
  const host::RowSet& commits = *host::find_row_set("commits");
  const host::RowSet& files = *host::find_row_set("files");
  const auto parents = static_cast<std::size_t>(commits.find("parents"));
  const auto kept = keep_all(commits, {});
  const std::uint32_t row = kept->find_first(static_cast<std::size_t>(commits.find("id")), id);
  if (row == KeptRows::kNone) return nullptr;
  const std::string_view all = kept->cell(row, parents).text;
  host::RowQuery query;
  query.first = all.substr(0, all.find(' '));
  query.second = id;
  return std::make_unique<ChangesOfCommit>(id, *host::find_row_set(kChanges), files,
                                           open(files, query));
}

}  // namespace uwugit::runner
