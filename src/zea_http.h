// SPDX-License-Identifier: Apache-2.0
// The one way to a provider: one blocking call over an assistant's session.
#pragma once

#include <string>
#include <utility>

#include "qx/rest_request.h"
#include "qx/rest_response.h"

class CMRestSession;
class ICOJsonValue;

namespace zea::HTTP {

/// What a call returns: the response, which is there in every case and which the caller owns and deletes, and the
/// transport's text for the user, empty on success. A failed HTTP status is a failure of the transport too.
using Result = std::pair<CMRestResourceResponse*, std::string>;

/// Perform one call under the library's HTTP settings as they are at this moment. `URL` is complete but for the query;
/// query and headers may be empty. The body is not owned, may be null and must live until the call returns. They
/// throw nothing but `std::bad_alloc` and what the body throws when its text is asked for.
Result Get(CMRestSession* session, const std::string& URL, const CMRestParamList& query,
           const CMRestParamList& headers);
Result Post(CMRestSession* session, const std::string& URL, ICOJsonValue* body, const CMRestParamList& query,
            const CMRestParamList& headers);

}  // namespace zea::HTTP
