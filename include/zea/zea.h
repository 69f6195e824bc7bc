// SPDX-License-Identifier: Apache-2.0
// libzea: lets the users of a database tool talk to a chat model about their database.
//
// The smallest host. Its argument is the API's host, without one the provider's own:
//
//   #include <zea/zea.h>
//
//   #include <cstdlib>
//   #include <iostream>
//   #include <memory>
//
//   int main(int argc, char** argv) {
//     const char* key = std::getenv("OPENAI_API_KEY");
//     std::unique_ptr<ICSHTTPPoolCenter> pool(QX::createHTTPPoolCenter());
//     IZEAAssistant* assistant = ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, pool.get(), key != nullptr ? key : "",
//                                                   argc > 1 ? argv[1] : "", nullptr);
//     if (assistant == nullptr) return 1;
//     pool.release();  // the assistant owns it from now on
//
//     bool isSet = false;
//     assistant->updateProperties([&isSet](IZEAProperties* properties) {
//       isSet = properties->setValue("model", "gpt-4o") &&
//               properties->setValue("db_structure", R"([{"schemas": [{"tables": [{"name": "orders", "fields": [
//                   {"name": "id", "type": "int"}, {"name": "state", "type": "text"}]}]}]}])");
//     });
//     if (!isSet) std::cerr << "The model is not told of the database.\n";
//
//     auto [reply, failure] = assistant->addMessage("Which orders are open?");
//     if (reply != nullptr) std::cout << reply->obtainSections().front()->obtainSectionText() << '\n';
//     std::cerr << failure;  // empty when there is a reply
//     ZEAFreeObject(reply);
//     ZEAFreeObject(assistant);
//   }
//
// Threads: every operation runs on the caller's thread; `addMessage` and `obtainAvailableModels` block it until the
// provider has answered. One thread at a time may use an assistant, its properties and its memory; different
// assistants are independent of each other. The library starts no thread; libqx looks names up on a few of its own.
//
// Failures arrive as a text for the user, never as an exception. The library itself throws `std::bad_alloc` and, from
// `updateProperties` with an empty function, `std::bad_function_call`; what a host's own function or memory throws
// passes through it.
//
// The interfaces pass classes of the standard library, so host and library are built against the same one, and with
// run-time type information: the library asks a memory and a pool whether they are its own.
#pragma once

#include "qx/qx.h"
#include "zea/izea_assistant.h"
#include "zea/izea_assistant_memory.h"
#include "zea/izea_message.h"
#include "zea/izea_object.h"
#include "zea/izea_properties.h"
#include "zea/zea_assistant_type.h"
#include "zea/zea_callback.h"
#include "zea/zea_exports.h"
