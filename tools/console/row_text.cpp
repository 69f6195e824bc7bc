// SPDX-License-Identifier: Apache-2.0
#include "console/row_text.h"

#include <qx/qx.h>

#include <algorithm>
#include <cctype>
#include <iterator>
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

/// As RFC 4180 asks; an empty text keeps its quotes, since nothing at all is NULL.
std::string quoteField(const std::string& text) {
  if (!text.empty() && text.find_first_of(",\"\r\n") == text.npos) return text;
  std::string quoted = "\"";
  for (const char byte : text) quoted += byte == '"' ? std::string("\"\"") : std::string(1, byte);
  return quoted + "\"";
}

std::string hexOf(const std::string& bytes) {
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += {digits[value >> 4U], digits[value & 0xFU]};
  }
  return text;
}

std::string quoteText(const std::string& text) {
  COJson list;
  list.addArrayItem()->setStringValue(repairUtf8(text));
  const std::string brackets = list.obtainJsonString();
  return brackets.substr(1, brackets.size() - 2);
}

/// Whether the text is a JSON number as it stands.
bool isNumber(const std::string& text) {
  if (text.find_first_not_of("+-.0123456789Ee") != text.npos) return false;
  const COJson list("[" + text + "]");
  const COJsonValue* const item = list.obtainArrayItem(0);
  if (item == nullptr) return false;
  return item->obtainType() == COJsonValueType::Integer || item->obtainType() == COJsonValueType::Double;
}

/// Columns of expressions have no type in SQLite: there the value decides.
bool isNumeric(const std::string& type) {
  if (type.empty()) return true;
  std::string upper = type;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  static constexpr const char* kinds[] = {"INT", "REAL", "FLOA", "DOUB", "NUM", "DEC", "SERIAL"};
  return std::any_of(std::begin(kinds), std::end(kinds),
                     [&upper](const char* kind) { return upper.find(kind) != upper.npos; });
}

std::string valueOf(const zeakit::ResultCell& cell, const std::string& type) {
  if (cell.isNull) return "null";
  if (cell.isBinary) return quoteText(hexOf(cell.value));
  return isNumeric(type) && isNumber(cell.value) ? cell.value : quoteText(cell.value);
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

std::string writeCsv(const zeakit::StatementResult& result) {
  std::string text;
  for (std::size_t at = 0; at < result.columns.size(); ++at) {
    text += (at > 0 ? "," : "") + quoteField(result.columns[at].name);
  }
  text += "\r\n";
  for (const auto& row : result.rows) {
    for (std::size_t at = 0; at < row.size(); ++at) {
      text += at > 0 ? "," : "";
      if (!row[at].isNull) text += quoteField(row[at].isBinary ? hexOf(row[at].value) : row[at].value);
    }
    text += "\r\n";
  }
  return text;
}

std::string writeJson(const zeakit::StatementResult& result) {
  std::vector<std::string> names;
  for (const auto& column : result.columns) names.push_back(quoteText(column.name));
  std::string text = "[";
  for (const auto& row : result.rows) {
    text += text.size() > 1 ? ",\n{" : "{";
    for (std::size_t at = 0; at < row.size(); ++at) {
      text.append(at > 0 ? "," : "").append(names[at]).append(":").append(valueOf(row[at], result.columns[at].type));
    }
    text += "}";
  }
  return text + "]\n";
}

}  // namespace console
