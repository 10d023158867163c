/* The git module for programs in C, and in every language that can call C: a host to open, its
   functions to call by name, and results as rows.

   What can fail answers a code, and uwugithost_last_error() then tells why. No other function
   fails. A process has one host at a time, and one thread uses it. Texts that go in and come out
   are bytes that end with a NUL, paths and UTF-8 as git has them; what comes out belongs to the
   library, and each function says for how long it stays. Lists of settings and of options are keys
   and values in turn with a null pointer behind the last one; a null pointer alone is an empty
   list.

   When memory runs out in the module, the process ends with exit status 70, after a line in the
   log. */
#ifndef UWUGITHOST_H
#define UWUGITHOST_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  UWUGITHOST_OK = 0,
  UWUGITHOST_USAGE = 1,      /* the call was wrong: unknown names, arguments that do not fit */
  UWUGITHOST_REPOSITORY = 2, /* it cannot be had from this repository */
  UWUGITHOST_FAILURE = 3,    /* anything else, for example a module that cannot be loaded */
  UWUGITHOST_END = 4,        /* no failure: there are no more rows */
  UWUGITHOST_INTERRUPTED = 5 /* the callback for progress has ended the call */
} uwugithost_code;

typedef struct uwugithost uwugithost;                 /* a host with the git module loaded */
typedef struct uwugithost_outcome uwugithost_outcome; /* what a call of a function gave */
typedef struct uwugithost_rows uwugithost_rows;       /* rows, while one goes through them */

/* The version of the library, as in "1.2.3". It stays. */
const char* uwugithost_version(void);

/* Why the last function of this thread that answered UWUGITHOST_USAGE, _REPOSITORY, _FAILURE or
   _INTERRUPTED did so; empty before the first. It stays until the next failure. */
const char* uwugithost_last_error(void);

/* Loads the module. Settings: "module", its file; "system-path", "extension-path" and
   "install-path", the folders in which libgit2 is looked for, with colons between them. Without
   them the module and its companion are those that were installed with this library, and the
   environment variables UWUGIT_SYSTEM_PATH, UWUGIT_EXTENSION_PATH and UWUGIT_INSTALL_PATH count.
   The caller closes *host, which is null after a failure. */
uwugithost_code uwugithost_open(const char* const settings[], uwugithost** host);

/* Answers UWUGITHOST_USAGE, and closes nothing, while there are rows that were not closed. A null
   pointer is nothing to close. */
uwugithost_code uwugithost_close(uwugithost* host);

/* The levels of lines in the log; others are the module's own. */
#define UWUGITHOST_LOG_PLAIN 0
#define UWUGITHOST_LOG_ERROR 1
#define UWUGITHOST_LOG_NOTE 3

/* Sees each line of the log. The text stays until the callback returns. It calls no function of
   this library, and returns in the ordinary way. */
typedef void uwugithost_log_callback(void* context, int level, const char* text);

/* Hands the lines of the log to the callback, with the context. Without a callback, as at the
   beginning, they go to stderr. */
uwugithost_code uwugithost_on_log(uwugithost* host, uwugithost_log_callback* callback,
                                  void* context);

/* How far a call is. The texts stay until the callback returns. */
typedef struct {
  const char* function; /* that was called */
  const char* work;     /* as in "receiving objects"; may be empty */
  uint64_t done;
  uint64_t total; /* 0 where it is not known */
  uint64_t bytes; /* received or sent by now */
} uwugithost_progress;

/* Sees how far a call is, where it takes long and with the companion, up to a million times a
   second, and answers 0. Any other answer ends a clone, a fetch, a push or what only reads: it
   fails with UWUGITHOST_INTERRUPTED. What writes in a repository is finished. The commits of
   "changes" are compared in processes of their own, and there it is not called. The callback calls
   no function of this library, and returns in the ordinary way. */
typedef int uwugithost_progress_callback(void* context, const uwugithost_progress* progress);

/* Tells the callback, with the context, from now on. Without a callback, as at the beginning,
   nobody is told. */
uwugithost_code uwugithost_on_progress(uwugithost* host, uwugithost_progress_callback* callback,
                                       void* context);

/* An argument of a function: a text, or the number where the text is a null pointer. */
typedef struct {
  const char* text;
  double number;
} uwugithost_value;

/* Calls a function by its name (`uwugit functions` lists them) with its arguments but the output
   variables. That the function itself did not do what was asked is no failure of the call: the
   outcome tells. The caller frees *outcome, which is null after a failure. */
uwugithost_code uwugithost_call(uwugithost* host, const char* function,
                                const uwugithost_value values[], size_t count,
                                uwugithost_outcome** outcome);

/* What an outcome answers stays until it is freed, also when the host is closed before. */
int uwugithost_outcome_is_success(const uwugithost_outcome* outcome);
/* 1 and the return code; 0 when the function left the return code alone. */
int uwugithost_outcome_code(const uwugithost_outcome* outcome, double* code);
/* What that return code means for this function; empty when nothing is known. */
const char* uwugithost_outcome_meaning(const uwugithost_outcome* outcome);
/* How many output variables there are, and one of them: null pointers beyond the last. The text may
   hold NULs; its length goes to *length when that is no null pointer. */
size_t uwugithost_outcome_outputs(const uwugithost_outcome* outcome);
const char* uwugithost_outcome_output_name(const uwugithost_outcome* outcome, size_t output);
const char* uwugithost_outcome_output(const uwugithost_outcome* outcome, size_t output,
                                      size_t* length);
void uwugithost_outcome_free(uwugithost_outcome* outcome);

typedef enum {
  UWUGITHOST_TEXT = 0,
  UWUGITHOST_FLAG = 1, /* 0 or 1 */
  UWUGITHOST_NUMBER = 2,
  UWUGITHOST_TIME = 3, /* seconds since 1970 */
  UWUGITHOST_IDS = 4   /* ids with commas between them */
} uwugithost_type;

/* A value of a row. */
typedef struct {
  int is_null;        /* there is no value, as for the additions of a binary file */
  int64_t number;     /* of flags, numbers and times */
  const char* text;   /* of texts and ids; else empty */
  size_t text_length; /* a text may hold NULs */
} uwugithost_cell;

/* Begins to go through the rows of a set ("status", "commits", "parents", "refs", "changes",
   "files", "lines") of the repository that a folder or file is in. docs/data.md has the columns.
   Options, which are passed over where they do not fit the set: author, branch, first, grep, id,
   jobs, limit, merges, path, second, since, staged, until. Flags are "true" or "false", times are
   seconds since 1970. The caller closes *rows, which is null after a failure. */
uwugithost_code uwugithost_rows_open(uwugithost* host, const char* set, const char* place,
                                     const char* const options[], uwugithost_rows** rows);

/* How many columns there are, and their names, which stay; a null pointer beyond the last. */
size_t uwugithost_rows_columns(const uwugithost_rows* rows);
const char* uwugithost_rows_column_name(const uwugithost_rows* rows, size_t column);
uwugithost_type uwugithost_rows_column_type(const uwugithost_rows* rows, size_t column);
/* The place of a column, or how many there are when none has that name. */
size_t uwugithost_rows_find(const uwugithost_rows* rows, const char* column);

/* Goes to the next row, at the beginning to the first one. UWUGITHOST_END when there are no more.
 */
uwugithost_code uwugithost_rows_next(uwugithost_rows* rows);

/* The value in a column of the row. Its text stays until the next row. */
uwugithost_code uwugithost_rows_cell(uwugithost_rows* rows, size_t column, uwugithost_cell* cell);

/* Frees the rows with all they hold in the module. A null pointer is nothing to close. */
void uwugithost_rows_close(uwugithost_rows* rows);

#ifdef __cplusplus
}
#endif

#endif
