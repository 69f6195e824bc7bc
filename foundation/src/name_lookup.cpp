// SPDX-License-Identifier: Apache-2.0
#include "name_lookup.h"

#include <algorithm>
#include <map>
#include <utility>

#include "process_shared.h"

namespace qx {

namespace {

// Without an answer the system's resolver gives up after half a minute. A host that goes on asking meanwhile must not
// gather threads.
constexpr std::size_t kMostThreads = 8;

}  // namespace

/// What a thread of the resolver and the calls that wait for it share. It outlives whoever gives up.
struct NameLookup::Task {
  std::string name;
  bool hasEnded = false;
  std::vector<std::string> addresses;
  std::vector<platform::Waker*> waiting;
};

struct NameLookup::Tasks {
  std::map<std::string, std::shared_ptr<Task>> running;
};

NameLookup::Beginning NameLookup::begin(const std::string& name) {
  const ProcessLock lock;
  auto& running = obtainShared<Tasks>(lock).running;
  const auto known = running.find(name);
  if (known == running.end() && running.size() >= kMostThreads) return Beginning::TooMany;
  const auto task = known != running.end() ? known->second : std::make_shared<Task>();
  task->waiting.push_back(&waker_);
  if (known == running.end()) {
    task->name = name;
    auto forThread = std::make_unique<std::shared_ptr<Task>>(task);
    const auto added = running.emplace(name, task).first;
    if (!platform::startThread(work, forThread.get())) {
      running.erase(added);
      return Beginning::NoThread;
    }
    static_cast<void>(forThread.release());  // it is the thread's
  }
  task_ = task;
  return Beginning::Begun;
}

NameLookup::~NameLookup() {
  if (!task_) return;
  const ProcessLock lock;
  // The thread may go on for long, and the waker goes now.
  auto& waiting = task_->waiting;
  waiting.erase(std::find(waiting.begin(), waiting.end(), &waker_));
}

bool NameLookup::hasEnded() const {
  const ProcessLock lock;
  return task_->hasEnded;
}

const std::vector<std::string>& NameLookup::obtainAddresses() const noexcept { return task_->addresses; }

void* NameLookup::work(void* given) {
  const std::unique_ptr<std::shared_ptr<Task>> owned(static_cast<std::shared_ptr<Task>*>(given));
  Task& task = **owned;
  std::vector<std::string> addresses;
  try {
    addresses = platform::lookUp(task.name);
  } catch (...) {
    addresses.clear();  // without memory no name is found
  }
  const ProcessLock lock;
  task.addresses = std::move(addresses);
  task.hasEnded = true;
  // Addresses change: whoever asks from now on begins a lookup of its own.
  obtainShared<Tasks>(lock).running.erase(task.name);
  for (platform::Waker* const waker : task.waiting) waker->wake();
  return nullptr;
}

}  // namespace qx
