// SPDX-License-Identifier: Apache-2.0
#include "transfer_callbacks.h"

#include <string_view>

#include "platform/platform.h"

namespace qx {

void TransferCallbacks::setFunctions(CurlEasy& easy) {
  easy.set(CURLOPT_HEADERFUNCTION, writeHeader);
  easy.set(CURLOPT_WRITEFUNCTION, writeBody);
  easy.set(CURLOPT_OPENSOCKETFUNCTION, openSocket);
  easy.set(CURLOPT_RESOLVER_START_FUNCTION, beginLookup);
  easy.set(CURLOPT_PREREQFUNCTION, beginRequest);
}

void TransferCallbacks::attachTo(CurlEasy& easy, bool hasProxy) {
  easy_ = easy.get();
  hasProxy_ = hasProxy;
  easy.set(CURLOPT_HEADERDATA, this);
  easy.set(CURLOPT_WRITEDATA, this);
  easy.set(CURLOPT_OPENSOCKETDATA, this);
  easy.set(CURLOPT_RESOLVER_START_DATA, this);
  easy.set(CURLOPT_PREREQDATA, this);
  if (!hasProxy) return;
  easy.set(CURLOPT_XFERINFOFUNCTION, watchTunnel);
  easy.set(CURLOPT_XFERINFODATA, this);
  easy.set(CURLOPT_NOPROGRESS, 0L);
}

TLSReport& TransferCallbacks::beginAttempt() noexcept {
  attempt_ = {};
  attempt_.tls.control = &control_;
  return attempt_.tls;
}

CallControl::Stop TransferCallbacks::obtainStop() const noexcept {
  return attempt_.stop != CallControl::Stop::None ? attempt_.stop : attempt_.tls.stop;
}

std::size_t TransferCallbacks::writeHeader(char* data, std::size_t size, std::size_t count, void* self) {
  const std::string_view line(data, size * count);
  return static_cast<TransferCallbacks*>(self)->reply_.takeHeaderLine(line) ? line.size() : 0;
}

std::size_t TransferCallbacks::writeBody(char* data, std::size_t size, std::size_t count, void* self) {
  const std::string_view piece(data, size * count);
  return static_cast<TransferCallbacks*>(self)->reply_.takeBody(piece) ? piece.size() : CURL_WRITEFUNC_ERROR;
}

// When a kept connection dies libcurl would send the request again on a new one, although the server may have read it.
// Whatever a new start needs, a name, a socket or the sending itself, is refused from then on.
bool TransferCallbacks::refusesRestart() noexcept {
  isRestartRefused_ = isRestartRefused_ || (hasBody_ && isConnected_);
  return isRestartRefused_;
}

curl_socket_t TransferCallbacks::openSocket(void* self, curlsocktype /*purpose*/, curl_sockaddr* address) {
  auto& callbacks = *static_cast<TransferCallbacks*>(self);
  if (callbacks.refusesRestart()) return CURL_SOCKET_BAD;
  callbacks.attempt_.hasOpenedSocket = true;
  const platform::Socket socket = platform::openSocket(address->family, address->socktype, address->protocol);
  if (socket == platform::kNoSocket && !platform::hasFreeDescriptor()) callbacks.isOutOfDescriptors_ = true;
  return socket;
}

// libcurl calls this before it uses an address as well, when it only has to read it. For a name the attempt ends here:
// it is looked up outside libcurl, and the next attempt finds its addresses.
int TransferCallbacks::beginLookup(void* /*state*/, void* /*reserved*/, void* self) {
  auto& callbacks = *static_cast<TransferCallbacks*>(self);
  if (callbacks.names_.isPlainAddress()) return 0;
  callbacks.attempt_.isNameWanted = !callbacks.refusesRestart();
  return 1;
}

int TransferCallbacks::beginRequest(void* self, char* /*remote*/, char* /*local*/, int /*remotePort*/,
                                    int /*localPort*/) {
  auto& callbacks = *static_cast<TransferCallbacks*>(self);
  if (callbacks.refusesRestart()) return CURL_PREREQFUNC_ABORT;
  // On a kept connection these would be read as the beginning of the reply.
  if (!callbacks.attempt_.hasOpenedSocket && hasUnreadTLSBytes(callbacks.easy_)) {
    callbacks.attempt_.isConnectionSpoilt = true;
    return CURL_PREREQFUNC_ABORT;
  }
  callbacks.isConnected_ = true;
  callbacks.attempt_.tls.isConnected = true;
  // With a proxy inside TLS there are two connections, and only the end of the inner one says that the reply is whole.
  if (callbacks.hasProxy_) callbacks.attempt_.tls.connection = obtainTLSConnection(callbacks.easy_);
  return CURL_PREREQFUNC_OK;
}

// A proxy's refusal is read byte by byte, as long as bytes come, and libcurl looks at nothing else meanwhile.
int TransferCallbacks::watchTunnel(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  auto& callbacks = *static_cast<TransferCallbacks*>(self);
  callbacks.attempt_.stop = callbacks.control_.obtainStop(callbacks.isConnected_);
  return callbacks.attempt_.stop != CallControl::Stop::None ? 1 : 0;
}

}  // namespace qx
