// SPDX-License-Identifier: Apache-2.0
// An assistant on a worker's thread, and the host's thread that hears of it.
#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "support/providers.h"
#include "zeakit/worker.h"

using namespace zeakit;

namespace {

/// The loop of a host with a window.
class HostLoop {
 public:
  Worker::Post post() {
    return [this](std::function<void()> function) {
      const std::lock_guard<std::mutex> lock(mutex_);
      functions_.push_back(std::move(function));
      wake_.notify_all();
    };
  }
  void runOne() {
    std::function<void()> function;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [this] { return !functions_.empty(); });
      function = std::move(functions_.front());
      functions_.pop_front();
    }
    function();
  }
  /// Runs what was posted until as many texts are there.
  void runUntil(const std::vector<std::string>& texts, std::size_t count) {
    while (texts.size() < count) runOne();
  }
  void runAllThatIsThere() {
    std::deque<std::function<void()>> functions;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      functions.swap(functions_);
    }
    for (const auto& function : functions) function();
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> functions_;
};

class WorkerTest : public testing::Test {
 protected:
  std::unique_ptr<Worker> newWorker(const Worker::Post& post) { return newWorker(post, server); }
  static std::unique_ptr<Worker> newWorker(const Worker::Post& post, const standin::Server& server) {
    return std::make_unique<Worker>(
        [&server](ICSHTTPPoolCenter* pool) {
          IZEAAssistant* const assistant =
              ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, pool, "k", server.url(), nullptr);
          set(*assistant, "model", "m");
          return assistant;
        },
        post);
  }
  void enqueueSlow() {
    standin::Reply slow{200, kProviders[0].answer};
    slow.delay = std::chrono::minutes(10);
    server.enqueue(slow);
  }
  void enqueueFine() { server.enqueue({200, kProviders[0].answer}); }
  std::function<void(Answer)> note() {
    return [this](const Answer& answer) {
      EXPECT_EQ(std::this_thread::get_id(), host);
      texts.push_back(answer.text + answer.failure);
      lastTime = answer.time;
    };
  }

  const std::thread::id host = std::this_thread::get_id();
  standin::Server server;
  HostLoop loop;
  std::vector<std::string> texts;
  std::int64_t lastTime = 0;
};

TEST_F(WorkerTest, CallsBackOnTheHostsThreadInTheOrderOfTheJobs) {
  const auto worker = newWorker(loop.post());
  enqueueFine();
  server.enqueue(
      {200, R"({"data":[{"object":"model","id":"a","created":1},{"object":"model","id":"b","created":2}]})"});

  worker->ask("q", note());
  worker->listModels([this](const ModelList& list) {
    texts.push_back(list.failure);
    for (const std::string& model : list.models) texts.back() += model;
  });
  worker->run([](IZEAAssistant&) { throw std::runtime_error("no way"); },
              [this](const std::string& failure) { texts.push_back(failure); });
  EXPECT_EQ(worker->state().jobs, 3u);
  loop.runUntil(texts, 3);

  EXPECT_EQ(texts, (std::vector<std::string>{"fine", "ba", "The job failed: no way"}));
  EXPECT_GT(lastTime, 0);
  EXPECT_EQ(worker->state().jobs, 0u);
  EXPECT_FALSE(worker->state().runningSince);
}

TEST_F(WorkerTest, CancelsWhatRunsAndWhatWaitsAndGoesOn) {
  const auto worker = newWorker(loop.post());
  // Also when the cancel comes ahead of the call itself.
  for (int i = 0; i < 50; ++i) {
    enqueueSlow();
    worker->ask("one", note());
    worker->ask("two", note());
    if (i == 0) {
      while (server.requests().empty()) std::this_thread::yield();
      EXPECT_TRUE(worker->state().runningSince);
    }
    worker->cancel();
    loop.runUntil(texts, 2);
    EXPECT_NE(texts[0].find("cancel"), std::string::npos) << texts[0];
    EXPECT_EQ(texts[1], "The question was cancelled.");
    texts.clear();
  }
}

TEST_F(WorkerTest, CancelsAJobThatIsMoreThanAQuestion) {
  const auto worker = newWorker(loop.post());
  std::mutex mutex;
  std::condition_variable wake;
  bool isCancelled = false;
  bool isRunning = false;
  worker->run(
      [&](IZEAAssistant&) {
        std::unique_lock<std::mutex> lock(mutex);
        isRunning = true;
        wake.notify_all();
        wake.wait(lock, [&] { return isCancelled; });
      },
      [this](const std::string& failure) { texts.push_back("done" + failure); },
      [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        isCancelled = true;
        wake.notify_all();
      });
  {
    std::unique_lock<std::mutex> lock(mutex);
    wake.wait(lock, [&] { return isRunning; });
  }
  worker->cancel();
  loop.runUntil(texts, 1);
  EXPECT_EQ(texts[0], "done");
}

TEST_F(WorkerTest, IsDestroyedAtAnyMomentWithoutALaterCallback) {
  for (int i = 0; i < 300; ++i) {
    standin::Server ownServer;
    standin::Reply slow{200, kProviders[0].answer};
    slow.delay = std::chrono::minutes(10);
    if (i % 3 == 0) ownServer.enqueue(slow);
    auto worker = newWorker(loop.post(), ownServer);
    bool isGone = false;
    worker->ask("q", [&](const Answer&) {
      EXPECT_FALSE(isGone);
      if (i % 3 == 2) worker.reset();  // a window that closes with its answer
    });
    worker->ask("q", [&](const Answer&) { EXPECT_FALSE(isGone); });
    for (int turn = 0; turn < (i * 7) % 40; ++turn) std::this_thread::yield();
    if (i % 3 == 2) loop.runOne();
    worker.reset();
    isGone = true;
    loop.runAllThatIsThere();
  }
}

TEST_F(WorkerTest, KeepsWhatAPostThatThrowsDidNotTake) {
  bool isBroken = true;
  const auto post = loop.post();
  const auto worker = newWorker([&](std::function<void()> function) {
    if (!std::exchange(isBroken, false)) return post(std::move(function));
    post([] {});
    throw std::runtime_error("the host's queue is full");
  });
  enqueueFine();
  worker->ask("one", note());
  loop.runOne();
  EXPECT_TRUE(texts.empty());
  worker->deliver();
  EXPECT_EQ(texts, (std::vector<std::string>{"fine"}));
}

TEST_F(WorkerTest, RefusesToBeMadeOfNothing) {
  EXPECT_THROW(Worker([](ICSHTTPPoolCenter* pool) { return delete pool, nullptr; }, loop.post()),
               std::invalid_argument);
  EXPECT_THROW(Worker(nullptr, loop.post()), std::invalid_argument);
}

}  // namespace
