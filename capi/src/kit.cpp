// SPDX-License-Identifier: Apache-2.0
// What the kit does, for C.
#include <zeakit/focused_memory.h>
#include <zeakit/reply_parts.h>
#include <zeakit/structure_builder.h>
#include <zeakit/structure_index.h>
#include <zeakit/token_estimate.h>
#include <zeakit/window_memory.h>

#include <optional>

#include "handles.h"

using namespace zeac;

struct zeac_structure {
  zeakit::StructureBuilder builder;
};

struct zeac_parts {
  struct Part {
    zeakit::ReplyPartKind kind;
    std::string text;
    std::string language;
  };
  std::vector<Part> parts;
};

namespace {

zeakit::Dialect dialectOf(uint32_t number) {
  if (number > ZEAC_DIALECT_INFORMATION_SCHEMA) throw Refusal(ZEAC_BAD_ARGUMENT, "There is no dialect of that number.");
  return static_cast<zeakit::Dialect>(number);
}

zeakit::RowKind rowKindOf(uint32_t number) {
  if (number > static_cast<uint32_t>(zeakit::RowKind::AnyKey)) {
    throw Refusal(ZEAC_BAD_ARGUMENT, "There is no kind of rows of that number.");
  }
  return static_cast<zeakit::RowKind>(number);
}

static_assert(static_cast<int>(zeakit::Dialect::InformationSchema) == ZEAC_DIALECT_INFORMATION_SCHEMA);
static_assert(static_cast<int>(zeakit::ReplyPartKind::Thinking) == ZEAC_PART_THINKING);

}  // namespace

size_t zeac_estimate_tokens(zeac_text text) { return zeakit::estimateTokens(viewOf(text)); }

int32_t zeac_catalog_query(uint32_t dialect, size_t number, uint32_t* kind, zeac_string** sql) {
  return guard(nullptr, [&] {
    Result<zeac_string> result(sql);
    const auto queries = zeakit::catalogQueries(dialectOf(dialect));
    if (number >= queries.size()) throw Refusal(ZEAC_END, "There are no more statements.");
    require(kind) = static_cast<uint32_t>(queries[number].kind);
    result.give({queries[number].sql});
  });
}

int32_t zeac_structure_create(uint32_t dialect, zeac_structure** structure) {
  return guard(nullptr, [&] {
    Result<zeac_structure> result(structure);
    result.give({zeakit::StructureBuilder(dialectOf(dialect))});
  });
}

int32_t zeac_structure_add_row(zeac_structure* structure, uint32_t kind, const zeac_text* cells, size_t count) {
  return guard(nullptr, [&] {
    std::vector<std::optional<std::string>> row;
    for (size_t at = 0; at < count; ++at) {
      const zeac_text& cell = (&require(cells))[at];
      row.push_back(cell.data == nullptr ? std::nullopt : std::optional<std::string>(stringOf(cell)));
    }
    if (!require(structure).builder.addRow(rowKindOf(kind), row)) throw Refusal(ZEAC_FAILED, "The row is left out.");
  });
}

int32_t zeac_structure_build(const zeac_structure* structure, zeac_string** document, zeac_strings** instructions,
                             zeac_strings** notes) {
  return guard(nullptr, [&] {
    OptionalStrings pairs(instructions);
    OptionalStrings sentences(notes);
    Result<zeac_string> result(document);
    zeakit::BuiltStructure built = require(structure).builder.build();
    pairs.make(built.instructions);
    sentences.make(std::move(built.notes));
    result.give({std::move(built.document)});
    pairs.give();
    sentences.give();
  });
}

void zeac_structure_free(zeac_structure* structure) { delete structure; }

int32_t zeac_fit(zeac_text document, zeac_text question, size_t budget, zeac_string** fitted, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_string> result(fitted);
    const zeakit::StructureIndex index(stringOf(document));
    requireSuccess(index.error());
    zeakit::FitOptions options;
    options.budget = budget;
    result.give({index.fit(viewOf(question), options).document});
  });
}

int32_t zeac_window_memory_create(zeac_memory* memory, size_t pairs, size_t tokens, zeac_memory** window) {
  return guard(nullptr, [&] {
    Result<zeac_memory> result(window);
    zeakit::WindowOptions options;
    options.pairs = pairs;
    options.tokens = tokens;
    result.give({std::make_unique<zeakit::WindowMemory>(*require(memory).memory, options)});
  });
}

int32_t zeac_focused_memory_create(zeac_memory* memory, size_t budget, zeac_memory** focused) {
  return guard(nullptr, [&] {
    Result<zeac_memory> result(focused);
    zeakit::FitOptions options;
    options.budget = budget;
    result.give({std::make_unique<zeakit::FocusedMemory>(*require(memory).memory, options)});
  });
}

int32_t zeac_focus(zeac_memory* focused, zeac_text question) {
  return guard(nullptr, [&] {
    static_cast<void>(
        require(dynamic_cast<zeakit::FocusedMemory*>(require(focused).memory.get())).focus(stringOf(question)));
  });
}

int32_t zeac_reply_parts(zeac_text reply, zeac_parts** parts) {
  return guard(nullptr, [&] {
    Result<zeac_parts> result(parts);
    zeac_parts found;
    for (const zeakit::ReplyPart& part : zeakit::replyParts(viewOf(reply))) {
      found.parts.push_back({part.kind, part.content(), std::string(part.language)});
    }
    result.give(std::move(found));
  });
}

size_t zeac_parts_count(const zeac_parts* parts) { return parts == nullptr ? 0 : parts->parts.size(); }

int32_t zeac_parts_at(const zeac_parts* parts, size_t index, uint32_t* kind, zeac_text* text, zeac_text* language) {
  return guard(nullptr, [&] {
    const auto& all = require(parts).parts;
    if (index >= all.size()) throw Refusal(ZEAC_END, "There are no more parts.");
    require(kind) = static_cast<uint32_t>(all[index].kind);
    if (text != nullptr) *text = textOf(all[index].text);
    if (language != nullptr) *language = textOf(all[index].language);
  });
}

void zeac_parts_free(zeac_parts* parts) { delete parts; }

int32_t zeac_first_statement(zeac_text reply, zeac_string** statement) {
  return guard(nullptr, [&] {
    Result<zeac_string> result(statement);
    result.give({zeakit::firstStatement(viewOf(reply))});
  });
}
