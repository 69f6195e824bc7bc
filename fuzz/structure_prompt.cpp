// SPDX-License-Identifier: Apache-2.0
// A text as "db_structure", and what a model and a host are told of it.
#include <zea/zea_owned.h>

#include <memory>

#include "check.h"

namespace {

void appendStatements(std::string& lines, const CMVariantMap& map, const std::string& firstWord) {
  for (const CMVariant& item : *map.at("instructions").listIfAny()) {
    const std::string statement = item.stringValue();
    check(statement.empty() || statement.rfind(firstWord, 0) == 0, "a statement is whole or empty");
    lines += statement + "\n";
  }
}

std::string linesOf(const CMVariant& structure) {
  std::string lines;
  for (const CMVariant& item : *structure.listIfAny()) {
    const CMVariantMap& catalog = *item.mapIfAny();
    appendStatements(lines, catalog, "USE CATALOG `");
    for (const CMVariant& schema : *catalog.at("schemas").listIfAny()) {
      appendStatements(lines, *schema.mapIfAny(), "CREATE ");
    }
  }
  return lines.empty() ? lines : lines + "\n";
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string document = textOf(data, size);
  const zea::Owned<IZEAAssistant> assistant(
      ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, nullptr, "", "http://127.0.0.1", nullptr));
  bool isAccepted = false;
  assistant->updateProperties(
      [&](IZEAProperties* properties) { isAccepted = properties->setValue("db_structure", document); });

  const zea::Owned<IZEAProperties> properties(assistant->obtainProperties());
  const std::string prompt = properties->obtainValue("combined_instructions").stringValue();
  const std::string lines = linesOf(properties->obtainValue("db_structure"));

  check(isAccepted == COJson(document).getIsValidJson(), "a document is accepted if it is well-formed");
  check(prompt == lines, "the prompt and the list say the same");
  check(isAccepted || prompt.empty(), "what was refused leaves no trace");
  return 0;
}
