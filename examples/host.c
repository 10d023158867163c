/* Shows the status of a repository as a table:  cc host.c -o host -luwugithost && ./host FOLDER */
#include <stdio.h>

#include "uwugithost/uwugithost.h"

static int complain(void) {
  fprintf(stderr, "%s\n", uwugithost_last_error());
  return 1;
}

/* The path comes first in the rows, and last in the table, because it may be long. */
static void print_text(size_t column, const char* text) {
  printf(column == 0 ? "%s\n" : "%-12s", text);
}

/* Flags are "yes" or nothing, all else in this set of rows is text. */
static void print_cell(uwugithost_rows* rows, size_t column) {
  uwugithost_cell cell;
  const char* text = "?";
  if (uwugithost_rows_cell(rows, column, &cell) == UWUGITHOST_OK) {
    const int is_flag = uwugithost_rows_column_type(rows, column) == UWUGITHOST_FLAG;
    text = is_flag ? (cell.number ? "yes" : "") : cell.text;
  }
  print_text(column, text);
}

static int print_status(uwugithost* host, const char* place) {
  uwugithost_rows* rows;
  uwugithost_code code;
  if (uwugithost_rows_open(host, "status", place, NULL, &rows) != UWUGITHOST_OK) return complain();
  const size_t columns = uwugithost_rows_columns(rows);
  for (size_t i = 1; i <= columns; ++i) {
    print_text(i % columns, uwugithost_rows_column_name(rows, i % columns));
  }
  while ((code = uwugithost_rows_next(rows)) == UWUGITHOST_OK) {
    for (size_t i = 1; i <= columns; ++i) print_cell(rows, i % columns);
  }
  uwugithost_rows_close(rows);
  return code == UWUGITHOST_END ? 0 : complain();
}

int main(int argc, char** argv) {
  uwugithost* host;
  if (uwugithost_open(NULL, &host) != UWUGITHOST_OK) return complain();
  const int status = print_status(host, argc > 1 ? argv[1] : ".");
  uwugithost_close(host);
  return status;
}
