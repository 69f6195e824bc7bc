#include "console/database_structure.h"

#include <qx/qx.h>

#include "console/utf8.h"

namespace console {

namespace {

void writeNames(const std::vector<std::string>& names, COJsonValue& list) {
  list.setAsArray();
  for (const std::string& name : names) list.addArrayItem()->setStringValue(repairUtf8(name));
}

void writeForeignKey(const ForeignKey& key, COJsonValue& item) {
  writeNames(key.columns, *item.addKeyValue("fields"));
  item.addKeyValue("ref_table")->setStringValue(repairUtf8(key.table));
  writeNames(key.referencedColumns, *item.addKeyValue("ref_fields"));
}

void writeRelation(const Relation& relation, COJsonValue& item) {
  item.addKeyValue("name")->setStringValue(repairUtf8(relation.name));
  COJsonValue* fields = item.addKeyValue("fields");
  fields->setAsArray();
  for (const Column& column : relation.columns) {
    COJsonValue* field = fields->addArrayItem();
    field->addKeyValue("name")->setStringValue(repairUtf8(column.name));
    field->addKeyValue("type")->setStringValue(repairUtf8(column.type));
  }
  writeNames(relation.primaryKey, *item.addKeyValue("pkeys"));
  COJsonValue* keys = item.addKeyValue("fkeys");
  keys->setAsArray();
  for (const ForeignKey& key : relation.foreignKeys) writeForeignKey(key, *keys->addArrayItem());
}

void writeRelations(const std::vector<Relation>& relations, COJsonValue& list) {
  list.setAsArray();
  for (const Relation& relation : relations) writeRelation(relation, *list.addArrayItem());
}

}  // namespace

std::string writeStructureDocument(const DatabaseStructure& structure) {
  // The root of the document is a list, which a member of a document can be, but not the document itself.
  COJson holder;
  COJsonValue* catalogs = holder.addKeyValue("catalogs");
  COJsonValue* schema = catalogs->addArrayItem()->addKeyValue("schemas")->addArrayItem();
  writeRelations(structure.tables, *schema->addKeyValue("tables"));
  writeRelations(structure.views, *schema->addKeyValue("views"));
  return catalogs->obtainJsonString();
}

}  // namespace console
