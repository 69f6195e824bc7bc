// SPDX-License-Identifier: Apache-2.0
#include "structures.h"

#include "json_pattern.h"

namespace corpus {

namespace {

// A part of patterns: a table, or whatever has its form.
#define TABLE                                                                           \
  R"j({$("pkeys":[$[$n$]],$)$("fkeys":[$[{"fields":[$[$n$]],$("ref_schema":$n,$))j"     \
  R"j("ref_table":$n,"ref_fields":[$[$n$]]}$]],$)$("remark":$x,$)"name":$n,"fields":)j" \
  R"j([$[{"name":$n,"type":$n}$]]})j"

constexpr std::string_view kPatterns[] = {
    R"j([$[{$("catalog_id":$n,$)$("catalog_name":$n,$)"schemas":[$[{$("schema_id":$n,$)$("schema_name":$n,$))j"
    R"j($("views":[$[)j" TABLE R"j($]],$)$("mviews":[$[)j" TABLE R"j($]],$)"tables":[$[)j" TABLE R"j($]]}$]]}$]])j",
    R"j([{"catalog_name":$n,"schemas":[{"schema_name":$n,"tables":[$[)j" TABLE R"j($]]}]},{"schemas":[$x]},)j"
    R"j({"catalog_name":"","schemas":[{"tables":[)j" TABLE R"j(]}]},{"schemas":[{"views":[)j" TABLE R"j(]}]}])j",
    R"j( [ { "schemas" : [ { "schema_name":$n , "tables" : [ { "name":$n, "fields":$x } , )j" TABLE " ] } ] } ] ",
    R"j([{"catalog_name":$x,"schemas":$x},{"schemas":[{"tables":$x},{"schema_name":$x,"views":[$x]}]},$x])j", "$x"};

CMVariant makeField(Source& source) {
  CMVariantMap field;
  field.emplace("name", makeName(source));
  field.emplace("type", source.isOneIn(20) ? CMVariant(7) : CMVariant(makeName(source)));
  return field;
}

CMVariant makeTable(Source& source) {
  CMVariantList fields;
  CMVariantList keys;
  for (std::size_t count = source.below(5); count > 0; --count) fields.emplace_back(makeField(source));
  for (std::size_t count = source.below(3); count > 0; --count) keys.emplace_back(makeName(source));
  CMVariantMap table;
  table.emplace("name", makeName(source));
  table.emplace("fields", std::move(fields));
  if (!source.isOneIn(3)) table.emplace("pkeys", std::move(keys));
  if (source.isOneIn(3)) table.emplace("rows", 1.5);
  return table;
}

CMVariantList makeCatalogs(Source& source) {
  CMVariantList catalogs;
  for (std::size_t count = source.below(3); count > 0; --count) {
    CMVariantList tables;
    for (std::size_t tableCount = source.below(4); tableCount > 0; --tableCount) {
      tables.emplace_back(makeTable(source));
    }
    CMVariantMap schema;
    schema.emplace("schema_name", makeName(source));
    schema.emplace(source.isOneIn(3) ? "views" : "tables", std::move(tables));
    CMVariantMap catalog;
    if (source.isOneIn(2)) catalog.emplace("catalog_name", makeName(source));
    catalog.emplace("schemas", CMVariantList{std::move(schema)});
    catalogs.emplace_back(std::move(catalog));
  }
  return catalogs;
}

}  // namespace

std::string makeStructureText(Source& source) {
  return fillCarelessly(source, kPatterns[source.isOneIn(2) ? 0 : source.below(std::size(kPatterns))]);
}

CMVariant makeStructureValue(Source& source) {
  if (source.isOneIn(12)) return 1;
  if (source.isOneIn(12)) return {};
  return source.isOneIn(4) ? CMVariant(makeCatalogs(source)) : CMVariant(makeStructureText(source));
}

std::string describe(const CMVariant& value) {
  std::string text = std::to_string(static_cast<int>(value.getValueType())) + ":" + value.stringValue();
  if (value.getValueType() == CMVariant::ValueType::List) {
    CMVariant copy(value);
    for (const CMVariant& item : copy.listRef()) text.append("\n- ").append(describe(item));
  }
  for (const auto& [name, item] : value.mapValue()) text.append("\n").append(name).append("=").append(describe(item));
  return text;
}

}  // namespace corpus
