// The readers of the sets of rows, and what they share.
#pragma once

#include <vector>

#include "uwugithost/arguments.h"
#include "uwugithost/rows.h"

namespace uwugit::host {

// The functions of the module that list, read and free one kind of result.
struct Listing {
  std::string_view list;
  std::string_view read;
  std::string_view free;
};

// Calls a function of the module with its log captured. Throws RepositoryError with the errors of
// the log when it fails: by its return code, or, where `is_log_decisive`, by an error in the log.
double call_or_throw(const Repository& repository, std::string_view function,
                     std::span<const std::string> texts, bool is_log_decisive);

// Reads one attribute of numbered entries again and again, by one argument block.
class AttributeReader {
 public:
  AttributeReader(const Repository& repository, std::string_view function,
                  std::span<const std::string> keys, std::string_view attribute);
  // Until the next one. Whole, however long it is.
  std::string_view read(std::uint64_t number);

 private:
  bool read_into(std::size_t capacity, std::size_t* wanted);

  Host& host_;
  HostFunction* function_;
  Arguments arguments_;
  const HostArgumentBlock* block_;
  std::size_t output_;
  std::string storage_;
};

// The entries of a listing. The attributes of an entry are read when a column asks for them.
class ListedRows : public RowReader {
 public:
  ListedRows(const Repository& repository, const Listing& listing, std::vector<std::string> keys,
             std::span<const Column> columns);
  ~ListedRows() override;
  bool next() override;
  Cell cell(std::size_t column) override;

  std::uint64_t count() const { return count_; }
  // Stands on that entry, 0 for the place before the first.
  void seek(std::uint64_t number) { number_ = number; }

 private:
  std::string name_in_use() const;

  struct Attribute {
    AttributeReader reader;
    std::uint64_t number;  // of the entry that was read
    std::string_view value;
  };

  const Repository repository_;
  Listing listing_;
  std::vector<std::string> keys_;
  std::span<const Column> columns_;
  std::vector<Attribute> attributes_;
  std::vector<std::size_t> attribute_of_column_;
  std::vector<std::string> rooms_;  // of columns that are worked out
  std::uint64_t count_ = 0;
  std::uint64_t number_ = 0;
};

// What columns make of an attribute's text.
Cell as_text(std::string_view text, std::string* room);
Cell as_lower_case(std::string_view text, std::string* room);
Cell as_flag(std::string_view text, std::string* room);
Cell as_number(std::string_view text, std::string* room);
Cell as_date(std::string_view text, std::string* room);

std::unique_ptr<RowReader> open_status(const Repository& repository, const RowQuery& query);
std::unique_ptr<RowReader> open_commits(const Repository& repository, const RowQuery& query);
std::unique_ptr<RowReader> open_parents(const Repository& repository, const RowQuery& query);
std::unique_ptr<RowReader> open_refs(const Repository& repository, const RowQuery& query);
std::unique_ptr<RowReader> open_files(const Repository& repository, const RowQuery& query);
std::unique_ptr<RowReader> open_lines(const Repository& repository, const RowQuery& query);
std::unique_ptr<RowReader> open_changes(const Repository& repository, const RowQuery& query);

extern const std::span<const Column> kStatusColumns, kCommitColumns, kParentColumns, kRefColumns,
    kFileColumns, kLineColumns, kChangeColumns;

}  // namespace uwugit::host
