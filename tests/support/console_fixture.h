// SPDX-License-Identifier: Apache-2.0
// The program zea, as tests run it.
#pragma once

#include <gtest/gtest.h>
#include <qx/qx.h>
#include <sqlite3.h>
#include <standin/zea_standin.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace support {

/// What OPENAI's format answers with.
inline std::string openAiAnswer(const std::string& text) {
  COJson body;
  COJsonValue* const message = body.addKeyValue("choices")->addArrayItem()->addKeyValue("message");
  message->addKeyValue("role")->setStringValue("assistant");
  message->addKeyValue("content")->setStringValue(text);
  return body.obtainJsonString();
}

/// The program, a folder for its files and a stand-in that listens.
class ConsoleFixture : public testing::Test {
 protected:
  ConsoleFixture() {
    std::string pattern = std::filesystem::temp_directory_path() / "zea-console-XXXXXX";
    folder_ = ::mkdtemp(pattern.data());
    write("key", "sk-secret\nignored\n");
  }
  ~ConsoleFixture() override { std::filesystem::remove_all(folder_); }

  std::string path(const std::string& name) const { return folder_ / name; }
  void write(const std::string& name, const std::string& content) const { std::ofstream(path(name)) << content; }

  // A database made by a script; in the folder, as "name".
  void createDatabase(const std::string& name, const std::string& script) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path(name).c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    ASSERT_EQ(sqlite3_close(database), SQLITE_OK);
  }

  static ChildResult run(std::vector<std::string> arguments, const std::string& input = {},
                         const std::vector<std::string>& environment = {}) {
    arguments.insert(arguments.begin(), ZEA_PROGRAM);
    return runChild(arguments, environment, input);
  }

  // Asks the stand-in as the provider OPENAI.
  ChildResult talk(std::vector<std::string> arguments, const std::string& input = {}) const {
    createDatabase("small.db", "CREATE TABLE IF NOT EXISTS notes (id INTEGER PRIMARY KEY, text TEXT)");
    const std::vector<std::string> more = {"--db", path("small.db"), "--provider", "OpenAI",  "--host",
                                           url_,   "--key-file",     path("key"),  "--model", "m"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, input);
  }

  void enqueue(int status, const std::string& body) {
    standin::Reply reply;
    reply.status = status;
    reply.body = body;
    standin_.enqueue(reply);
  }

  standin::Server standin_;
  std::string url_ = standin_.url();
  std::filesystem::path folder_;
};

}  // namespace support
