// libzea: lets the users of a database tool talk to a chat model about their database.
//
// The smallest host:
//
//   #include <zea/zea.h>
//   #include <iostream>
//
//   int main() {
//     IZEAAssistant* assistant =
//         ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, QX::createHTTPPoolCenter(), key, "", nullptr);
//     assistant->updateProperties([](IZEAProperties* properties) {
//       properties->setValue("model", "gpt-4o");
//       properties->setValue("db_structure", structureAsJson);
//     });
//     auto [reply, failure] = assistant->addMessage("Which customers have open orders?");
//     if (reply != nullptr) {
//       std::cout << reply->obtainSections().front()->obtainSectionText() << '\n';
//     } else {
//       std::cerr << failure << '\n';
//     }
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
// The interfaces pass classes of the standard library, so host and library are built against the same one.
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
