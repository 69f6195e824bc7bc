// SPDX-License-Identifier: Apache-2.0
#include "structure_document.h"

#include <array>

namespace {

class Writer {
 public:
  void open(const char* bracket) {
    line(bracket);
    ++level_;
    first_ = true;
  }
  void close(const char* bracket) {
    --level_;
    first_ = true;  // no comma ahead of a closing bracket
    line(bracket);
    first_ = false;
  }
  void item(const std::string& text) {
    line(text);
    first_ = false;
  }
  std::size_t size() const { return text_.size(); }
  std::string take() { return std::move(text_); }

 private:
  void line(const std::string& text) {
    if (!first_) text_ += ',';
    if (!text_.empty()) text_ += '\n';
    text_.append(4 * level_, ' ').append(text);
    first_ = false;
  }

  std::string text_;
  std::size_t level_ = 0;
  bool first_ = true;
};

constexpr std::array kTypes = {"INTEGER", "VARCHAR(255)", "TIMESTAMP WITH TIME ZONE", "NUMERIC(12, 2)", "BOOLEAN"};

void writeColumns(Writer& out) {
  out.open(R"("fields": [)");
  for (std::size_t column = 0; column < 12; ++column) {
    out.open("{");
    out.item(R"("name": "column_)" + std::to_string(column) + '"');
    out.item(std::string(R"("type": ")") + kTypes[column % kTypes.size()] + '"');
    out.close("}");
  }
  out.close("]");
}

void writeForeignKey(Writer& out, std::size_t column, std::size_t table) {
  out.open("{");
  out.open(R"("fields": [)");
  out.item(R"("column_)" + std::to_string(column) + '"');
  out.close("]");
  out.item(R"("ref_schema": "accounting")");
  out.item(R"("ref_table": "customer_orders_)" + std::to_string(table / 2) + '"');
  out.open(R"("ref_fields": [)");
  out.item(R"("column_0")");
  out.close("]");
  out.close("}");
}

void writeTable(Writer& out, std::size_t table) {
  out.open("{");
  out.item(R"("name": "customer_orders_)" + std::to_string(table) + '"');
  writeColumns(out);
  out.open(R"("pkeys": [)");
  out.item(R"("column_0")");
  out.item(R"("column_1")");
  out.close("]");
  out.open(R"("fkeys": [)");
  writeForeignKey(out, 2, table);
  writeForeignKey(out, 3, table + 7);
  out.close("]");
  out.close("}");
}

}  // namespace

std::string createStructureDocument(std::size_t bytes) {
  Writer out;
  std::size_t table = 0;
  out.open("[");
  out.open("{");
  out.item(R"("catalog_name": "company")");
  out.open(R"("schemas": [)");
  while (out.size() < bytes) {
    out.open("{");
    out.item(R"("schema_name": "accounting_)" + std::to_string(table / 100) + '"');
    out.open(R"("tables": [)");
    for (const std::size_t end = table + 100; table < end && out.size() < bytes; ++table) writeTable(out, table);
    out.close("]");
    out.close("}");
  }
  out.close("]");
  out.close("}");
  out.close("]");
  return out.take();
}
