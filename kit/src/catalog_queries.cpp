// SPDX-License-Identifier: Apache-2.0
#include <string_view>

#include "zeakit/structure_builder.h"

namespace zeakit {

namespace {

std::string quoted(std::string_view text, std::string_view doubled) {
  std::string literal = "'";
  for (const char byte : text) literal.append(doubled.find(byte) == std::string_view::npos ? 1 : 2, byte);
  return literal + "'";
}

/// A literal that no setting of the server reads in another way.
std::string literalOf(Dialect dialect, std::string_view text) {
  if (dialect == Dialect::PostgreSQL) return std::string("E").append(quoted(text, "'\\"));
  if (dialect != Dialect::MySQL && dialect != Dialect::MariaDB) return quoted(text, "'");
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string literal = "_utf8mb4 X'";
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    literal += kDigits[value >> 4U];
    literal += kDigits[value & 15U];
  }
  return literal + "'";
}

const char* systemSchemas(Dialect dialect) {
  switch (dialect) {
    case Dialect::PostgreSQL:
      return " NOT LIKE ALL (ARRAY['pg\\_%', 'information\\_schema'])";
    case Dialect::SQLite:
      return " = 'main'";
    case Dialect::InformationSchema:
      return " NOT IN ('information_schema', 'INFORMATION_SCHEMA', 'pg_catalog')";
    default:
      return " NOT IN ('information_schema', 'mysql', 'performance_schema', 'sys')";
  }
}

/// What follows the name of a schema's column in a condition.
std::string conditionOf(Dialect dialect, const std::vector<std::string>& schemas) {
  if (schemas.empty()) return systemSchemas(dialect);
  std::string list;
  for (const std::string& schema : schemas) {
    if (schema.find('\0') == std::string::npos) list += (list.empty() ? "" : ", ") + literalOf(dialect, schema);
  }
  return list.empty() ? " IN (NULL)" : " IN (" + list + ")";
}

std::vector<CatalogQuery> ofPostgreSql(const std::string& in) {
  const std::string from = " FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace";
  const std::string of = " WHERE c.relkind IN ('r','p','v','m','f') AND n.nspname" + in;
  const auto key = [&](const char* type) {
    return "SELECT n.nspname, c.relname, k.conname, u.position, a.attname" + from +
           " JOIN pg_catalog.pg_constraint k ON k.conrelid = c.oid AND k.contype = '" + type +
           "' CROSS JOIN LATERAL unnest(k.conkey) WITH ORDINALITY u(number, position)"
           " JOIN pg_catalog.pg_attribute a ON a.attrelid = c.oid AND a.attnum = u.number" +
           of;
  };
  return {{RowKind::Relation,
           "SELECT n.nspname, c.relname, CASE c.relkind WHEN 'v' THEN 'VIEW' WHEN 'm' THEN 'MATERIALIZED VIEW'"
           " WHEN 'f' THEN 'FOREIGN TABLE' ELSE 'TABLE' END, NULL, pg_catalog.obj_description(c.oid, 'pg_class')" +
               from + of + " AND NOT c.relispartition"},
          {RowKind::Column,
           "SELECT n.nspname, c.relname, a.attnum, a.attname, pg_catalog.format_type(a.atttypid, a.atttypmod),"
           " CASE WHEN a.attnotnull THEN 'NO' ELSE 'YES' END,"
           " CASE WHEN a.attgenerated = '' THEN pg_catalog.pg_get_expr(d.adbin, d.adrelid) END,"
           " CASE WHEN a.attgenerated <> '' THEN pg_catalog.pg_get_expr(d.adbin, d.adrelid) END,"
           " pg_catalog.col_description(c.oid, a.attnum),"
           " (SELECT pg_catalog.string_agg(pg_catalog.quote_literal(e.enumlabel), ', ' ORDER BY e.enumsortorder)"
           " FROM pg_catalog.pg_enum e WHERE e.enumtypid = a.atttypid)" +
               from +
               " JOIN pg_catalog.pg_attribute a ON a.attrelid = c.oid AND a.attnum > 0 AND NOT a.attisdropped"
               " LEFT JOIN pg_catalog.pg_attrdef d ON d.adrelid = c.oid AND d.adnum = a.attnum" +
               of + " AND NOT c.relispartition"},
          {RowKind::ViewText, "SELECT n.nspname, c.relname, pg_catalog.pg_get_viewdef(c.oid)" + from +
                                  " WHERE c.relkind IN ('v','m') AND n.nspname" + in},
          {RowKind::PrimaryKey, key("p") + " AND NOT c.relispartition"},
          {RowKind::UniqueKey, key("u") + " AND NOT c.relispartition"},
          {RowKind::ForeignKey,
           "SELECT n.nspname, c.relname, k.conname, u.position, a.attname, rn.nspname, rc.relname, ra.attname" + from +
               " JOIN pg_catalog.pg_constraint k ON k.conrelid = c.oid AND k.contype = 'f' AND k.conparentid = 0"
               " CROSS JOIN LATERAL unnest(k.conkey, k.confkey) WITH ORDINALITY u(number, referenced, position)"
               " JOIN pg_catalog.pg_attribute a ON a.attrelid = c.oid AND a.attnum = u.number"
               " JOIN pg_catalog.pg_class rc ON rc.oid = k.confrelid"
               " JOIN pg_catalog.pg_namespace rn ON rn.oid = rc.relnamespace"
               " JOIN pg_catalog.pg_attribute ra ON ra.attrelid = rc.oid AND ra.attnum = u.referenced" +
               of + " AND NOT c.relispartition"},
          {RowKind::Check, "SELECT n.nspname, c.relname, k.conname, pg_catalog.pg_get_expr(k.conbin, k.conrelid)" +
                               from + " JOIN pg_catalog.pg_constraint k ON k.conrelid = c.oid AND k.contype = 'c'" +
                               of + " AND NOT c.relispartition"}};
}

std::vector<CatalogQuery> ofMySql(Dialect dialect, const std::string& in) {
  const std::string where = " WHERE TABLE_SCHEMA" + in;
  const bool isMariaDb = dialect == Dialect::MariaDB;
  std::vector<CatalogQuery> queries = {
      {RowKind::Relation,
       "SELECT TABLE_SCHEMA, TABLE_NAME, TABLE_TYPE, NULL, CASE WHEN TABLE_TYPE = 'VIEW' THEN NULL ELSE TABLE_COMMENT"
       " END FROM information_schema.TABLES" +
           where},
      {RowKind::Column,
       std::string("SELECT TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION, COLUMN_NAME, COLUMN_TYPE, IS_NULLABLE, ") +
           (isMariaDb ? "NULLIF(COLUMN_DEFAULT, 'NULL')"
                      : "CASE WHEN EXTRA LIKE '%DEFAULT_GENERATED%' OR DATA_TYPE NOT IN ('char', 'varchar', 'text',"
                        " 'enum', 'set', 'date', 'time', 'datetime', 'timestamp') THEN COLUMN_DEFAULT"
                        " ELSE QUOTE(COLUMN_DEFAULT) END") +
           ", NULLIF(GENERATION_EXPRESSION, ''), COLUMN_COMMENT, NULL FROM information_schema.COLUMNS" + where},
      {RowKind::ViewText, "SELECT TABLE_SCHEMA, TABLE_NAME, VIEW_DEFINITION FROM information_schema.VIEWS" + where},
      // One statement about all keys: the server opens every table for each.
      {RowKind::AnyKey,
       "SELECT TABLE_SCHEMA, TABLE_NAME, CONSTRAINT_NAME, ORDINAL_POSITION, COLUMN_NAME, REFERENCED_TABLE_SCHEMA,"
       " REFERENCED_TABLE_NAME, REFERENCED_COLUMN_NAME FROM information_schema.KEY_COLUMN_USAGE" +
           where},
      {RowKind::Check, std::string("SELECT CONSTRAINT_SCHEMA, ") + (isMariaDb ? "TABLE_NAME" : "NULL") +
                           ", CONSTRAINT_NAME, CHECK_CLAUSE FROM information_schema.CHECK_CONSTRAINTS"
                           " WHERE CONSTRAINT_SCHEMA" +
                           in}};
  if (!isMariaDb) {  // whose table MySQL tells elsewhere
    queries.push_back({RowKind::Constraint,
                       "SELECT TABLE_SCHEMA, TABLE_NAME, CONSTRAINT_NAME, CONSTRAINT_TYPE"
                       " FROM information_schema.TABLE_CONSTRAINTS" +
                           where + " AND CONSTRAINT_TYPE = 'CHECK'"});
  }
  return queries;
}

std::vector<CatalogQuery> ofInformationSchema(const std::string& in) {
  const std::string where = " WHERE table_schema" + in;
  const std::string whereConstraint = " WHERE constraint_schema" + in;
  return {
      {RowKind::Relation,
       "SELECT table_schema, table_name, table_type, NULL, NULL FROM information_schema.tables" + where},
      {RowKind::Column,
       "SELECT table_schema, table_name, ordinal_position, column_name, data_type, is_nullable, column_default, NULL,"
       " NULL, NULL FROM information_schema.columns" +
           where},
      {RowKind::ViewText, "SELECT table_schema, table_name, view_definition FROM information_schema.views" + where},
      {RowKind::Constraint,
       "SELECT table_schema, table_name, constraint_name, constraint_type FROM information_schema.table_constraints" +
           where},
      {RowKind::KeyColumn,
       "SELECT table_schema, table_name, constraint_name, ordinal_position, column_name,"
       " position_in_unique_constraint FROM information_schema.key_column_usage" +
           where},
      {RowKind::Reference,
       "SELECT constraint_schema, constraint_name, unique_constraint_schema, unique_constraint_name"
       " FROM information_schema.referential_constraints" +
           whereConstraint},
      {RowKind::Check,
       "SELECT constraint_schema, NULL, constraint_name, check_clause FROM information_schema.check_constraints" +
           whereConstraint}};
}

std::vector<CatalogQuery> ofSqlite(const std::string& in) {
  // The only schema needs no name in a statement. Shadow tables hold the content of virtual ones.
  const std::string schema = "SELECT CASE l.schema WHEN 'main' THEN '' ELSE l.schema END, l.name";
  const std::string from = " FROM pragma_table_list AS l";
  const std::string of = " WHERE l.type <> 'shadow' AND l.name NOT LIKE 'sqlite\\_%' ESCAPE '\\' AND l.schema" + in;
  return {
      {RowKind::Relation,
       schema +
           ", CASE l.type WHEN 'view' THEN 'VIEW' WHEN 'virtual' THEN 'VIRTUAL TABLE' ELSE 'TABLE' END, m.rowid, NULL" +
           from + " LEFT JOIN main.sqlite_schema AS m ON l.schema = 'main' AND m.name = l.name" + of},
      {RowKind::Column,
       schema +
           ", x.cid, x.name, coalesce(nullif(x.type, ''), 'ANY'), CASE x.\"notnull\" WHEN 0 THEN 'YES' ELSE 'NO'"
           " END, x.dflt_value, CASE WHEN x.hidden IN (2, 3) THEN '' END, NULL, NULL" +
           from + ", pragma_table_xinfo(l.name, l.schema) AS x" + of + " AND x.hidden <> 1"},
      {RowKind::ViewText, schema + ", m.sql" + from +
                              " JOIN main.sqlite_schema AS m ON l.schema = 'main'"
                              " AND m.name = l.name" +
                              of + " AND l.type = 'view'"},
      {RowKind::PrimaryKey, schema + ", NULL, x.pk, x.name" + from + ", pragma_table_info(l.name, l.schema) AS x" + of +
                                " AND l.type <> 'view' AND x.pk > 0"},
      {RowKind::UniqueKey, schema + ", i.name, x.seqno, x.name" + from +
                               " CROSS JOIN pragma_index_list(l.name, l.schema) AS i"
                               " CROSS JOIN pragma_index_info(i.name, l.schema) AS x" +
                               of + " AND i.origin = 'u' AND x.name IS NOT NULL"},
      // SQLite numbers foreign keys from the last to the first.
      {RowKind::ForeignKey,
       schema +
           ", printf('%09d', 999999999 - f.id), f.seq, f.\"from\", CASE l.schema WHEN 'main' THEN '' ELSE"
           " l.schema END, f.\"table\", f.\"to\"" +
           from + ", pragma_foreign_key_list(l.name, l.schema) AS f" + of + " AND l.type <> 'view'"}};
}

}  // namespace

std::vector<CatalogQuery> catalogQueries(Dialect dialect, const std::vector<std::string>& schemas) {
  const std::string in = conditionOf(dialect, schemas);
  switch (dialect) {
    case Dialect::PostgreSQL:
      return ofPostgreSql(in);
    case Dialect::MySQL:
    case Dialect::MariaDB:
      return ofMySql(dialect, in);
    case Dialect::SQLite:
      return ofSqlite(in);
    case Dialect::InformationSchema:
      return ofInformationSchema(in);
  }
  return {};
}

std::vector<std::string> schemasWithoutPatterns(const StructureOptions& options) {
  for (const std::string& schema : options.includedSchemas) {
    if (schema.find_first_of("*?") != std::string::npos) return {};
  }
  return options.includedSchemas;
}

}  // namespace zeakit
