// SPDX-License-Identifier: Apache-2.0
// How the providers' error bodies become a text for the user. A body of any form makes a text, an empty one at worst.
#pragma once

#include <string>

class CMRestResourceResponse;

namespace zea {

/// The "message" of the body's "error" object, for most providers; otherwise the raw body.
std::string extractErrorText(const CMRestResourceResponse& response);

/// The same "message"; otherwise empty, never the raw body.
std::string obtainErrorMessage(const CMRestResourceResponse& response);

/// The body's "code" and, on a second line, its "error", when both are strings; otherwise the raw body.
std::string extractCodeErrorText(const CMRestResourceResponse& response);

}  // namespace zea
