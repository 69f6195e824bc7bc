/* SPDX-License-Identifier: Apache-2.0 */
/* What hosts build around an assistant: structures, windows of a conversation, replies, conversations that last, and
 * statements that only read. The rules of zea_c.h hold here, too. */
#ifndef ZEAC_ZEA_C_KIT_H
#define ZEAC_ZEA_C_KIT_H

#include "zeac/zea_c.h"

#ifdef __cplusplus
extern "C" {
#endif

/* About how many tokens a text takes. Any thread. */
ZEAC_API size_t zeac_estimate_tokens(zeac_text text);

enum {
  ZEAC_DIALECT_POSTGRESQL = 0,
  ZEAC_DIALECT_MYSQL = 1,
  ZEAC_DIALECT_MARIADB = 2,
  ZEAC_DIALECT_SQLITE = 3,
  ZEAC_DIALECT_INFORMATION_SCHEMA = 4
};

/* The statements that read a database's catalog, by their number from 0 on: `kind` says to `zeac_structure_add_row`
 * what the rows are. `ZEAC_END` past the last one. Any thread. */
ZEAC_API int32_t zeac_catalog_query(uint32_t dialect, size_t number, uint32_t* kind, zeac_string** sql);

/* A structure from the rows of these statements. */
typedef struct zeac_structure zeac_structure;
ZEAC_API int32_t zeac_structure_create(uint32_t dialect, zeac_structure** structure);
/* A cell whose `data` is null is NULL. A row that cannot be one of that kind is `ZEAC_FAILED` and left out. */
ZEAC_API int32_t zeac_structure_add_row(zeac_structure* structure, uint32_t kind, const zeac_text* cells, size_t count);
/* The document for "db_structure"; names and texts in turn for `zeac_assistant_set_instruction`; sentences about what
 * was left out. The last two may be null. */
ZEAC_API int32_t zeac_structure_build(const zeac_structure* structure, zeac_string** document,
                                      zeac_strings** instructions, zeac_strings** notes);
ZEAC_API void zeac_structure_free(zeac_structure* structure);

/* Of a document, what a question needs within a budget of tokens. Any thread. */
ZEAC_API int32_t zeac_fit(zeac_text document, zeac_text question, size_t budget, zeac_string** fitted,
                          zeac_string** sentence);

/* A memory around another one, which outlives it: it hands out the latest whole pairs of turns, at most so many and of
 * at most so many tokens, without limit where one is 0. */
ZEAC_API int32_t zeac_window_memory_create(zeac_memory* memory, size_t pairs, size_t tokens, zeac_memory** window);
/* The same for the structure: for the question of the last `zeac_focus`, what fits into the budget. */
ZEAC_API int32_t zeac_focused_memory_create(zeac_memory* memory, size_t budget, zeac_memory** focused);
/* To be called ahead of each question. Another kind of memory is `ZEAC_BAD_ARGUMENT`. */
ZEAC_API int32_t zeac_focus(zeac_memory* focused, zeac_text question);

enum { ZEAC_PART_TEXT = 0, ZEAC_PART_SQL = 1, ZEAC_PART_CODE = 2, ZEAC_PART_THINKING = 3 };

/* The parts of a reply in their order. The texts are good until the parts are freed. Any thread. */
typedef struct zeac_parts zeac_parts;
ZEAC_API int32_t zeac_reply_parts(zeac_text reply, zeac_parts** parts);
ZEAC_API size_t zeac_parts_count(const zeac_parts* parts);
/* `ZEAC_END` past the last one. `language` is the word after a fence; either may be null. */
ZEAC_API int32_t zeac_parts_at(const zeac_parts* parts, size_t index, uint32_t* kind, zeac_text* text,
                               zeac_text* language);
ZEAC_API void zeac_parts_free(zeac_parts* parts);
/* The first statement of a reply; an empty text without one. */
ZEAC_API int32_t zeac_first_statement(zeac_text reply, zeac_string** statement);

/* Conversations in an SQLite file. What follows needs SQLite and is `ZEAC_UNAVAILABLE` in a build without it. */
typedef struct zeac_store zeac_store;
ZEAC_API int32_t zeac_store_open(zeac_text file, zeac_store** store, zeac_string** sentence);
ZEAC_API void zeac_store_free(zeac_store* store);
ZEAC_API int32_t zeac_store_create(zeac_store* store, zeac_text title, int64_t* conversation, zeac_string** sentence);
/* Ids and titles in turn, the latest first. */
ZEAC_API int32_t zeac_store_list(zeac_store* store, zeac_strings** conversations, zeac_string** sentence);
ZEAC_API int32_t zeac_store_remove(zeac_store* store, int64_t conversation, zeac_string** sentence);
/* The store outlives the memory. */
ZEAC_API int32_t zeac_store_memory(zeac_store* store, int64_t conversation, zeac_memory** memory);

/* The structure of an SQLite file; as `zeac_structure_build`. Nothing is written. */
ZEAC_API int32_t zeac_sqlite_structure(zeac_text file, zeac_string** document, zeac_strings** instructions,
                                       zeac_string** sentence);

/* Runs statements that only read over an SQLite file; others are `ZEAC_FAILED` with the reason. */
typedef struct zeac_runner zeac_runner;
typedef struct zeac_rows zeac_rows;
ZEAC_API int32_t zeac_sqlite_runner_open(zeac_text file, zeac_runner** runner, zeac_string** sentence);
ZEAC_API void zeac_runner_free(zeac_runner* runner);
ZEAC_API int32_t zeac_runner_check(zeac_runner* runner, zeac_text sql, zeac_string** sentence);
/* At most so many rows and milliseconds; the usual limits where one is 0. */
ZEAC_API int32_t zeac_runner_run(zeac_runner* runner, zeac_text sql, size_t rows, int64_t milliseconds,
                                 zeac_rows** result, zeac_string** sentence);
/* Ends the statement that is running. Any thread. */
ZEAC_API void zeac_runner_cancel(zeac_runner* runner);

/* Texts are good until the rows are freed. Past the end: an empty text, of kind NULL. */
enum { ZEAC_CELL_NULL = 0, ZEAC_CELL_TEXT = 1, ZEAC_CELL_BINARY = 2 };
ZEAC_API size_t zeac_rows_count(const zeac_rows* rows);
ZEAC_API size_t zeac_rows_column_count(const zeac_rows* rows);
ZEAC_API zeac_text zeac_rows_column(const zeac_rows* rows, size_t column);
ZEAC_API zeac_text zeac_rows_cell(const zeac_rows* rows, size_t row, size_t column, uint32_t* kind);
/* Whether there are more than the limit let through: 0 or 1. */
ZEAC_API int32_t zeac_rows_are_cut(const zeac_rows* rows);
ZEAC_API void zeac_rows_free(zeac_rows* rows);

#ifdef __cplusplus
}
#endif
#endif
