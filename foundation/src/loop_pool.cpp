// SPDX-License-Identifier: Apache-2.0
#include "loop_pool.h"

#include <curl/curl.h>

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "openssl_guard.h"
#include "platform/platform.h"
#include "process_shared.h"

namespace qx {

namespace {

/// libcurl is never cleaned up: other users of it in the process, and connections that a host still holds at the end,
/// could not bear that.
struct Library {
  Library() {
    platform::stayLoaded();
    const OpenSSLUse use;
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw std::bad_alloc();
  }
};

/// Loops belong to no pool of connections: a host may have a thousand of those, and asks through a few at a time.
struct Loops {
  std::vector<std::unique_ptr<TransferLoop>> ready;
  std::size_t borrowed = 0;
  std::size_t keepings = 0;
};

}  // namespace

BorrowedLoop::BorrowedLoop() {
  const ProcessLock lock;
  obtainShared<Library>(lock);
  Loops& loops = obtainShared<Loops>(lock);
  // Room for all, so that giving them back needs no memory.
  loops.ready.reserve(loops.ready.size() + loops.borrowed + 1);
  if (loops.ready.empty()) {
    loop_ = std::make_unique<TransferLoop>(lock);
  } else {
    loop_ = std::move(loops.ready.back());
    loops.ready.pop_back();
  }
  ++loops.borrowed;
}

// As many are pooled as are in use, and one more: few in a host that asks now and then, enough for one with many
// threads.
BorrowedLoop::~BorrowedLoop() {
  const ProcessLock lock;
  Loops& loops = obtainShared<Loops>(lock);
  --loops.borrowed;
  // The room has gone with the last of the pools.
  const bool hasRoom = loops.ready.size() < loops.ready.capacity();
  const bool isKept = loop_->isReusable() && loops.keepings > 0 && loops.ready.size() <= loops.borrowed && hasRoom;
  if (isKept) loops.ready.push_back(std::move(loop_));
}

LoopKeeping::LoopKeeping() {
  const ProcessLock lock;
  generation_ = lock.obtainGeneration();
  ++obtainShared<Loops>(lock).keepings;
}

LoopKeeping::~LoopKeeping() {
  std::vector<std::unique_ptr<TransferLoop>> unused;
  {
    const ProcessLock lock;
    if (generation_ != lock.obtainGeneration()) return;  // it counts in the parent of a fork
    Loops& loops = obtainShared<Loops>(lock);
    if (--loops.keepings == 0) unused.swap(loops.ready);
  }
  // They go without the lock: closing their descriptors takes system calls, and no other call should wait for those.
  unused.clear();
}

}  // namespace qx
