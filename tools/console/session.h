// One conversation with a provider, or with the stand-in.
#pragma once

#include <standin/zea_standin.h>
#include <zea/zea.h>

#include <memory>
#include <string>
#include <vector>

#include "console/console_options.h"
#include "console/failure.h"
#include "console/provider.h"

namespace console {

/// Wraps an assistant. Texts from outside are repaired to UTF-8 before they go to it. Operations that fail throw
/// `Failure` with the library's sentence and the exit code that belongs to it.
class Session {
 public:
  /// For talking: with the provider that `options` name, or, when they name none, with a stand-in that the session
  /// runs itself. Throws `Failure` when a key is missing.
  static std::unique_ptr<Session> connect(const ConsoleOptions& options);
  /// For reading the prompt only: without provider, key and network.
  static std::unique_ptr<Session> createOffline(const ConsoleOptions& options);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Tells the model of the database: a "db_structure" document, and the kind of SQL that belongs to it.
  void describeDatabase(const std::string& structureDocument, const std::string& system);
  void setModel(const std::string& model);
  std::string obtainModel() const;
  /// The whole system prompt, exactly as it is sent.
  std::string obtainPrompt() const;

  std::vector<std::string> listModels();
  std::string ask(const std::string& question);

 private:
  Session(ZEAAssistantType type, const std::string& key, const std::string& host, const ConsoleOptions& options);

  void set(const std::string& key, const CMVariant& value);
  std::string obtainProperty(const std::string& key) const;
  Failure fail(const std::string& sentence) const;

  struct Free {
    void operator()(IZEAObject* object) const { ZEAFreeObject(object); }
  };
  std::unique_ptr<standin::Server> standin_;  // outlives the assistant that talks to it
  ICSHTTPPoolCenter* pool_ = nullptr;         // the assistant's
  std::unique_ptr<IZEAAssistant, Free> assistant_;
};

}  // namespace console
