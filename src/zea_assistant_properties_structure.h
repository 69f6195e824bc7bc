// SPDX-License-Identifier: Apache-2.0
// The structure of a database: a JSON document of catalogs, schemas, tables and views, and the CREATE statements that
// are made of it for the model. Elements of a document that are not as they should be are passed over.
#pragma once

#include <string>

#include "qx/variant.h"

namespace zea {

/// The structure with its statements: a Map per catalog, those without a name first. An empty document has none.
CMVariantList renderStructure(const std::string& document);

/// Appends all statements of the structure, each on a line of its own.
void writeInstructionLines(std::string& text, const std::string& document);

}  // namespace zea
