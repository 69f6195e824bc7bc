// SPDX-License-Identifier: Apache-2.0
// An assistant on a thread of its own, for hosts with a window.
#pragma once

#include <zea/izea_assistant.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zeakit/export.h"

class ICSHTTPPoolCenter;

namespace zeakit {

struct Answer {
  /// The reply's text; empty when it failed.
  std::string text;
  /// When the reply had arrived: seconds since the epoch, UTC.
  std::int64_t time = 0;
  /// A sentence about why there is no reply; empty when there is one.
  std::string failure;
};

struct ModelList {
  std::vector<std::string> models;
  std::string failure;
};

struct WorkerState {
  /// Jobs whose callback has not run yet, the running one among them. 0: idle.
  std::size_t jobs = 0;
  /// Since when the running job runs; none while nothing runs.
  std::optional<std::chrono::steady_clock::time_point> runningSince;
};

/// Runs an assistant's operations on one thread, which it owns, one after another in the order of the calls. Every
/// operation here returns at once. Each job ends with its callback, which runs on the host's thread, in the order of
/// the jobs, but for those that are left when the worker is destroyed.
///
///   zeakit::Worker worker(
///       [&](ICSHTTPPoolCenter* pool) {
///         return ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, pool, key, "", nullptr);
///       },
///       [&](std::function<void()> function) { window.callLater(std::move(function)); });
///   worker.ask("Which orders are open?", [&](zeakit::Answer answer) { window.show(answer); });
///
/// "The host's thread" is the one that runs what `post` is given. It is the one that uses and destroys the worker, and
/// a callback may do either. Signals of the process are not handled on the worker's own thread.
class ZEAKIT_API Worker {
 public:
  /// Gets a new pool, to be handed to `ZEACreateAssistant`, and returns the assistant, which belongs to the worker from
  /// then on. Called once, by the constructor, on the caller's thread. When it returns null or throws, the pool is the
  /// function's to delete.
  using Create = std::function<IZEAAssistant*(ICSHTTPPoolCenter* pool)>;
  /// Has a function run by the host's thread, later and once. Called on the worker's thread. Where it throws, nothing
  /// is lost: what there is to deliver waits for the next time that it doesn't, or for `deliver`.
  using Post = std::function<void(std::function<void()>)>;

  /// Throws what `create` throws, `std::invalid_argument` when it returns null or a function is empty, and
  /// `std::system_error` when there is no thread to be had.
  Worker(const Create& create, Post post);
  /// Cancels what runs and waits for its end; no callback runs from then on. REQUIRES: not called by a job.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// As `IZEAAssistant::addMessage`.
  void ask(std::string question, std::function<void(Answer)> callback);
  /// As `IZEAAssistant::obtainAvailableModels`.
  void listModels(std::function<void(ModelList)> callback);
  /// Runs anything else on the worker's thread, changes of properties among them; `callback` gets a sentence when the
  /// job threw or was cancelled before it ran. `cancelJob`, where the job is more than questions to the assistant, is
  /// called by `cancel` and by the destructor while the job runs; it returns at once and doesn't call the worker.
  void run(std::function<void(IZEAAssistant&)> job, std::function<void(std::string failure)> callback,
           std::function<void()> cancelJob = nullptr);

  /// Ends all jobs, running and waiting; their callbacks tell that they were cancelled. Any thread.
  void cancel();
  /// Any thread.
  [[nodiscard]] WorkerState state() const;
  /// Runs the callbacks that are due, for hosts that look by themselves instead of being told by `post`. On the host's
  /// thread.
  void deliver();

 private:
  struct Shared;
  class Thread;
  std::shared_ptr<Shared> shared_;
  std::unique_ptr<Thread> thread_;
};

}  // namespace zeakit
