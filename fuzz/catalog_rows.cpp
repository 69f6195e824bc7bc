// SPDX-License-Identifier: Apache-2.0
// Rows of a catalog to a document: whatever they hold, the document parses.
#include <qx/json.h>

#include <string_view>

#include "check.h"
#include "zeakit/structure_builder.h"

// Each line is a row: a byte for the kind, then cells between tabs, "-" for null. The first byte of all is the dialect
// and what is excluded.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input = textOf(data, size);
  std::string_view text = input;
  if (text.empty()) return 0;
  const auto first = static_cast<unsigned char>(text[0]);
  text.remove_prefix(1);
  zeakit::StructureOptions options;
  if ((first & 8U) != 0) options.excludedTables = {"b*"};
  if ((first & 16U) != 0) options.excludedColumns = {"c?"};
  zeakit::StructureBuilder builder(static_cast<zeakit::Dialect>((first & 7U) % 5), options);
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() < text.size() ? line.size() + 1 : text.size());
    if (line.empty()) continue;
    const auto kind = static_cast<zeakit::RowKind>(line[0] - '0');
    line.remove_prefix(1);
    std::vector<std::optional<std::string>> row;
    for (bool isLast = false; !isLast;) {
      const std::string_view cell = line.substr(0, line.find('\t'));
      isLast = cell.size() == line.size();
      line.remove_prefix(isLast ? cell.size() : cell.size() + 1);
      row.push_back(cell == "-" ? std::nullopt : std::optional<std::string>(cell));
    }
    builder.addRow(kind, row);
  }
  const COJson document(builder.build().document);
  check(document.getIsValidJson() && document.obtainType() == COJsonValueType::Array, "the document parses");
  return 0;
}
