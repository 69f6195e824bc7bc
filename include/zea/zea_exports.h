// SPDX-License-Identifier: Apache-2.0
// The functions of the library. They have C names, so that a host can also find them with `dlsym`.
#pragma once

#include <string>

#include "qx/http_pool_center.h"
#include "qx/rest_settings.h"
#include "zea/izea_assistant.h"
#include "zea/zea_api.h"
#include "zea/zea_assistant_type.h"
#include "zea/zea_callback.h"

extern "C" {

/// A new assistant. The caller owns it and gives it back with `ZEAFreeObject`. Any thread may call this.
///
/// `pool`: the connections of this assistant, such as `QX::createHTTPPoolCenter()` makes. The assistant owns it from
///   now on, so each needs one of its own. Null: no connection is kept between two requests.
/// `apiKey`: the provider's key; it may be empty. OLLAMA doesn't use it.
/// `apiHost`: a host, or a base URL with http or https; empty or blank selects the provider's public host.
/// `memory`: not owned, must outlive the assistant or be replaced by `setMemory`. Null: the assistant makes and owns
///   one.
///
/// Returns null for a type that doesn't exist, and throws `std::bad_alloc`; in both cases `pool` stays the caller's.
[[nodiscard]] ZEA_API IZEAAssistant* ZEACreateAssistant(ZEAAssistantType type, ICSHTTPPoolCenter* pool,
                                                        const std::string& apiKey, const std::string& apiHost,
                                                        IZEAAssistantMemory* memory);

/// Frees what the library handed out: assistants, messages, copies of properties, released memories. Null does
/// nothing. Any thread may call this, as long as none is using the object.
ZEA_API void ZEAFreeObject(IZEAObject* object);

/// Sets the host's callback; null removes it. To be called while no request is running.
ZEA_API void ZEARegisterCallback(ZEACallback callback);

/// Sets the settings of all requests of the process, those of existing assistants included, from the next request
/// on. They are copied. To be called while no request is running.
ZEA_API void ZEASetHTTPSettings(const CMRestGlobalSettings& settings);
}
