// SPDX-License-Identifier: Apache-2.0
// One conversation, with a provider or with the stand-in.
#pragma once

#include <standin/zea_standin.h>
#include <zeakit/focused_memory.h>
#include <zeakit/structure_builder.h>
#include <zeakit/window_memory.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "console/chat_memory.h"
#include "console/connection.h"
#include "console/console_options.h"
#include "console/kept_conversation.h"

namespace console {

/// Keeps what outlasts a change of the provider: the turns, the database and the user's settings. Operations that fail
/// throw `Failure`.
class Session {
 public:
  /// For talking: with the provider that `options` name, or, when they name none, with a stand-in that the session
  /// runs itself. Throws `Failure` when a model or a key is missing.
  static std::unique_ptr<Session> connect(const ConsoleOptions& options);
  /// For reading the prompt only: without provider, key and network.
  static std::unique_ptr<Session> createOffline(const ConsoleOptions& options);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Tells the model of the database.
  void describeDatabase(const zeakit::BuiltStructure& structure);

  /// Goes on with the same conversation at another provider. What is left empty is as it was when that provider was
  /// asked before; otherwise the host is the provider's own. So is the key, or its environment variable or the user
  /// gives one. When a model or a key is missing, nothing changes.
  void changeProvider(const std::string& name, const std::string& model, const std::string& host);
  /// The provider as texts name it, and its model.
  std::string obtainProvider() const;

  void setModel(const std::string& model);
  std::string obtainModel() const { return connection_->obtainText("model"); }
  /// The whole system prompt, exactly as it is sent.
  std::string obtainPrompt() const { return connection_->obtainText("combined_instructions"); }

  /// Forgets the turns; what was kept of them stays so.
  void startAnew();
  /// Stores the turns from now on: those of the conversation that was kept last, if `isLatest` and there is one.
  void keepConversation(bool isLatest);
  /// Stores what has been said and what comes, as a conversation of that title; an empty one means the time.
  void saveAs(const std::string& title);
  /// Goes on with a conversation that was kept, named by its place in the list or its title. Returns how many answers
  /// it has.
  std::size_t load(const std::string& name);
  /// Deletes one; if it is this conversation, that goes on without being stored.
  void removeKept(const std::string& name);
  /// A line for each conversation that is kept.
  std::string listKept();

  std::vector<std::string> listModels();
  std::string ask(const std::string& question);
  std::string askForStatement(const std::string& question, zeakit::IReadOnlyRunner& runner) {
    focus(question);
    return connection_->askForStatement(question, runner);
  }
  /// About how many tokens a question takes with all that goes along with it.
  std::size_t estimate(const std::string& question);
  /// A line for each table that the last question carried, with how much of it.
  std::string listTables() const;
  /// All tables that there are.
  const std::vector<std::string>& tableNames() const { return tableNames_; }

 private:
  explicit Session(const ConsoleOptions& options);

  /// How a provider was spoken to last.
  struct Access {
    ProviderKey key;
    std::string host;
    std::string model;
  };

  KeptConversation& kept();
  void noteWhatIsNotKept() const;
  // Fits the structure to what is asked next.
  void focus(const std::string& question);

  void connectTo(const Provider& provider, const Access& access);
  // Gives a new connection the user's settings.
  void configure(Connection& connection) const;

  const ConsoleOptions options_;
  CMVariantMap systemInstructions_;
  // What a member uses is declared ahead of it: the stand-in and the memory outlive the connection.
  std::unique_ptr<standin::Server> standin_;
  std::unique_ptr<KeptConversation> kept_;
  ChatMemory memory_;
  zeakit::WindowMemory window_;
  zeakit::FocusedMemory focused_;
  std::vector<zeakit::FittedTable> tables_;  // of the last question
  std::vector<std::string> tableNames_;
  std::map<std::string_view, Access> known_;  // by the provider's name
  std::unique_ptr<Connection> connection_;
};

}  // namespace console
