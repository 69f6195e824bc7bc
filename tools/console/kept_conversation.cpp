#include "console/kept_conversation.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "console/failure.h"

namespace console {

namespace {

namespace fs = std::filesystem;

fs::path folderOfData() {
  const char* const data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return fs::path(data) / "zea";
  const char* const home = std::getenv("HOME");
  if (home == nullptr || *home == '\0') throw Failure(ExitCode::Usage, "There is no HOME to keep conversations in.");
  return fs::path(home) / ".local" / "share" / "zea";
}

std::string today() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  char text[32] = "";
  if (localtime_r(&now, &parts) != nullptr) std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M", &parts);
  return text;
}

}  // namespace

KeptConversation::KeptConversation(bool isNew) {
  std::error_code failure;
  const fs::path folder = folderOfData();
  fs::create_directories(folder, failure);
  if (failure) throw Failure(ExitCode::Usage, folder.string() + " cannot be made: " + failure.message() + ".");
  zeasqlite::OpenedStore opened = zeasqlite::ConversationStore::open(folder / "conversations.db");
  if (!opened.error.empty()) throw Failure(ExitCode::Usage, opened.error);
  store_ = std::move(opened.store);
  const auto list = store_->list();
  if (!list.error.empty()) throw Failure(ExitCode::Usage, list.error);
  if (isNew || list.conversations.empty()) {
    startAnew();
  } else {
    title_ = list.conversations.front().title;
    memory_ = store_->memory(list.conversations.front().id);
  }
}

void KeptConversation::startAnew() {
  title_ = today();
  const auto made = store_->create(title_);
  if (!made.error.empty()) throw Failure(ExitCode::Usage, made.error);
  memory_ = store_->memory(made.id);
}

}  // namespace console
