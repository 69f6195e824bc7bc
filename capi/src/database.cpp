// SPDX-License-Identifier: Apache-2.0
// Conversations and statements over SQLite, for C.
#ifdef ZEAC_HAS_SQLITE
#include <zeasqlite/conversation_store.h>
#include <zeasqlite/read_only_runner.h>
#include <zeasqlite/read_structure.h>
#endif

#include <zeakit/read_only_runner.h>
#include <zeakit/structure_builder.h>

#include "handles.h"

using namespace zeac;

struct zeac_runner {
  std::unique_ptr<zeakit::IReadOnlyRunner> runner;
};

struct zeac_rows {
  zeakit::StatementResult result;
};

#ifdef ZEAC_HAS_SQLITE

struct zeac_store {
  std::unique_ptr<zeasqlite::ConversationStore> store;
};

int32_t zeac_store_open(zeac_text file, zeac_store** store, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_store> result(store);
    zeasqlite::OpenedStore opened = zeasqlite::ConversationStore::open(stringOf(file));
    requireSuccess(opened.error);
    result.give({std::move(opened.store)});
  });
}

void zeac_store_free(zeac_store* store) { delete store; }

int32_t zeac_store_create(zeac_store* store, zeac_text title, int64_t* conversation, zeac_string** sentence) {
  return guard(sentence, [&] {
    std::int64_t& place = require(conversation);
    const auto made = require(store).store->create(stringOf(title));
    requireSuccess(made.error);
    place = made.id;
  });
}

int32_t zeac_store_list(zeac_store* store, zeac_strings** conversations, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_strings> result(conversations);
    auto list = require(store).store->list();
    requireSuccess(list.error);
    std::vector<std::string> texts;
    for (auto& one : list.conversations) {
      texts.push_back(std::to_string(one.id));
      texts.push_back(std::move(one.title));
    }
    result.give({std::move(texts)});
  });
}

int32_t zeac_store_remove(zeac_store* store, int64_t conversation, zeac_string** sentence) {
  return guard(sentence, [&] { requireSuccess(require(store).store->remove(conversation)); });
}

int32_t zeac_store_memory(zeac_store* store, int64_t conversation, zeac_memory** memory) {
  return guard(nullptr, [&] {
    Result<zeac_memory> result(memory);
    result.give({require(store).store->memory(conversation)});
  });
}

int32_t zeac_sqlite_structure(zeac_text file, zeac_string** document, zeac_strings** instructions,
                              zeac_string** sentence) {
  return guard(sentence, [&] {
    OptionalStrings pairs(instructions);
    Result<zeac_string> result(document);
    zeakit::ReadResult read = zeasqlite::readStructure(stringOf(file), {});
    requireSuccess(read.error);
    pairs.make(read.structure.instructions);
    result.give({std::move(read.structure.document)});
    pairs.give();
  });
}

int32_t zeac_sqlite_runner_open(zeac_text file, zeac_runner** runner, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_runner> result(runner);
    zeakit::OpenedRunner opened = zeasqlite::openReadOnlyRunner(stringOf(file));
    requireSuccess(opened.error);
    result.give({std::move(opened.runner)});
  });
}

#else

namespace {

template <class... Arguments>
int32_t refuse(zeac_string** sentence, Arguments...) {
  return guard(sentence, [] { throw Refusal(ZEAC_UNAVAILABLE, "This library was built without SQLite."); });
}

}  // namespace

int32_t zeac_store_open(zeac_text, zeac_store**, zeac_string** sentence) { return refuse(sentence); }
void zeac_store_free(zeac_store*) {}
int32_t zeac_store_create(zeac_store*, zeac_text, int64_t*, zeac_string** sentence) { return refuse(sentence); }
int32_t zeac_store_list(zeac_store*, zeac_strings**, zeac_string** sentence) { return refuse(sentence); }
int32_t zeac_store_remove(zeac_store*, int64_t, zeac_string** sentence) { return refuse(sentence); }
int32_t zeac_store_memory(zeac_store*, int64_t, zeac_memory**) { return refuse(nullptr); }
int32_t zeac_sqlite_structure(zeac_text, zeac_string**, zeac_strings**, zeac_string** sentence) {
  return refuse(sentence);
}
int32_t zeac_sqlite_runner_open(zeac_text, zeac_runner**, zeac_string** sentence) { return refuse(sentence); }

#endif

void zeac_runner_free(zeac_runner* runner) { delete runner; }

int32_t zeac_runner_check(zeac_runner* runner, zeac_text sql, zeac_string** sentence) {
  return guard(sentence, [&] {
    const auto checked = require(runner).runner->check(stringOf(sql));
    if (checked.verdict != zeakit::Verdict::Reads) throw Refusal(ZEAC_FAILED, checked.reason);
  });
}

int32_t zeac_runner_run(zeac_runner* runner, zeac_text sql, size_t rows, int64_t milliseconds, zeac_rows** result,
                        zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_rows> given(result);
    zeakit::RunLimits limits;
    if (rows > 0) limits.rows = rows;
    if (milliseconds > 0) limits.time = std::chrono::milliseconds(milliseconds);
    zeakit::StatementResult run = require(runner).runner->run(stringOf(sql), limits);
    requireSuccess(run.error);
    given.give({std::move(run)});
  });
}

void zeac_runner_cancel(zeac_runner* runner) {
  if (runner != nullptr) runner->runner->cancel();
}

size_t zeac_rows_count(const zeac_rows* rows) { return rows == nullptr ? 0 : rows->result.rows.size(); }

size_t zeac_rows_column_count(const zeac_rows* rows) { return rows == nullptr ? 0 : rows->result.columns.size(); }

zeac_text zeac_rows_column(const zeac_rows* rows, size_t column) {
  return column < zeac_rows_column_count(rows) ? textOf(rows->result.columns[column].name) : textOf("");
}

zeac_text zeac_rows_cell(const zeac_rows* rows, size_t row, size_t column, uint32_t* kind) {
  if (kind != nullptr) *kind = ZEAC_CELL_NULL;
  if (row >= zeac_rows_count(rows) || column >= rows->result.rows[row].size()) return textOf("");
  const zeakit::ResultCell& cell = rows->result.rows[row][column];
  if (kind != nullptr) *kind = cell.isNull ? ZEAC_CELL_NULL : cell.isBinary ? ZEAC_CELL_BINARY : ZEAC_CELL_TEXT;
  return textOf(cell.value);
}

int32_t zeac_rows_are_cut(const zeac_rows* rows) { return rows != nullptr && rows->result.isCut ? 1 : 0; }

void zeac_rows_free(zeac_rows* rows) { delete rows; }
