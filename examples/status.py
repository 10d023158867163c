"""The status of a repository, as a frame of pandas when that is installed, else as plain rows:

    python3 status.py [FOLDER]

The library is found as the system finds libraries, or named by the variable UWUGITHOST_LIBRARY.
"""
import ctypes
import os
import sys

END = 4  # of the codes in uwugithost.h; 0 is success
FLAG, NUMBER, TIME = 1, 2, 3  # of the types of columns; the others are texts


class Cell(ctypes.Structure):
    _fields_ = [("is_null", ctypes.c_int), ("number", ctypes.c_int64),
                ("text", ctypes.c_void_p), ("text_length", ctypes.c_size_t)]


lib = ctypes.CDLL(os.environ.get("UWUGITHOST_LIBRARY", "libuwugithost.so.0"))
lib.uwugithost_last_error.restype = ctypes.c_char_p
lib.uwugithost_rows_columns.restype = ctypes.c_size_t
lib.uwugithost_rows_columns.argtypes = [ctypes.c_void_p]
lib.uwugithost_rows_column_name.restype = ctypes.c_char_p
for column_function in lib.uwugithost_rows_column_name, lib.uwugithost_rows_column_type:
    column_function.argtypes = [ctypes.c_void_p, ctypes.c_size_t]
lib.uwugithost_rows_cell.argtypes = [ctypes.c_void_p, ctypes.c_size_t, ctypes.POINTER(Cell)]


def check(code):
    if code not in (0, END):
        raise RuntimeError(lib.uwugithost_last_error().decode())
    return code


class Host:
    """An open host; it is closed at the end of a `with`."""

    def __enter__(self):
        self.handle = ctypes.c_void_p()
        check(lib.uwugithost_open(None, ctypes.byref(self.handle)))
        return self

    def __exit__(self, *_):
        check(lib.uwugithost_close(self.handle))

    def rows(self, name, place, **options):
        """The names of the columns of a set of rows, and the rows. Options are texts."""
        words = [word.encode() for pair in options.items() for word in pair]
        options = (ctypes.c_char_p * (len(words) + 1))(*words)
        rows = ctypes.c_void_p()
        check(lib.uwugithost_rows_open(self.handle, name.encode(), os.fsencode(place), options,
                                       ctypes.byref(rows)))
        try:
            columns = range(lib.uwugithost_rows_columns(rows))
            types = [lib.uwugithost_rows_column_type(rows, i) for i in columns]
            names = [lib.uwugithost_rows_column_name(rows, i).decode() for i in columns]
            table = []
            while check(lib.uwugithost_rows_next(rows)) != END:
                table.append([self.value(rows, i, types[i]) for i in columns])
            return names, table
        finally:
            lib.uwugithost_rows_close(rows)

    @staticmethod
    def value(rows, column, kind):
        cell = Cell()
        check(lib.uwugithost_rows_cell(rows, column, ctypes.byref(cell)))
        if cell.is_null:
            return None
        if kind in (FLAG, NUMBER, TIME):
            return bool(cell.number) if kind == FLAG else cell.number
        return ctypes.string_at(cell.text, cell.text_length).decode(errors="surrogateescape")


if __name__ == "__main__":
    with Host() as host:
        columns, table = host.rows("status", sys.argv[1] if len(sys.argv) > 1 else ".")
    try:
        import pandas
        print(pandas.DataFrame(table, columns=columns).to_string())
    except ImportError:
        for row in table:
            print(*row, sep="\t")
