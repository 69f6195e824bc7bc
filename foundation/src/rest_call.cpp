#include "rest_call.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "call_control.h"
#include "certificate_store.h"
#include "host_names.h"
#include "openssl_guard.h"
#include "platform/platform.h"
#include "process_shared.h"
#include "qx/rest_error.h"
#include "reply_receiver.h"
#include "rest_headers.h"
#include "rest_outcome.h"
#include "rest_url.h"
#include "tls_context.h"
#include "wipe.h"

namespace qx {

namespace {

// libcurl itself gives up a head that is a little larger.
constexpr std::uint64_t kMostHeaderBytes = 256U * 1024U;
constexpr long kMaxIdleSeconds = 30;
// Larger pieces than libcurl's take a large body to the other side in fewer turns.
constexpr std::size_t kLargeBody = 128U * 1024U;
constexpr long kLargePieceBytes = 256L * 1024L;
constexpr long kOldestTLS = CURL_SSLVERSION_TLSv1_2;
constexpr long kSameName = 2;  // the certificate's and the host's

// Where libcurl looks itself; its own folder of authorities would count beside the file.
void setTrustedFile(CurlEasy& easy, const char* file) {
  easy.set(CURLOPT_CAINFO, file);
  easy.set(CURLOPT_CAPATH, nullptr);
  easy.set(CURLOPT_PROXY_CAINFO, file);
  easy.set(CURLOPT_PROXY_CAPATH, nullptr);
}

void setTLSOptions(CurlEasy& easy) {
  easy.set(CURLOPT_SSLVERSION, kOldestTLS);
  easy.set(CURLOPT_SSL_VERIFYPEER, 1L);
  easy.set(CURLOPT_SSL_VERIFYHOST, kSameName);
  // Loops serve calls that trust different authorities: neither a session of another call, which isn't verified again,
  // nor its certificate store may count.
  easy.set(CURLOPT_SSL_SESSIONID_CACHE, 0L);
  easy.set(CURLOPT_CA_CACHE_TIMEOUT, 0L);
  if (!isCurlOnOurOpenSSL()) return;
  setTrustedFile(easy, nullptr);
  easy.set(CURLOPT_SSL_CTX_FUNCTION, setUpTLSContext);
}

void setStandingOptions(CurlEasy& easy) {
  easy.set(CURLOPT_PROTOCOLS_STR, "http,https");
  easy.set(CURLOPT_FOLLOWLOCATION, 0L);
  easy.set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  easy.set(CURLOPT_HTTP09_ALLOWED, 0L);
  easy.set(CURLOPT_NETRC, long{CURL_NETRC_IGNORED});
  // Otherwise libcurl would look for a proxy in the environment, and a key could go to one that nobody here named.
  easy.set(CURLOPT_NOPROXY, "*");
  easy.set(CURLOPT_NOSIGNAL, 1L);
  easy.set(CURLOPT_TCP_KEEPALIVE, 1L);
  easy.set(CURLOPT_MAXAGE_CONN, kMaxIdleSeconds);
  // Should libcurl look a name up by itself after all, no limit waits for the name server.
  easy.set(CURLOPT_QUICK_EXIT, 1L);
  setTLSOptions(easy);
}

// libcurl compares the names before it stores the verdict on the chain, which is unspecified until then.
bool isChainTrusted(long verdict) {
  return verdict == X509_V_OK || verdict == X509_V_ERR_UNSPECIFIED || verdict == X509_V_ERR_HOSTNAME_MISMATCH;
}

/// One call, in as many attempts as it takes until something of it is sent. libcurl's callbacks work on it; no
/// exception leaves them, since libcurl could not pass it on.
class Exchange {
 public:
  Exchange(const RestCall& call, const CMRestGlobalSettings& settings, QXHTTPPoolCenter::Lease& lease);
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  RestResult run();

  /// Sets what is the same for all exchanges.
  static void setCallbacks(CurlEasy& easy);

 private:
  /// What an attempt has come to, as far as libcurl's result doesn't tell.
  struct Attempt {
    bool hasOpenedSocket = false;
    bool isConnectionSpoilt = false;  // the kept one holds what the server has said unasked
    bool isNameWanted = false;
    CallControl::Stop stop = CallControl::Stop::None;
    TLSReport tls;
  };

  static std::size_t writeHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t writeBody(char* data, std::size_t size, std::size_t count, void* self);
  static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
  static int beginLookup(void* state, void* reserved, void* self);
  static int beginRequest(void* self, char* remote, char* local, int remotePort, int localPort);
  static int watchTunnel(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

  std::int32_t prepare();
  void setProxy(const std::string& url);
  void setCallbackData();
  void setBody(const std::string& body);
  TransferLoop::End attempt();
  std::int32_t lookUpNextName();
  bool refusesRestart() noexcept;
  bool isInsideTLS() const noexcept;
  RestOutcome describe(CURLcode result) const;
  RestResult finish(std::int32_t code);

  const RestCall& call_;
  const CMRestGlobalSettings& settings_;
  QXHTTPPoolCenter::Lease& lease_;
  const CallControl control_;
  HostNames names_;
  std::optional<std::string> proxyURL_;
  bool isConnected_ = false;       // the request could begin
  bool isRestartRefused_ = false;  // libcurl wanted to send the body a second time
  bool isOutOfDescriptors_ = false;
  Attempt attempt_;
  ReplyReceiver reply_;
  CurlEasy easy_;
};

/// The one handle that has the standing options. Calls copy it: making one takes a lock of libcurl's that all threads
/// of the process spin on, and a prototype of a thread's own has left the cache by the time of its next question.
struct Prototype {
  CurlEasy easy;
  Prototype() {
    setStandingOptions(easy);
    Exchange::setCallbacks(easy);
  }
};

/// A handle serves one call: after a reply, libcurl reads what it has freed when the next one begins with the
/// continuation of a header.
CurlEasy copyPrototype() {
  const ProcessLock lock;
  return obtainShared<Prototype>(lock).easy.duplicate();
}

Exchange::Exchange(const RestCall& call, const CMRestGlobalSettings& settings, QXHTTPPoolCenter::Lease& lease)
    : call_(call),
      settings_(settings),
      lease_(lease),
      control_(settings, call.isSecure, lease.obtainCancelState()),
      names_(lease.obtainLoop(), control_),
      reply_(std::min(settings.maxHeaderBytes, kMostHeaderBytes), settings.maxResponseBytes),
      easy_(copyPrototype()) {}

std::size_t Exchange::writeHeader(char* data, std::size_t size, std::size_t count, void* self) {
  const std::string_view line(data, size * count);
  return static_cast<Exchange*>(self)->reply_.takeHeaderLine(line) ? line.size() : 0;
}

std::size_t Exchange::writeBody(char* data, std::size_t size, std::size_t count, void* self) {
  const std::string_view piece(data, size * count);
  return static_cast<Exchange*>(self)->reply_.takeBody(piece) ? piece.size() : CURL_WRITEFUNC_ERROR;
}

// When a kept connection dies libcurl would send the request again on a new one, although the server may have read it.
bool Exchange::refusesRestart() noexcept {
  isRestartRefused_ = isRestartRefused_ || (call_.postBody && isConnected_);
  return isRestartRefused_;
}

curl_socket_t Exchange::openSocket(void* self, curlsocktype /*purpose*/, curl_sockaddr* address) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (exchange.refusesRestart()) return CURL_SOCKET_BAD;
  exchange.attempt_.hasOpenedSocket = true;
  const platform::Socket socket = platform::openSocket(address->family, address->socktype, address->protocol);
  if (socket == platform::kNoSocket && !platform::hasFreeDescriptor()) exchange.isOutOfDescriptors_ = true;
  return socket;
}

int Exchange::beginLookup(void* /*state*/, void* /*reserved*/, void* self) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (exchange.names_.isPlainAddress()) return 0;
  exchange.attempt_.isNameWanted = !exchange.refusesRestart();
  return 1;
}

int Exchange::beginRequest(void* self, char* /*remote*/, char* /*local*/, int /*remotePort*/, int /*localPort*/) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (exchange.refusesRestart()) return CURL_PREREQFUNC_ABORT;
  if (!exchange.attempt_.hasOpenedSocket && hasUnreadTLSBytes(exchange.easy_.get())) {
    exchange.attempt_.isConnectionSpoilt = true;
    return CURL_PREREQFUNC_ABORT;
  }
  exchange.isConnected_ = true;
  exchange.attempt_.tls.isConnected = true;
  if (exchange.proxyURL_) exchange.attempt_.tls.connection = obtainTLSConnection(exchange.easy_.get());
  return CURL_PREREQFUNC_OK;
}

// A proxy's refusal is read byte by byte, as long as bytes come, and libcurl looks at nothing else meanwhile.
int Exchange::watchTunnel(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  auto& exchange = *static_cast<Exchange*>(self);
  exchange.attempt_.stop = exchange.control_.obtainStop(exchange.isConnected_);
  return exchange.attempt_.stop != CallControl::Stop::None ? 1 : 0;
}

void Exchange::setCallbacks(CurlEasy& easy) {
  easy.set(CURLOPT_HEADERFUNCTION, writeHeader);
  easy.set(CURLOPT_WRITEFUNCTION, writeBody);
  easy.set(CURLOPT_OPENSOCKETFUNCTION, openSocket);
  easy.set(CURLOPT_RESOLVER_START_FUNCTION, beginLookup);
  easy.set(CURLOPT_PREREQFUNCTION, beginRequest);
}

void Exchange::setCallbackData() {
  easy_.set(CURLOPT_HEADERDATA, this);
  easy_.set(CURLOPT_WRITEDATA, this);
  easy_.set(CURLOPT_OPENSOCKETDATA, this);
  easy_.set(CURLOPT_RESOLVER_START_DATA, this);
  easy_.set(CURLOPT_PREREQDATA, this);
}

void Exchange::setProxy(const std::string& url) {
  easy_.set(CURLOPT_PROXY, url.c_str());
  easy_.set(CURLOPT_NOPROXY, settings_.proxyBypass.c_str());
  easy_.set(CURLOPT_PROXY_SSLVERSION, kOldestTLS);
  easy_.set(CURLOPT_PROXY_SSL_VERIFYPEER, 1L);
  easy_.set(CURLOPT_PROXY_SSL_VERIFYHOST, kSameName);
  easy_.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  // A proxy is asked for a tunnel without the header lines.
  easy_.set(CURLOPT_USERAGENT, obtainSentUserAgent(settings_.userAgent).c_str());
  easy_.set(CURLOPT_XFERINFOFUNCTION, watchTunnel);
  easy_.set(CURLOPT_XFERINFODATA, this);
  easy_.set(CURLOPT_NOPROGRESS, 0L);
}

void Exchange::setBody(const std::string& body) {
  easy_.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  easy_.set(CURLOPT_POSTFIELDS, body.c_str());
  if (body.size() > kLargeBody) easy_.set(CURLOPT_UPLOAD_BUFFERSIZE, kLargePieceBytes);
}

/// The code of what may not be sent.
std::int32_t Exchange::prepare() {
  const bool isBodyLarge = call_.postBody && call_.postBody->size() > kLargeBody;
  const HeaderSources headers{call_.sessionHeaders, call_.request.obtainHeaderParams(), settings_.userAgent,
                              call_.contentType, isBodyLarge};
  auto& [url, lines] = lease_.obtainParts();
  if (!lines.setOn(easy_, headers)) return CMRestCode::InvalidHeader;
  if (!url.take(call_.request.obtainURL(), call_.request.obtainQueryParams())) return CMRestCode::InvalidURL;
  if (!settings_.proxyURL.empty()) proxyURL_ = normalizeProxyURL(settings_.proxyURL);
  if (!settings_.proxyURL.empty() && !proxyURL_) return CMRestCode::InvalidProxy;
  url.setOn(easy_);
  setCallbackData();
  if (isCurlOnOurOpenSSL()) {
    if (call_.isSecure) easy_.set(CURLOPT_SSL_CTX_DATA, &settings_.caFile);
  } else if (!settings_.caFile.empty()) {
    setTrustedFile(easy_, settings_.caFile.c_str());
  }
  if (proxyURL_) setProxy(*proxyURL_);
  if (call_.postBody) setBody(*call_.postBody);
  // What a proxy says unasked may lie decrypted in its own layer of TLS, where nobody sees it ahead of the next call.
  const bool isTwiceInTLS = isSecureURL(call_.request.obtainURL()) && isSecureURL(settings_.proxyURL);
  if (lease_.obtainConnection() == nullptr || isTwiceInTLS) easy_.set(CURLOPT_FORBID_REUSE, 1L);
  return CMRestCode::Success;
}

TransferLoop::End Exchange::attempt() {
  attempt_ = {};
  const CallControl::Milliseconds left = control_.obtainMillisecondsLeft();
  easy_.set(CURLOPT_CONNECTTIMEOUT_MS, left.toConnect);
  easy_.set(CURLOPT_TIMEOUT_MS, left.inAll);
  if (names_.obtainFound() != nullptr) easy_.set(CURLOPT_RESOLVE, names_.obtainFound());
  attempt_.tls.control = &control_;
  const TLSReporting reporting(attempt_.tls);
  TransferLoop::End end{CURLE_FAILED_INIT};
  {
    KeptConnection::Loan loan(lease_.obtainConnection(), easy_, call_.isSecure, settings_.caFile);
    // Without all its options nothing goes out, least of all past the connection of the pool.
    if (easy_.isComplete()) end = lease_.obtainLoop().run(easy_, control_);
    loan.noteKept(end.keptSocket);
  }
  if (attempt_.isConnectionSpoilt) lease_.obtainConnection()->close();
  return end;
}

std::int32_t Exchange::lookUpNextName() {
  if (!names_.isFilled()) {
    const RestEndpoint proxy = proxyURL_ ? obtainProxyEndpoint(*proxyURL_) : RestEndpoint{};
    names_.fill(lease_.obtainParts().url.obtainEndpoint(), proxyURL_ ? &proxy : nullptr);
  }
  return names_.lookUpNext();
}

/// Whether the reply came inside TLS all the way; a call may need TLS for a proxy alone, or for one that is bypassed.
bool Exchange::isInsideTLS() const noexcept {
  const char* const scheme = easy_.obtainInfo<const char*>(CURLINFO_SCHEME);
  return scheme != nullptr && isSameIgnoringCase(scheme, "https");
}

RestOutcome Exchange::describe(CURLcode result) const {
  RestOutcome outcome;
  outcome.result = result;
  outcome.status = easy_.obtainInfo<long>(CURLINFO_RESPONSE_CODE);
  outcome.tunnelStatus = proxyURL_ ? easy_.obtainInfo<long>(CURLINFO_HTTP_CONNECTCODE) : 0;
  outcome.hasProxy = proxyURL_.has_value();
  outcome.isConnected = isConnected_;
  outcome.isRestartRefused = isRestartRefused_;
  outcome.isChainTrusted = result != CURLE_PEER_FAILED_VERIFICATION ||
                           (isChainTrusted(easy_.obtainInfo<long>(CURLINFO_SSL_VERIFYRESULT)) &&
                            isChainTrusted(easy_.obtainInfo<long>(CURLINFO_PROXY_SSL_VERIFYRESULT)));
  outcome.isCertificateWanted = attempt_.tls.isCertificateWanted;
  outcome.isCutOff = reply_.isEndedByClose() && isCurlOnOurOpenSSL() && !attempt_.tls.isEndTold && isInsideTLS();
  outcome.hasReplyBegun = reply_.hasBegun();
  outcome.hasWholeHead = reply_.hasWholeHead();
  outcome.isWholePacking = reply_.isWholePacking();
  outcome.fault = reply_.obtainFault();
  return outcome;
}

RestResult Exchange::finish(std::int32_t code) {
  if (reply_.obtainFault() == ReplyFault::OutOfMemory) throw std::bad_alloc();
  const bool isForWantOfDescriptors =
      isOutOfDescriptors_ || ((code == CMRestCode::NameNotFound || code == CMRestCode::ProxyNameNotFound ||
                               code == CMRestCode::CAFileUnreadable) &&
                              !platform::hasFreeDescriptor());
  if (isForWantOfDescriptors && !isConnected_) return {CMRestCode::OutOfDescriptors, {}};
  const bool isWhole = code == CMRestCode::Success || code >= kFirstHTTPStatus;
  return {code, isWhole ? reply_.releaseBody() : std::string()};
}

RestResult Exchange::run() {
  if (const std::int32_t refusal = prepare(); refusal != CMRestCode::Success) return {refusal, {}};
  for (;;) {
    const TransferLoop::End end = attempt();
    if (attempt_.stop == CallControl::Stop::None) attempt_.stop = attempt_.tls.stop;
    if (attempt_.stop == CallControl::Stop::None && !end.result) attempt_.stop = control_.obtainStopFromOutside();
    if (attempt_.stop != CallControl::Stop::None) return finish(CallControl::obtainCode(attempt_.stop));
    if (attempt_.isConnectionSpoilt) continue;
    if (!attempt_.isNameWanted) return finish(obtainRestCode(describe(*end.result)));
    if (const std::int32_t code = lookUpNextName(); code != CMRestCode::Success) return finish(code);
  }
}

}  // namespace

void freeKeyedList(curl_slist* list) noexcept {
  for (curl_slist* one = list; one != nullptr; one = one->next) qxWipe(one->data, std::string_view(one->data).size());
  curl_slist_free_all(list);
}

RestResult performRestCall(const RestCall& call, const CMRestGlobalSettings& settings, QXHTTPPoolCenter* pool) {
  std::optional<OpenSSLUse> use;
  if (call.isSecure) use.emplace();
  if (call.isSecure && hasOpenSSLEnded()) return {CMRestCode::ProcessEnding, {}};
  QXHTTPPoolCenter::Lease lease(pool);
  if (!lease.obtainLoop().isOpen()) return {CMRestCode::OutOfDescriptors, {}};
  return Exchange(call, settings, lease).run();
}

}  // namespace qx
