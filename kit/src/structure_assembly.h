// SPDX-License-Identifier: Apache-2.0
// From the rows of a catalog to what an assistant is told.
#pragma once

#include "catalog_rows.h"

namespace zeakit {

/// Joins the rows, leaves out what the options exclude, and writes the document and the instructions.
BuiltStructure assembleStructure(const CatalogRows& rows);

}  // namespace zeakit
