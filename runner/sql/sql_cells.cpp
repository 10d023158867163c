#include "sql/sql_cells.h"

#include <algorithm>

#include "format/writer.h"

namespace uwugit::runner {
namespace {

// Most texts are, and need no look at each character.
bool is_ascii(std::string_view text) {
  unsigned char all = 0;
  for (const char c : text) all |= static_cast<unsigned char>(c);
  return all < 0x80;
}

}  // namespace

bool is_sql_text(host::ColumnType type) {
  return type == host::ColumnType::kText || type == host::ColumnType::kIds;
}

host::Cell sql_cell(host::ColumnType type, const host::Cell& cell, std::string* room) {
  if (cell.is_null || !is_sql_text(type)) return cell;
  if (type == host::ColumnType::kIds) {
    room->assign(cell.text);
    std::replace(room->begin(), room->end(), ',', ' ');
    return {false, 0, *room};
  }
  if (is_ascii(cell.text)) return cell;
  room->clear();
  append_utf8(*room, cell.text);
  return {false, 0, *room};
}

}  // namespace uwugit::runner
