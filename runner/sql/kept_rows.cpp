#include "sql/kept_rows.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>

#include "sql/sql_cells.h"

namespace uwugit::runner {
namespace {

constexpr std::size_t kBlock = 1 << 20;
constexpr char kNumber[] = "";  // stands where a number has no text

}  // namespace

KeptRows::KeptRows(std::span<const host::Column> columns, std::uint64_t used)
    : columns_(columns), slot_of_column_(columns.size()) {
  for (std::size_t column = 0; column < columns.size(); ++column) {
    slot_of_column_[column] = used_.size();
    if (used >> column & 1) used_.push_back(column);
  }
}

// A text that is the same as in the row before, as an id often is, is kept once.
void KeptRows::add(host::RowReader& row) {
  if (size_ == kNone) throw host::RepositoryError("there are too many rows");
  for (const std::size_t column : used_) {
    const host::ColumnType type = columns_[column].type;
    const host::Cell cell = sql_cell(type, row.cell(column), &converted_);
    if (cell.is_null) {
      cells_.push_back({nullptr, 0});
    } else if (!is_sql_text(type)) {
      cells_.push_back({kNumber, cell.number});
    } else {
      const host::Cell last = size_ > 0 ? this->cell(size_ - 1, column) : host::Cell{};
      const bool is_same = !last.is_null && last.text == cell.text;
      cells_.push_back({is_same ? last.text.data() : keep(cell.text),
                        static_cast<std::int64_t>(cell.text.size())});
    }
  }
  ++size_;
}

const char* KeptRows::keep(std::string_view text) {
  if (text.size() > room_left_ || !room_) {
    room_left_ = std::max(kBlock, text.size());
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(room_left_));
    room_ = blocks_.back().get();
  }
  char* const kept = room_;
  std::copy(text.begin(), text.end(), kept);
  room_ += text.size();
  room_left_ -= text.size();
  return kept;
}

host::Cell KeptRows::cell(std::uint32_t row, std::size_t column) const {
  const Kept& kept = cells_[std::size_t{row} * used_.size() + slot_of_column_[column]];
  if (!kept.text) return {};
  if (!is_sql_text(columns_[column].type)) return {false, kept.number, {}};
  return {false, 0, {kept.text, static_cast<std::size_t>(kept.number)}};
}

// Made at the first use. The last row comes first, so that each chain is in the order of the rows.
const KeptRows::Index& KeptRows::index_of(std::size_t column) {
  Index& index = indexes_[column];
  if (!index.heads.empty()) return index;
  index.heads.assign(std::bit_ceil(std::size_t{size_} + 1), kNone);
  index.nexts.assign(size_, kNone);
  for (std::uint32_t row = size_; row-- > 0;) {
    const host::Cell key = cell(row, column);
    if (key.is_null) continue;
    std::uint32_t& head =
        index.heads[std::hash<std::string_view>()(key.text) & (index.heads.size() - 1)];
    index.nexts[row] = head;
    head = row;
  }
  return index;
}

// The first row of a chain, from this one on, whose text it is.
std::uint32_t KeptRows::match(std::size_t column, std::string_view text, const Index& index,
                              std::uint32_t row) const {
  while (row != kNone && cell(row, column).text != text) row = index.nexts[row];
  return row;
}

std::uint32_t KeptRows::find_first(std::size_t column, std::string_view text) {
  const Index& index = index_of(column);
  const std::size_t place = std::hash<std::string_view>()(text) & (index.heads.size() - 1);
  return match(column, text, index, index.heads[place]);
}

std::uint32_t KeptRows::find_next(std::size_t column, std::uint32_t row) {
  const Index& index = index_of(column);
  return match(column, cell(row, column).text, index, index.nexts[row]);
}

}  // namespace uwugit::runner
