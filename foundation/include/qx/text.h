// SPDX-License-Identifier: Apache-2.0
// Small operations on texts. Texts are byte strings; nothing here depends on the locale.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "qx/export.h"

/// The text without leading and trailing white space: blank, tab, line feed, vertical tab, form feed, carriage
/// return. Of a text of nothing else an empty one is left.
QX_API std::string qxTrimAsString(std::string_view text);

/// One URL of the items in order, with a "/" between two items. The first item is the base with its scheme; a "/"
/// that already stands at the end of an item is not doubled, unless it belongs to a scheme without a host. Nothing is
/// percent-encoded here: the REST client does that for what may not stand in a URL. For an empty list the text is
/// empty.
QX_API std::string qxConcatURL(const std::vector<std::string>& items);
