#include "rest_call.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "certificate_store.h"
#include "qx/rest_error.h"
#include "reply_receiver.h"
#include "rest_outcome.h"

namespace {

// libcurl itself gives up a head that is a little larger.
constexpr std::uint64_t kMostHeaderBytes = 256U * 1024U;
// The call is woken for everything that matters to it; this is how long a lost waking would delay it.
constexpr int kPollMs = 1000;
constexpr long kMaxIdleSeconds = 30;
// Larger pieces than libcurl's take a large body to the other side in fewer turns.
constexpr std::size_t kLargeBody = 128U * 1024U;
constexpr long kLargePieceBytes = 256L * 1024L;
constexpr long kOldestTLS = CURL_SSLVERSION_TLSv1_2;
constexpr long kSameName = 2;  // the certificate's and the host's

/// Where libcurl's callbacks keep what they see. No exception leaves them: libcurl could not pass it on.
struct Transfer {
  explicit Transfer(const CMRestGlobalSettings& settings)
      : reply(std::min(settings.maxHeaderBytes, kMostHeaderBytes), settings.maxResponseBytes),
        hasProxy(!settings.proxyURL.empty()) {}

  ReplyReceiver reply;
  bool hasProxy;
  bool hasStarted = false;
};

std::size_t writeHeader(char* data, std::size_t size, std::size_t count, void* userData) {
  const std::string_view line(data, size * count);
  return static_cast<Transfer*>(userData)->reply.takeHeaderLine(line) ? line.size() : 0;
}

std::size_t writeBody(char* data, std::size_t size, std::size_t count, void* userData) {
  const std::string_view piece(data, size * count);
  return static_cast<Transfer*>(userData)->reply.takeBody(piece) ? piece.size() : CURL_WRITEFUNC_ERROR;
}

// When a kept connection dies libcurl would send the request again on a new one, although the server may have read it.
int allowOneStart(void* userData, char* /*remote*/, char* /*local*/, int /*remotePort*/, int /*localPort*/) {
  auto& transfer = *static_cast<Transfer*>(userData);
  if (transfer.hasStarted) return CURL_PREREQFUNC_ABORT;
  transfer.hasStarted = true;
  return CURL_PREREQFUNC_OK;
}

// libcurl looks at the first error that OpenSSL has queued, and where a signature is wrong that is one of arithmetic:
// the refused certificate would pass for a failed handshake.
int leaveVerdictAlone(int isTrusted, X509_STORE_CTX* /*chain*/) {
  if (isTrusted == 0) ERR_clear_error();
  return isTrusted;
}

CURLcode setUpContext(CURL* /*easy*/, void* sslContext, void* authorities) {
  auto* const context = static_cast<SSL_CTX*>(sslContext);
  try {
    if (!trustAuthorities(context, *static_cast<const std::string*>(authorities))) return CURLE_SSL_CACERT_BADFILE;
  } catch (const std::bad_alloc&) {
    return CURLE_OUT_OF_MEMORY;
  }
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, leaveVerdictAlone);
  // SSLKEYLOGFILE in the environment would make libcurl write down what opens recorded connections.
  SSL_CTX_set_keylog_callback(context, nullptr);
  return CURLE_OK;
}

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
  if (!isCurlOnOurOpenSSL()) return;
  setTrustedFile(easy, nullptr);
  easy.set(CURLOPT_SSL_CTX_FUNCTION, setUpContext);
}

void setStandingOptions(CurlEasy& easy) {
  easy.set(CURLOPT_PROTOCOLS_STR, "http,https");
  easy.set(CURLOPT_FOLLOWLOCATION, 0L);
  easy.set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  easy.set(CURLOPT_HTTP09_ALLOWED, 0L);
  easy.set(CURLOPT_NETRC, long{CURL_NETRC_IGNORED});
  // Otherwise libcurl would look for a proxy in the environment, and a key could go to one that nobody here named.
  easy.set(CURLOPT_NOPROXY, "*");
  easy.set(CURLOPT_HEADERFUNCTION, writeHeader);
  easy.set(CURLOPT_WRITEFUNCTION, writeBody);

  easy.set(CURLOPT_NOSIGNAL, 1L);
  easy.set(CURLOPT_TCP_KEEPALIVE, 1L);
  easy.set(CURLOPT_MAXAGE_CONN, kMaxIdleSeconds);
  // Otherwise a time limit or a cancel would wait for a name server that doesn't answer.
  easy.set(CURLOPT_QUICK_EXIT, 1L);
  setTLSOptions(easy);
}

/// A copy of the one handle that has the standing options, because making one takes a lock that all threads of the
/// process spin on. They share it: a handle of a thread's own has left the cache by the time of its next question.
CurlEasy copyPattern() {
  struct Shared {
    std::mutex mutex;
    std::optional<CurlEasy> pattern;
  };
  static Shared* const shared = std::make_unique<Shared>().release();
  const std::lock_guard lock(shared->mutex);
  std::optional<CurlEasy>& pattern = shared->pattern;
  if (!pattern || !pattern->isComplete()) setStandingOptions(pattern.emplace());
  return pattern->duplicate();
}

/// A handle serves one call: behind a reply, libcurl reads what it has freed when the next one begins with the
/// continuation of a header.
CurlEasy makeHandle(KeptConnections& connections) {
  CurlEasy easy = copyPattern();
  connections.sockets.serve(easy);
  if (isCurlOnOurOpenSSL()) {
    easy.set(CURLOPT_SSL_CTX_DATA, &connections.authorities);
  } else if (!connections.authorities.empty()) {
    setTrustedFile(easy, connections.authorities.c_str());
  }
  return easy;
}

long clampMilliseconds(std::int64_t milliseconds) {
  return static_cast<long>(std::clamp<std::int64_t>(milliseconds, 0, std::numeric_limits<int>::max()));
}

void setProxy(CurlEasy& easy, const CMRestGlobalSettings& settings, const std::string& userAgent) {
  easy.set(CURLOPT_PROXY, settings.proxyURL.c_str());
  easy.set(CURLOPT_NOPROXY, settings.proxyBypass.c_str());
  easy.set(CURLOPT_PROXY_SSLVERSION, kOldestTLS);
  easy.set(CURLOPT_PROXY_SSL_VERIFYPEER, 1L);
  easy.set(CURLOPT_PROXY_SSL_VERIFYHOST, kSameName);
  easy.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  // A proxy is asked for a tunnel without the header lines.
  easy.set(CURLOPT_USERAGENT, userAgent.c_str());
}

void setTimeLimits(CurlEasy& easy, const CMRestGlobalSettings& settings) {
  const bool hasConnectTimeout = settings.connectTimeoutMs > 0;
  easy.set(CURLOPT_CONNECTTIMEOUT_MS,
           clampMilliseconds(hasConnectTimeout ? settings.connectTimeoutMs : CMRestGlobalSettings().connectTimeoutMs));
  easy.set(CURLOPT_TIMEOUT_MS, clampMilliseconds(settings.requestTimeoutMs));
}

void setBody(CurlEasy& easy, const std::string& body, Transfer& transfer) {
  easy.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  easy.set(CURLOPT_POSTFIELDS, body.c_str());
  easy.set(CURLOPT_PREREQFUNCTION, allowOneStart);
  easy.set(CURLOPT_PREREQDATA, &transfer);
  if (body.size() > kLargeBody) easy.set(CURLOPT_UPLOAD_BUFFERSIZE, kLargePieceBytes);
}

/// The code of what may not be sent.
std::int32_t setRequest(CurlEasy& easy, const RestCall& call, const CMRestGlobalSettings& settings,
                        KeptConnections& connections) {
  const bool isBodyLarge = call.postBody && call.postBody->size() > kLargeBody;
  const HeaderSources headers{call.sessionHeaders, call.request.obtainHeaderParams(), settings.userAgent,
                              call.contentType, isBodyLarge};
  if (!connections.headers.setOn(easy, headers)) return CMRestCode::InvalidHeader;
  const bool isURL = connections.url.setOn(easy, call.request.obtainURL(), call.request.obtainQueryParams());
  return isURL ? CMRestCode::Success : CMRestCode::InvalidURL;
}

void setTransfer(CurlEasy& easy, const RestCall& call, Transfer& transfer) {
  easy.set(CURLOPT_HEADERDATA, &transfer);
  easy.set(CURLOPT_WRITEDATA, &transfer);
  if (call.postBody) setBody(easy, *call.postBody, transfer);
}

/// An easy handle's stay in a multi handle.
class Attachment {
 public:
  Attachment(CURLM* multi, CURL* easy)
      : multi_(multi), easy_(easy), isAttached_(curl_multi_add_handle(multi, easy) == CURLM_OK) {}
  ~Attachment() {
    // It can only fail for handles that don't belong together.
    if (isAttached_) static_cast<void>(curl_multi_remove_handle(multi_, easy_));
  }
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;

  bool isAttached() const noexcept { return isAttached_; }

 private:
  CURLM* multi_;
  CURL* easy_;
  bool isAttached_;
};

/// Drives the one transfer of the multi handle to its end. Nothing when it was cancelled on the way.
std::optional<CURLcode> drive(const QXHTTPPoolCenter::Lease& lease) {
  CURLM* const multi = lease.obtainConnections().multi.get();
  int running = 1;
  for (;;) {
    if (lease.isCancelled()) return std::nullopt;
    if (curl_multi_perform(multi, &running) != CURLM_OK) return CURLE_FAILED_INIT;
    if (running == 0) break;
    if (curl_multi_poll(multi, nullptr, 0, kPollMs, nullptr) != CURLM_OK) return CURLE_FAILED_INIT;
  }
  int waiting = 0;
  const CURLMsg* const message = curl_multi_info_read(multi, &waiting);
  return message != nullptr && message->msg == CURLMSG_DONE ? message->data.result : CURLE_FAILED_INIT;
}

// libcurl compares the names before it stores the verdict on the chain, which is unspecified until then.
bool isChainTrusted(long verdict) { return verdict == X509_V_OK || verdict == X509_V_ERR_UNSPECIFIED; }

RestOutcome describe(const CurlEasy& easy, const Transfer& transfer, CURLcode result) {
  RestOutcome outcome;
  outcome.hasProxy = transfer.hasProxy;
  outcome.result = result;
  outcome.status = easy.obtainInfo<long>(CURLINFO_RESPONSE_CODE);
  outcome.isConnected = easy.obtainInfo<curl_off_t>(CURLINFO_PRETRANSFER_TIME_T) > 0;
  outcome.isChainTrusted = isChainTrusted(easy.obtainInfo<long>(CURLINFO_SSL_VERIFYRESULT)) &&
                           isChainTrusted(easy.obtainInfo<long>(CURLINFO_PROXY_SSL_VERIFYRESULT));
  outcome.hasReplyBegun = transfer.reply.hasBegun();
  outcome.hasWholeHead = transfer.reply.hasWholeHead();
  outcome.isWholePacking = transfer.reply.isWholePacking();
  outcome.fault = transfer.reply.obtainFault();
  return outcome;
}

}  // namespace

bool initializeCurl() {
  static const bool isInitialized = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  return isInitialized;
}

RestResult performRestCall(const RestCall& call, const CMRestGlobalSettings& settings, QXHTTPPoolCenter* pool) {
  // The order is that of the ends: the transfer leaves the multi handle before either of them goes.
  const QXHTTPPoolCenter::Lease lease(pool, settings.caFile);
  KeptConnections& connections = lease.obtainConnections();
  Transfer transfer(settings);
  CurlEasy easy = makeHandle(connections);
  const std::int32_t refusal = setRequest(easy, call, settings, connections);
  if (refusal != CMRestCode::Success) return {refusal, {}};
  setTimeLimits(easy, settings);
  if (transfer.hasProxy) setProxy(easy, settings, connections.headers.obtainUserAgent());
  setTransfer(easy, call, transfer);
  if (!easy.isComplete()) return {CMRestCode::TransferFailed, {}};
  connections.sockets.cutOffSpoilt();
  const Attachment attachment(connections.multi.get(), easy.get());
  if (!attachment.isAttached()) return {CMRestCode::TransferFailed, {}};

  const std::optional<CURLcode> result = drive(lease);

  if (transfer.reply.obtainFault() == ReplyFault::OutOfMemory) throw std::bad_alloc();
  if (!result) return {CMRestCode::Cancelled, {}};
  const std::int32_t code = obtainRestCode(describe(easy, transfer, *result));
  const bool isWhole = code == CMRestCode::Success || code >= kFirstHTTPStatus;
  return {code, isWhole ? transfer.reply.releaseBody() : std::string()};
}
