// SPDX-License-Identifier: Apache-2.0
#include "transfer_loop.h"

#include <algorithm>
#include <array>
#include <new>

namespace qx {

namespace {

// What may end a call without waking it is noticed after this time: the limits that libcurl doesn't know, and the end
// of the process.
constexpr int kMostMilliseconds = 100;
constexpr std::size_t kMostWatches = 64;

/// Whether `pair` is what wakes the multi handle: it must hold bytes after a waking, and none before it and when the
/// waking has been noticed. Nothing is read from it or written to it here.
bool isWakingPair(CURLM* multi, const std::array<platform::Socket, 2>& pair) {
  const auto isEmpty = [](platform::Socket socket) { return platform::countLocalBytes(socket) == 0; };
  const auto isFilled = [](platform::Socket socket) { return platform::countLocalBytes(socket) > 0; };
  return std::all_of(pair.begin(), pair.end(), isEmpty) && curl_multi_wakeup(multi) == CURLM_OK &&
         std::all_of(pair.begin(), pair.end(), isFilled) &&
         curl_multi_poll(multi, nullptr, 0, 0, nullptr) == CURLM_OK && std::all_of(pair.begin(), pair.end(), isEmpty);
}

// libcurl opens two sockets with a multi handle, which nothing here needs, keeps them to itself, and before 8.14 leaves
// them open in programs that the host starts. Where threads open files at the same moment it may take several tries.
// Null when there is no descriptor left.
CurlMulti createMulti() {
  constexpr unsigned kClosesOnExec = 0x080e00;
  constexpr int kTries = 8;
  const bool isSafe =
      curl_version_info(CURLVERSION_NOW)->version_num >= kClosesOnExec || !platform::inheritsWakingPair();
  CurlMulti multi;
  for (int i = 0; i < kTries; ++i) {
    const std::array<platform::Socket, 2> next = platform::guessNextDescriptors();
    multi.reset(curl_multi_init());
    if (!multi && platform::hasFreeDescriptor()) throw std::bad_alloc();
    if (!multi || isSafe) break;
    if (!isWakingPair(multi.get(), next)) continue;
    std::for_each(next.begin(), next.end(), platform::closeOnExec);
    break;
  }
  return multi;
}

void check(CURLMcode code) {
  if (code != CURLM_OK) throw std::bad_alloc();
}

/// An easy handle's stay in a multi handle.
class Attachment {
 public:
  Attachment(CURLM* multi, CURL* easy) : multi_(multi), easy_(easy) { check(curl_multi_add_handle(multi, easy)); }
  ~Attachment() {
    // It can only fail for handles that don't belong together.
    static_cast<void>(curl_multi_remove_handle(multi_, easy_));
  }
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;

 private:
  CURLM* multi_;
  CURL* easy_;
};

}  // namespace

TransferLoop::TransferLoop(const ProcessLock& /*lock*/) : multi_(createMulti()) {
  CURLM* const multi = multi_.get();
  if (multi == nullptr) return;
  // Room for more than a transfer ever has, so that none is missing inside libcurl's callback.
  watches_.reserve(kMostWatches);
  ready_.reserve(kMostWatches);
  check(curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, watch));
  check(curl_multi_setopt(multi, CURLMOPT_SOCKETDATA, this));
  check(curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, setTimer));
  check(curl_multi_setopt(multi, CURLMOPT_TIMERDATA, this));
  // An assistant talks to one host.
  check(curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, 1L));
  // A multi handle goes as its last transfer without a share would have it: with the process's SIGPIPE left alone.
  CurlEasy quiet;
  quiet.set(CURLOPT_NOSIGNAL, 1L);
  const Attachment attachment(multi, quiet.get());
}

// libcurl takes back what it watches, while there still is a place for that.
TransferLoop::~TransferLoop() { multi_.reset(); }

std::vector<platform::Watch>::iterator TransferLoop::find(curl_socket_t socket) noexcept {
  return std::find_if(watches_.begin(), watches_.end(), [socket](const auto& one) { return one.socket == socket; });
}

int TransferLoop::watch(CURL* /*easy*/, curl_socket_t socket, int what, void* self, void* /*socketData*/) noexcept {
  auto& loop = *static_cast<TransferLoop*>(self);
  const auto known = loop.find(socket);
  if (what == CURL_POLL_REMOVE) {
    if (known != loop.watches_.end()) loop.watches_.erase(known);
    return 0;
  }
  const bool wantsRead = (what & CURL_POLL_IN) != 0;
  const platform::Watch wanted{socket, wantsRead, (what & CURL_POLL_OUT) != 0, !wantsRead};
  if (known != loop.watches_.end()) {
    *known = wanted;
  } else if (loop.watches_.size() < loop.watches_.capacity()) {
    loop.watches_.push_back(wanted);
  } else {
    return -1;
  }
  return 0;
}

int TransferLoop::setTimer(CURLM* /*multi*/, long milliseconds, void* self) noexcept {
  auto& loop = *static_cast<TransferLoop*>(self);
  loop.timer_.reset();
  if (milliseconds >= 0) loop.timer_ = Clock::now() + std::chrono::milliseconds(milliseconds);
  return 0;
}

int TransferLoop::countMilliseconds() const noexcept {
  if (!timer_) return kMostMilliseconds;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*timer_ - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, kMostMilliseconds));
}

void TransferLoop::rest() {
  ready_.clear();
  platform::waitFor(ready_, waker_, kMostMilliseconds);
}

// A server that has ended its side says nothing more. When libcurl only writes by then, it would go on until the
// server, which doesn't read either, is waited for in vain.
bool TransferLoop::isUploadInVain(const platform::Watch& ready) {
  const auto watched = find(ready.socket);
  if (!ready.hasEnded || watched == watches_.end() || watched->wantsRead) return false;
  watched->wantsEnd = false;
  return platform::peek(ready.socket) == platform::Unread::End;
}

void TransferLoop::actOnTimer(int& running) {
  timer_.reset();
  check(curl_multi_socket_action(multi_.get(), CURL_SOCKET_TIMEOUT, 0, &running));
}

/// Waits once and lets libcurl do what there is to do. False when the transfer cannot succeed any more.
bool TransferLoop::act(int& running) {
  ready_ = watches_;  // which change meanwhile
  platform::waitFor(ready_, waker_, countMilliseconds());
  for (const platform::Watch& one : ready_) {
    // Of a failed connection libcurl is to read the reason, and what had come before it. Told of the failure alone, it
    // calls a reply that was reset a request that could not be sent.
    const bool canRead = one.canRead || (one.hasFailed && one.wantsRead);
    const int events = (canRead ? CURL_CSELECT_IN : 0) | (one.canWrite ? CURL_CSELECT_OUT : 0) |
                       (one.hasFailed ? CURL_CSELECT_ERR : 0);
    if (events != 0 && find(one.socket) != watches_.end()) {
      check(curl_multi_socket_action(multi_.get(), one.socket, events, &running));
    }
    if (running > 0 && isUploadInVain(one)) return false;
  }
  if (running > 0 && timer_ && *timer_ <= Clock::now()) actOnTimer(running);
  return true;
}

/// Drives the transfer to its end. Nothing when it is to stop.
std::optional<CURLcode> TransferLoop::drive(const CallControl& control) {
  int running = 1;
  for (bool isFirst = true; running > 0; isFirst = false) {
    if (control.obtainStopFromOutside() != CallControl::Stop::None) return std::nullopt;
    if (isFirst) {
      actOnTimer(running);
    } else if (!act(running)) {
      return CURLE_RECV_ERROR;
    }
  }
  int waiting = 0;
  const CURLMsg* const message = curl_multi_info_read(multi_.get(), &waiting);
  return message != nullptr && message->msg == CURLMSG_DONE ? message->data.result : CURLE_FAILED_INIT;
}

TransferLoop::End TransferLoop::run(CurlEasy& easy, const CallControl& control) {
  isSound_ = false;
  const Attachment attachment(multi_.get(), easy.get());
  End end;
  end.result = drive(control);
  end.keptSocket = easy.obtainInfo<curl_socket_t>(CURLINFO_ACTIVESOCKET, CURL_SOCKET_BAD);
  isSound_ = true;
  return end;
}

}  // namespace qx
