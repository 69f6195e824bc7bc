// SPDX-License-Identifier: Apache-2.0
#include "transfer_options.h"

#include <cstddef>

#include "certificate_store.h"
#include "platform/platform.h"
#include "process_shared.h"
#include "rest_headers.h"
#include "tls_context.h"
#include "transfer_callbacks.h"

namespace qx {

namespace {

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
  if (!platform::kHasAuthorityFiles) {
    easy.set(CURLOPT_SSL_OPTIONS, long{CURLSSLOPT_NATIVE_CA});
    easy.set(CURLOPT_PROXY_SSL_OPTIONS, long{CURLSSLOPT_NATIVE_CA});
  }
  easy.set(CURLOPT_SSL_CTX_FUNCTION, setUpTLSContext);
}

void setStandingOptions(CurlEasy& easy) {
  easy.set(CURLOPT_PROTOCOLS_STR, "http,https");
  // A header with a key would follow a redirect to another host.
  easy.set(CURLOPT_FOLLOWLOCATION, 0L);
  // One call at a time uses a connection, so streams would gain nothing.
  easy.set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  // Whatever answers without a status line is no HTTP server.
  easy.set(CURLOPT_HTTP09_ALLOWED, 0L);
  // A file in somebody's home folder must not add credentials to a call.
  easy.set(CURLOPT_NETRC, long{CURL_NETRC_IGNORED});
  // Otherwise libcurl would look for a proxy in the environment, and a key could go to one that nobody here named.
  easy.set(CURLOPT_NOPROXY, "*");
  // Signals are the host's.
  easy.set(CURLOPT_NOSIGNAL, 1L);
  // Models think for minutes, and routers forget connections on which nothing moves.
  easy.set(CURLOPT_TCP_KEEPALIVE, 1L);
  // Servers close idle connections after a minute or so; a POST that meets such an end is lost, as it is never sent
  // twice.
  easy.set(CURLOPT_MAXAGE_CONN, kMaxIdleSeconds);
  // Should libcurl look a name up by itself after all, no limit waits for the name server.
  easy.set(CURLOPT_QUICK_EXIT, 1L);
  setTLSOptions(easy);
}

/// The one handle that has the standing options. Calls copy it: making one takes a lock of libcurl's that all threads
/// of the process spin on, and a prototype of a thread's own has left the cache by the time of its next question.
struct Prototype {
  CurlEasy easy;
  Prototype() {
    setStandingOptions(easy);
    TransferCallbacks::setFunctions(easy);
  }
};

}  // namespace

// A handle serves one call: after a reply, libcurl reads what it has freed when the next one begins with the
// continuation of a header.
CurlEasy createTransfer() {
  const ProcessLock lock;
  return obtainShared<Prototype>(lock).easy.duplicate();
}

void setAuthorities(CurlEasy& easy, const CMRestGlobalSettings& settings, bool isSecure) {
  if (isCurlOnOurOpenSSL()) {
    if (isSecure) easy.set(CURLOPT_SSL_CTX_DATA, &settings.caFile);
  } else if (!settings.caFile.empty()) {
    setTrustedFile(easy, settings.caFile.c_str());
  }
}

void setProxy(CurlEasy& easy, const ProxyURL& proxy, const CMRestGlobalSettings& settings) {
  easy.set(CURLOPT_PROXY, proxy.obtainText().c_str());
  easy.set(CURLOPT_NOPROXY, settings.proxyBypass.c_str());
  easy.set(CURLOPT_PROXY_SSLVERSION, kOldestTLS);
  easy.set(CURLOPT_PROXY_SSL_VERIFYPEER, 1L);
  easy.set(CURLOPT_PROXY_SSL_VERIFYHOST, kSameName);
  // What a proxy says about a tunnel is no part of the reply.
  easy.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  // A proxy is asked for a tunnel without the header lines.
  easy.set(CURLOPT_USERAGENT, obtainSentUserAgent(settings.userAgent).c_str());
}

bool isLargeBody(const std::optional<std::string>& body) noexcept { return body && body->size() > kLargeBody; }

void setBody(CurlEasy& easy, const std::optional<std::string>& body) {
  if (!body) return;
  easy.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body->size()));
  easy.set(CURLOPT_POSTFIELDS, body->c_str());
  if (isLargeBody(body)) easy.set(CURLOPT_UPLOAD_BUFFERSIZE, kLargePieceBytes);
}

}  // namespace qx
