// SPDX-License-Identifier: Apache-2.0
// A memory of the host's own, here a file of turns: own_memory URL QUESTION. It outlives the assistant, so that the
// conversation goes on at another provider.
#include <zea/zea_owned.h>

#include <algorithm>
#include <iostream>
#include <vector>

namespace {

class Notebook : public IZEAAssistantMemory {
 public:
  void setStructureDocument(const std::string& document) override { document_ = document; }
  std::string obtainStructureDocument() const override { return document_; }
  void addEntry(std::int32_t role, const std::string& text) override { turns_.push_back({role, text}); }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override {
    const auto wanted = limit > 0 ? std::min(static_cast<std::size_t>(limit), turns_.size()) : turns_.size();
    return {turns_.end() - static_cast<std::ptrdiff_t>(wanted), turns_.end()};
  }
  std::size_t size() const { return turns_.size(); }

 private:
  std::string document_;
  std::vector<ZEAAssistantMemoryEntry> turns_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  Notebook notebook;  // before the assistants that use it
  notebook.setStructureDocument(
      R"([{"schemas": [{"tables": [{"name": "orders", "fields": [{"name": "id", "type": "int"}]}]}]}])");
  for (const auto type : {ZEAAssistantType::OPENAI_v1, ZEAAssistantType::GOOGLE, ZEAAssistantType::OLLAMA}) {
    const auto assistant = zea::createAssistant(type, "none", argv[1], &notebook);
    zea::setProperty(*assistant, zea::property::kModel, "standin-large");
    const zea::Answer answer = zea::ask(*assistant, argv[2]);
    if (!answer.isAnswered) std::cerr << answer.failure << '\n';
    std::cout << answer.text << "\n\n";
  }
  return notebook.size() == 6 ? 0 : 1;
}
