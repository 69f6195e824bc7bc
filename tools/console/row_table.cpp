#include "console/row_table.h"

#include <algorithm>
#include <vector>

#include "console/utf8.h"

namespace console {

namespace {

std::string textOf(const zeakit::ResultCell& cell) {
  if (cell.isNull) return "NULL";
  if (cell.isBinary) return "(" + std::to_string(cell.value.size()) + " bytes)";
  std::string text = repairUtf8(cell.value);
  for (char& byte : text) {
    if (byte == '\n' || byte == '\r' || byte == '\t' || byte == '\0') byte = ' ';
  }
  return text;
}

/// One for each character; combining and wide ones are few in databases, and cost an alignment only.
std::size_t widthOf(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

}  // namespace

std::string writeTable(const zeakit::StatementResult& result) {
  std::vector<std::vector<std::string>> lines(1);
  for (const auto& column : result.columns) lines[0].push_back(textOf({column.name, false, false}));
  for (const auto& row : result.rows) {
    lines.emplace_back();
    for (const auto& cell : row) lines.back().push_back(textOf(cell));
  }
  std::vector<std::size_t> widths(result.columns.size());
  for (const auto& line : lines) {
    for (std::size_t at = 0; at < line.size(); ++at) widths[at] = std::max(widths[at], widthOf(line[at]));
  }
  const auto write = [&widths](const std::vector<std::string>& line) {
    std::string text;
    for (std::size_t at = 0; at < line.size(); ++at) {
      text += (at > 0 ? " | " : "") + line[at];
      if (at + 1 < line.size()) text.append(widths[at] - widthOf(line[at]), ' ');
    }
    return text + "\n";
  };
  std::vector<std::string> rule;
  for (const std::size_t width : widths) rule.emplace_back(width, '-');
  std::string text = write(lines[0]) + write(rule);
  for (std::size_t at = 1; at < lines.size(); ++at) text += write(lines[at]);
  return text;
}

}  // namespace console
