// SPDX-License-Identifier: Apache-2.0
#include "zeakit/structure_builder.h"

#include "catalog_rows.h"
#include "structure_assembly.h"

namespace zeakit {

struct StructureBuilder::Rows : CatalogRows {};

StructureBuilder::StructureBuilder(Dialect dialect, StructureOptions options) : rows_(std::make_unique<Rows>()) {
  rows_->dialect = dialect;
  rows_->options = std::move(options);
}
StructureBuilder::~StructureBuilder() = default;
StructureBuilder::StructureBuilder(StructureBuilder&&) noexcept = default;
StructureBuilder& StructureBuilder::operator=(StructureBuilder&&) noexcept = default;

bool StructureBuilder::addRow(RowKind kind, const std::vector<std::optional<std::string>>& row) {
  return rows_->add(kind, row);
}

BuiltStructure StructureBuilder::build() const { return assembleStructure(*rows_); }

}  // namespace zeakit
