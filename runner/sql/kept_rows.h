// Rows that are kept in memory, because a statement reads them more than once or because their
// reader has to make room for another.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "uwugithost/rows.h"

namespace uwugit::runner {

class KeptRows {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // `used` has a bit for each column that is kept.
  KeptRows(std::span<const host::Column> columns, std::uint64_t used);

  void add(host::RowReader& row);
  std::uint32_t size() const { return size_; }
  // As SQL has it.
  host::Cell cell(std::uint32_t row, std::size_t column) const;

  // The rows whose column has that text, in their order; kNone when there are no more. Not after a
  // row is added.
  std::uint32_t find_first(std::size_t column, std::string_view text);
  std::uint32_t find_next(std::size_t column, std::uint32_t row);

 private:
  // Chains of the rows whose texts have the same hash.
  struct Index {
    std::vector<std::uint32_t> heads;
    std::vector<std::uint32_t> nexts;
  };
  struct Kept {
    const char* text;     // null: no value
    std::int64_t number;  // of a text: its length
  };

  const Index& index_of(std::size_t column);
  std::uint32_t match(std::size_t column, std::string_view text, const Index& index,
                      std::uint32_t row) const;
  const char* keep(std::string_view text);

  std::span<const host::Column> columns_;
  std::vector<std::size_t> used_;            // the columns that are kept
  std::vector<std::size_t> slot_of_column_;  // the place among them
  std::vector<Kept> cells_;
  std::vector<std::unique_ptr<char[]>> blocks_;  // of texts
  char* room_ = nullptr;                         // in the last block
  std::size_t room_left_ = 0;
  std::uint32_t size_ = 0;
  std::map<std::size_t, Index> indexes_;  // by column
  std::string converted_;
};

}  // namespace uwugit::runner
