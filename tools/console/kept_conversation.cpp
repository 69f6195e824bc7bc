// SPDX-License-Identifier: Apache-2.0
#include "console/kept_conversation.h"

#include <charconv>
#include <ctime>
#include <system_error>
#include <utility>

#include "console/failure.h"
#include "console/personal_files.h"

namespace console {

namespace {

std::string today() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  char text[32] = "";
  if (localtime_r(&now, &parts) != nullptr) std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M", &parts);
  return text;
}

[[noreturn]] void fail(const std::string& sentence) { throw Failure(ExitCode::Usage, sentence); }

std::unique_ptr<zeasqlite::ConversationStore> openStore() {
  const std::string folder = obtainDataFolder();
  if (folder.empty()) fail("There is no HOME to keep conversations in.");
  const std::string failure = makeFolder(folder);
  if (!failure.empty()) fail(failure);
  zeasqlite::OpenedStore opened = zeasqlite::ConversationStore::open(folder + "/conversations.db");
  if (!opened.error.empty()) fail(opened.error);
  return std::move(opened.store);
}

}  // namespace

KeptConversation::KeptConversation() : store_(openStore()) {}

std::vector<zeasqlite::ConversationInfo> KeptConversation::list() const {
  auto list = store_->list();
  if (!list.error.empty()) fail(list.error);
  return std::move(list.conversations);
}

zeasqlite::ConversationInfo KeptConversation::find(const std::string& name) const {
  const auto all = list();
  std::size_t number = 0;
  const auto parsed = std::from_chars(name.data(), name.data() + name.size(), number);
  const bool isNumber = parsed.ec == std::errc() && parsed.ptr == name.data() + name.size();
  if (isNumber && number >= 1 && number <= all.size()) return all[number - 1];
  for (const auto& one : all) {
    if (one.title == name) return one;
  }
  fail("There is no conversation of that number or title; /conversations lists them.");
}

void KeptConversation::begin(const std::string& title) {
  title_ = title.empty() ? today() : title;
  const auto made = store_->create(title_);
  if (!made.error.empty()) fail(made.error);
  id_ = made.id;
  memory_ = store_->memory(id_);
}

void KeptConversation::resume(const zeasqlite::ConversationInfo& conversation) {
  title_ = conversation.title;
  id_ = conversation.id;
  memory_ = store_->memory(id_);
}

void KeptConversation::rename(const std::string& title) {
  const std::string failure = store_->rename(id_, title);
  if (!failure.empty()) fail(failure);
  title_ = title;
}

void KeptConversation::remove(const zeasqlite::ConversationInfo& conversation) {
  const std::string failure = store_->remove(conversation.id);
  if (!failure.empty()) fail(failure);
  if (conversation.id == id_) memory_.reset();
}

}  // namespace console
