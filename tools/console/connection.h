// SPDX-License-Identifier: Apache-2.0
// One provider's end of a conversation.
#pragma once

#include <zea/zea_owned.h>
#include <zeakit/read_only_runner.h>

#include <memory>
#include <string>
#include <vector>

#include "console/failure.h"
#include "console/provider.h"

namespace console {

/// Wraps an assistant. Texts from outside are repaired to UTF-8 before they go to it. Operations that fail throw
/// `Failure` with the library's sentence and the exit code that belongs to it.
class Connection {
 public:
  /// `host`: empty for the provider's own; what its end has in common with the path of the requests is left out.
  /// `memory`: borrowed for the life of the connection.
  Connection(const Provider& provider, const ProviderKey& key, const std::string& host, IZEAAssistantMemory* memory);

  const Provider& provider() const { return provider_; }
  /// Shows failures whole from now on.
  void showRawFailures() { isRaw_ = true; }

  void set(const std::string& key, const CMVariant& value);
  void setText(const std::string& key, const std::string& text);
  std::string obtainText(const std::string& key) const;
  /// Whether it speaks https to this machine, where servers mostly speak http.
  bool isSecureHere() const;

  std::vector<std::string> listModels();
  /// The answer, which is not blank. Ctrl-C ends the question.
  std::string ask(const std::string& question);
  /// A statement that the runner can run, after one correction at most. Ctrl-C ends the question.
  std::string askForStatement(const std::string& question, zeakit::IReadOnlyRunner& runner);

 private:
  void create(const std::string& host, IZEAAssistantMemory* memory);
  Failure fail(const std::string& sentence) const;
  // What the program knows about a failure besides.
  std::string hintFor(std::int32_t code) const;

  Provider provider_;
  bool isRaw_ = false;
  ProviderKey key_;                                                             // masked in what the provider says
  std::shared_ptr<QXCancelSource> calls_ = std::make_shared<QXCancelSource>();  // knows how the last one ended
  zea::Owned<IZEAAssistant> assistant_;
};

}  // namespace console
