// SPDX-License-Identifier: Apache-2.0
// The assistant and the memories of hosts.
#include "handles.h"

using namespace zeac;

namespace {

void requireHost(std::int32_t result) {
  if (result != 0) throw Refusal(ZEAC_HOST_FAILED, "The host's memory failed.");
}

class HostMemory final : public IZEAAssistantMemory {
 public:
  explicit HostMemory(const zeac_memory_functions& functions) : functions_(functions) {}

  void setStructureDocument(const std::string& document) override {
    requireHost(functions_.set_structure_document(functions_.context, textOf(document)));
  }
  std::string obtainStructureDocument() const override {
    std::string document;
    zeac_sink sink{&document, nullptr};
    requireHost(functions_.structure_document(functions_.context, &sink));
    return document;
  }
  void addEntry(std::int32_t role, const std::string& text) override {
    requireHost(functions_.add_entry(functions_.context, role, textOf(text)));
  }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override {
    std::vector<ZEAAssistantMemoryEntry> entries;
    zeac_sink sink{nullptr, &entries};
    requireHost(functions_.entries(functions_.context, limit, &sink));
    return entries;
  }

 private:
  zeac_memory_functions functions_;
};

}  // namespace

struct zeac_assistant {
  std::shared_ptr<QXCancelSource> calls;
  zea::Owned<IZEAAssistant> assistant;
};

namespace {

/// `makeValue` returns the value; what it throws stays here, too.
template <class MakeValue>
std::int32_t setProperty(zeac_assistant* assistant, zeac_text name, zeac_string** sentence, MakeValue makeValue) {
  return guard(sentence, [&] {
    bool isSet = false;
    require(assistant).assistant->updateProperties(
        [&](IZEAProperties* properties) { isSet = properties->setValue(stringOf(name), makeValue(*properties)); });
    if (!isSet) throw Refusal(ZEAC_FAILED, "The assistant does not take that value for " + stringOf(name) + ".");
  });
}

}  // namespace

int32_t zeac_memory_create(const zeac_memory_functions* functions, zeac_memory** memory) {
  return guard(nullptr, [&] {
    Result<zeac_memory> result(memory);
    const zeac_memory_functions& given = requireRecord(functions);
    const bool isWhole = given.set_structure_document != nullptr && given.structure_document != nullptr &&
                         given.add_entry != nullptr && given.entries != nullptr;
    if (!isWhole) throw Refusal(ZEAC_BAD_ARGUMENT, "A function of the memory is null.");
    result.give({std::make_unique<HostMemory>(given)});
  });
}

void zeac_memory_free(zeac_memory* memory) { delete memory; }

int32_t zeac_sink_text(zeac_sink* sink, zeac_text text) {
  return guard(nullptr, [&] { require(require(sink).text) = stringOf(text); });
}

int32_t zeac_sink_entry(zeac_sink* sink, int32_t role, zeac_text text) {
  return guard(nullptr, [&] { require(require(sink).entries).push_back({role, stringOf(text)}); });
}

int32_t zeac_assistant_create(const zeac_assistant_options* options, zeac_assistant** assistant,
                              zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_assistant> result(assistant);
    const zeac_assistant_options& given = requireRecord(options);
    auto calls = given.cancel == nullptr ? std::make_shared<QXCancelSource>() : given.cancel->source;
    IZEAAssistantMemory* const memory = given.memory == nullptr ? nullptr : given.memory->memory.get();
    auto made = zea::createAssistant(static_cast<ZEAAssistantType>(given.provider), stringOf(given.key),
                                     stringOf(given.host), memory, calls);
    if (!made) throw Refusal(ZEAC_BAD_ARGUMENT, "There is no provider of that number.");
    result.give({std::move(calls), std::move(made)});
  });
}

void zeac_assistant_free(zeac_assistant* assistant) { delete assistant; }

int32_t zeac_assistant_set_text(zeac_assistant* assistant, zeac_text name, zeac_text value, zeac_string** sentence) {
  return setProperty(assistant, name, sentence, [&](IZEAProperties&) { return CMVariant(stringOf(value)); });
}

int32_t zeac_assistant_set_integer(zeac_assistant* assistant, zeac_text name, int32_t value, zeac_string** sentence) {
  return setProperty(assistant, name, sentence, [&](IZEAProperties&) { return CMVariant(value); });
}

int32_t zeac_assistant_set_number(zeac_assistant* assistant, zeac_text name, double value, zeac_string** sentence) {
  return setProperty(assistant, name, sentence, [&](IZEAProperties&) { return CMVariant(value); });
}

int32_t zeac_assistant_set_instruction(zeac_assistant* assistant, zeac_text name, zeac_text text,
                                       zeac_string** sentence) {
  return setProperty(assistant, textOf("system_instructions"), sentence, [&](IZEAProperties& properties) {
    CMVariantMap instructions = properties.obtainValue("system_instructions").mapValue();
    instructions[stringOf(name)] = stringOf(text);
    return CMVariant(std::move(instructions));
  });
}

int32_t zeac_assistant_text(zeac_assistant* assistant, zeac_text name, zeac_string** value, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_string> result(value);
    const zea::Owned<IZEAProperties> properties(require(assistant).assistant->obtainProperties());
    result.give({properties->obtainValue(stringOf(name)).stringValue()});
  });
}

int32_t zeac_assistant_endpoint(zeac_assistant* assistant, zeac_string** url, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_string> result(url);
    result.give({require(assistant).assistant->obtainEndpointURL()});
  });
}

int32_t zeac_assistant_ask(zeac_assistant* assistant, zeac_text question, zeac_string** reply, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_string> result(reply);
    zea::Answer answer = zea::ask(*require(assistant).assistant, stringOf(question));
    if (!answer.isAnswered) throw Refusal(ZEAC_FAILED, answer.failure);
    result.give({std::move(answer.text)});
  });
}

int32_t zeac_assistant_models(zeac_assistant* assistant, zeac_strings** models, zeac_string** sentence) {
  return guard(sentence, [&] {
    Result<zeac_strings> result(models);
    auto [names, failure] = require(assistant).assistant->obtainAvailableModels();
    requireSuccess(failure);
    result.give({std::move(names)});
  });
}

int32_t zeac_assistant_last_status(const zeac_assistant* assistant) {
  return assistant == nullptr ? 0 : assistant->calls->obtainLastCode();
}
