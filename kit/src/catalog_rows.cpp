// SPDX-License-Identifier: Apache-2.0
#include "catalog_rows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace zeakit {

namespace {

std::optional<long long> numberIn(const std::string& text) {
  long long number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, failure] = std::from_chars(text.data(), end, number);
  if (failure != std::errc() || rest != end) return std::nullopt;
  return number;
}

long long positionIn(const Cell& cell) { return cell ? numberIn(*cell).value_or(kNoPosition) : kNoPosition; }

/// What the cells of a kind may be.
struct Shape {
  std::size_t cells;
  std::string_view required;   // a digit for each cell that may not be null
  std::string_view positions;  // a digit for each cell that is a number, or null where it may be
};

constexpr std::array<Shape, 11> kShapes = {{{5, "012", "3"},
                                            {10, "0123", "2"},
                                            {3, "01", ""},
                                            {5, "0134", "3"},
                                            {5, "0134", "3"},
                                            {8, "0123456", "3"},
                                            {4, "02", ""},
                                            {4, "0123", ""},
                                            {6, "01234", "35"},
                                            {4, "01", ""},
                                            {8, "01234", "3"}}};

bool hasShape(const Shape& shape, const std::vector<Cell>& row) {
  if (row.size() != shape.cells) return false;
  const auto cellOf = [&row](char digit) -> const Cell& { return row[static_cast<std::size_t>(digit - '0')]; };
  return std::all_of(shape.required.begin(), shape.required.end(), [&](char at) { return cellOf(at).has_value(); }) &&
         std::all_of(shape.positions.begin(), shape.positions.end(),
                     [&](char at) { return !cellOf(at) || numberIn(*cellOf(at)); });
}

}  // namespace

bool CatalogRows::add(RowKind kind, const std::vector<Cell>& row) {
  const auto number = static_cast<std::size_t>(kind);
  const bool isRight = number < kShapes.size() && hasShape(kShapes[number], row);
  if (!isRight) ++wrong[static_cast<int>(kind)];
  if (isRight) take(kind, row);
  return isRight;
}

void CatalogRows::take(RowKind kind, const std::vector<Cell>& row) {
  const auto text = [&row](std::size_t at) { return row[at].value_or(""); };
  const Name name(text(0), text(1));
  const auto addKey = [&](std::map<Name, Keys>& keys, KeyColumn column, Name target) {
    Key& key = keys[name][text(2)];
    if (key.columns.empty()) key.target = std::move(target);
    key.columns.emplace(positionIn(row[3]), std::move(column));
  };
  switch (kind) {
    case RowKind::Relation:
      relations.emplace(name, Relation{text(2), positionIn(row[3]), text(4)});
      break;
    case RowKind::Column:
      columns[name].emplace(
          text(3), Column{positionIn(row[2]), text(3), text(4), text(5) != "NO", row[6], row[7], row[8], row[9]});
      break;
    case RowKind::ViewText:
      if (row[2]) viewTexts.emplace(name, *row[2]);
      break;
    case RowKind::PrimaryKey:
      addKey(primaryKeys, {text(4), {}}, {});
      break;
    case RowKind::UniqueKey:
      addKey(uniqueKeys, {text(4), {}}, {});
      break;
    case RowKind::ForeignKey:
      addKey(foreignKeys, {text(4), text(7)}, {text(5), text(6)});
      break;
    case RowKind::Check:
      if (row[1]) checks[name].emplace(text(2), text(3));
      if (!row[1]) looseChecks.emplace(Name(text(0), text(2)), text(3));
      break;
    case RowKind::Constraint:
      constraints[name].emplace(text(2), text(3));
      break;
    case RowKind::KeyColumn:
      addKey(plainKeys, {text(4), {}, positionIn(row[5])}, {});
      break;
    case RowKind::Reference:
      if (row[2] && row[3]) references.emplace(name, Name(*row[2], *row[3]));
      break;
    case RowKind::AnyKey:
      if (row[6]) {
        addKey(foreignKeys, {text(4), text(7)}, {text(5), text(6)});
      } else {
        addKey(text(2) == "PRIMARY" ? primaryKeys : uniqueKeys, {text(4), {}}, {});
      }
      break;
  }
}

}  // namespace zeakit
