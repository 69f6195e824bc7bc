// SPDX-License-Identifier: Apache-2.0
// Structure documents of a given size, as a database tool writes them.
#pragma once

#include <cstddef>
#include <string>

/// A document of at least `bytes` bytes, pretty-printed with four blanks a level: schemas of a hundred tables with a
/// dozen columns, a primary key and two foreign keys each, and a view for every fourth table. The same size gives the
/// same document.
std::string createStructureDocument(std::size_t bytes);
