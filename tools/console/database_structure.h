// The structure of a database, whatever system it is in, and the document that the library takes it as.
#pragma once

#include <string>
#include <vector>

namespace console {

struct Column {
  std::string name;
  std::string type;
};

struct ForeignKey {
  std::vector<std::string> columns;
  std::string table;
  std::vector<std::string> referencedColumns;
};

/// A table or a view.
struct Relation {
  std::string name;
  std::vector<Column> columns;
  std::vector<std::string> primaryKey;  // in the order of the key
  std::vector<ForeignKey> foreignKeys;
};

struct DatabaseStructure {
  std::vector<Relation> tables;
  std::vector<Relation> views;
};

/// The "db_structure" document: one catalog and one schema, both without a name, so that the statements of the prompt
/// name tables the way that a user of the database does. Names that are no UTF-8 are repaired.
std::string writeStructureDocument(const DatabaseStructure& structure);

}  // namespace console
