// SPDX-License-Identifier: Apache-2.0
#include "zeakit/worker.h"

#include <zea/zea_owned.h>

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

#include "thread_signals.h"

namespace zeakit {

namespace {

constexpr char kCancelled[] = "The question was cancelled.";

using Assistant = zea::Owned<IZEAAssistant>;

/// What a thread does; the function that it returns is the callback with its result.
struct Job {
  std::function<std::function<void()>(IZEAAssistant&)> run;
  std::function<void()> cancelRunning;
  std::function<void()> callbackWhenCancelled;  // without having run
};

std::string sentenceOf(const std::exception_ptr& thrown) {
  try {
    std::rethrow_exception(thrown);
  } catch (const std::exception& error) {
    return std::string("The job failed: ").append(error.what());
  } catch (...) {
    return "The job failed.";
  }
}

}  // namespace

/// What outlives the worker, in functions that the host's thread has not run yet.
struct Worker::Shared {
  std::mutex mutex;
  bool isAlive = true;                    // no callback runs once it is false
  std::deque<std::function<void()>> due;  // callbacks, in the order of the jobs
  std::size_t jobs = 0;                   // without a callback so far

  static void deliver(const std::shared_ptr<Shared>& shared) {
    for (;;) {
      std::function<void()> callback;
      {
        const std::lock_guard<std::mutex> lock(shared->mutex);
        if (!shared->isAlive || shared->due.empty()) return;
        callback = std::move(shared->due.front());
        shared->due.pop_front();
        --shared->jobs;
      }
      callback();  // may destroy the worker
    }
  }
};

class Worker::Thread {
 public:
  Thread(std::shared_ptr<Shared> shared, const Create& create, Post post)
      : shared_(std::move(shared)), post_(std::move(post)), source_(std::make_shared<QXCancelSource>()) {
    pool_ = QX::createHTTPPoolCenter(source_);
    assistant_.reset(create(pool_));
    if (assistant_ == nullptr) throw std::invalid_argument("zeakit::Worker: no assistant");
    const SignalsBlocked blocked;
    thread_ = std::thread([this] { loop(); });
  }
  ~Thread() {
    {
      const std::lock_guard<std::mutex> lock(shared_->mutex);
      shared_->isAlive = false;
      waiting_.clear();
    }
    wake_.notify_all();
    cancelRunning();
    thread_.join();
  }
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  void add(Job job) {
    {
      const std::lock_guard<std::mutex> lock(shared_->mutex);
      waiting_.push_back(std::move(job));
      ++shared_->jobs;
    }
    wake_.notify_all();
  }

  /// The callbacks of jobs that never ran follow on that of the running one.
  void cancel() {
    {
      const std::lock_guard<std::mutex> lock(shared_->mutex);
      for (Job& job : waiting_) job.run = nullptr;
    }
    cancelRunning();
  }

  std::optional<std::chrono::steady_clock::time_point> runningSince() const { return since_; }

 private:
  void cancelRunning() {
    // Held while it is called: the job doesn't end, and what it refers to stays.
    const std::lock_guard<std::mutex> lock(runningMutex_);
    if (!isRunning_) return;
    source_->cancel();
    if (cancelJob_) cancelJob_();
  }

  void loop() {
    for (;;) {
      Job job;
      {
        std::unique_lock<std::mutex> lock(shared_->mutex);
        wake_.wait(lock, [this] { return !shared_->isAlive || !waiting_.empty(); });
        if (!shared_->isAlive) return;
        job = std::move(waiting_.front());
        waiting_.pop_front();
        since_ = std::chrono::steady_clock::now();
        const std::lock_guard<std::mutex> running(runningMutex_);
        isRunning_ = true;
        cancelJob_ = job.cancelRunning;
        // From here on a cancel counts, also one that comes ahead of the call.
        scope_.emplace(pool_);
      }
      std::function<void()> callback = job.run ? job.run(*assistant_) : std::move(job.callbackWhenCancelled);
      {
        const std::lock_guard<std::mutex> lock(shared_->mutex);
        const std::lock_guard<std::mutex> running(runningMutex_);
        scope_.reset();
        isRunning_ = false;
        cancelJob_ = nullptr;
        since_.reset();
        if (!shared_->isAlive) return;
        shared_->due.push_back(std::move(callback));
      }
      try {
        post_([shared = shared_] { Shared::deliver(shared); });
      } catch (...) {
        // The callback stays due.
      }
    }
  }

  const std::shared_ptr<Shared> shared_;  // its mutex guards `waiting_` and `since_` too
  const Post post_;
  const std::shared_ptr<QXCancelSource> source_;
  ICSHTTPPoolCenter* pool_ = nullptr;  // the assistant's
  Assistant assistant_;
  std::deque<Job> waiting_;
  std::optional<std::chrono::steady_clock::time_point> since_;
  std::condition_variable wake_;
  std::mutex runningMutex_;  // taken after the other one
  bool isRunning_ = false;
  std::function<void()> cancelJob_;
  std::optional<QXCancelScope> scope_;
  std::thread thread_;
};

Worker::Worker(const Create& create, Post post) : shared_(std::make_shared<Shared>()) {
  if (!create || !post) throw std::invalid_argument("zeakit::Worker: an empty function");
  thread_ = std::make_unique<Thread>(shared_, create, std::move(post));
}
Worker::~Worker() = default;

void Worker::ask(std::string question, std::function<void(Answer)> callback) {
  const auto answer = std::make_shared<Answer>();
  run(
      [answer, question = std::move(question)](IZEAAssistant& assistant) {
        const auto [message, failure] = assistant.addMessage(question);
        const zea::Owned<IZEAMessage> owned(message);
        answer->failure = failure;
        if (message == nullptr) return;
        answer->time = message->obtainTime();
        for (const IZEAMessageSection* const section : message->obtainSections()) {
          answer->text += section->obtainSectionText();
        }
      },
      [answer, callback = std::move(callback)](const std::string& failure) {
        if (!failure.empty()) answer->failure = failure;
        if (callback) callback(std::move(*answer));
      });
}

void Worker::listModels(std::function<void(ModelList)> callback) {
  const auto list = std::make_shared<ModelList>();
  run([list](IZEAAssistant& assistant) { std::tie(list->models, list->failure) = assistant.obtainAvailableModels(); },
      [list, callback = std::move(callback)](const std::string& failure) {
        if (!failure.empty()) list->failure = failure;
        if (callback) callback(std::move(*list));
      });
}

void Worker::run(std::function<void(IZEAAssistant&)> job, std::function<void(std::string)> callback,
                 std::function<void()> cancelJob) {
  Job added;
  added.callbackWhenCancelled = [callback] {
    if (callback) callback(kCancelled);
  };
  added.cancelRunning = std::move(cancelJob);
  added.run = [job = std::move(job),
               callback = std::move(callback)](IZEAAssistant& assistant) -> std::function<void()> {
    std::string failure;
    try {
      if (job) job(assistant);
    } catch (...) {
      failure = sentenceOf(std::current_exception());
    }
    return [callback, failure] {
      if (callback) callback(failure);
    };
  };
  thread_->add(std::move(added));
}

void Worker::cancel() { thread_->cancel(); }

WorkerState Worker::state() const {
  const std::lock_guard<std::mutex> lock(shared_->mutex);
  return {shared_->jobs, thread_->runningSince()};
}

void Worker::deliver() { Shared::deliver(std::shared_ptr<Shared>(shared_)); }

}  // namespace zeakit
