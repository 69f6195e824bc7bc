// SPDX-License-Identifier: Apache-2.0
#include "loopback/answering_server.h"

#include "loopback/channel.h"
#include "loopback/tls_identity.h"

namespace loopback {

namespace {

constexpr int kBacklog = 1024;  // hundreds of clients may come at once

}  // namespace

AnsweringServer::AnsweringServer(std::string reply, const standin::TlsIdentity* identity, Observer observer)
    : reply_(std::make_shared<Reply>(Reply{std::move(reply), false})),
      observer_(std::move(observer)),
      context_(identity != nullptr ? makeServerContext(*identity, 0) : nullptr),
      listener_(kBacklog) {
  const std::lock_guard lock(mutex_);
  addWorker();
}

AnsweringServer::~AnsweringServer() {
  listener_.end();
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return begunCount_ == endedCount_ && idleCount_ == 0; });
  }
  for (std::thread& worker : workers_) worker.join();
}

void AnsweringServer::setReply(std::string reply, bool isLast) {
  auto next = std::make_shared<Reply>(Reply{std::move(reply), isLast});
  const std::lock_guard lock(mutex_);
  reply_ = std::move(next);
}

std::size_t AnsweringServer::connectionCount() const {
  const std::lock_guard lock(mutex_);
  return begunCount_;
}

std::string AnsweringServer::awaitReceived() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return begunCount_ == endedCount_; });
  return received_;
}

std::shared_ptr<const AnsweringServer::Reply> AnsweringServer::obtainReply() const {
  const std::lock_guard lock(mutex_);
  return reply_;
}

/// REQUIRES: the mutex is held.
void AnsweringServer::addWorker() {
  ++idleCount_;
  workers_.emplace_back([this] { work(); });
}

/// There is always a worker that waits, so there are as many as there have been connections at once, and one more. They
/// stay: a thread for each connection would leave memory behind until it is joined, and look like a leak.
void AnsweringServer::work() {
  blockBrokenPipes();
  for (int client = 0; (client = listener_.accept()) >= 0;) {
    {
      const std::lock_guard lock(mutex_);
      ++begunCount_;
      if (--idleCount_ == 0) addWorker();
    }
    std::string received;
    {
      Channel channel(client, context_.get());
      if (channel.begin()) serve(channel, received);
    }
    const std::lock_guard lock(mutex_);
    received_ = std::move(received);
    ++endedCount_;
    ++idleCount_;
    changed_.notify_all();
  }
  const std::lock_guard lock(mutex_);
  --idleCount_;
  changed_.notify_all();
}

void AnsweringServer::serve(const Channel& channel, std::string& received) const {
  while (channel.receive(received)) {
    if (observer_) observer_(received);
    const std::shared_ptr<const Reply> reply = obtainReply();
    if (!channel.send(reply->bytes)) return;
    if (!reply->isLast) continue;
    static_cast<void>(::shutdown(channel.socket(), SHUT_WR));
    while (channel.receiveMore(received)) continue;
    return;
  }
}

}  // namespace loopback
