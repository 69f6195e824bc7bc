// SPDX-License-Identifier: Apache-2.0
#include "rest_call.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <new>
#include <optional>

#include "call_control.h"
#include "certificate_store.h"
#include "host_names.h"
#include "loop_pool.h"
#include "openssl_guard.h"
#include "platform/platform.h"
#include "pool_lease.h"
#include "qx/rest_error.h"
#include "reply_receiver.h"
#include "rest_headers.h"
#include "rest_outcome.h"
#include "rest_url.h"
#include "tls_context.h"
#include "transfer_callbacks.h"
#include "transfer_options.h"

namespace qx {

namespace {

// libcurl itself gives up a head that is a little larger.
constexpr std::uint64_t kMostHeaderBytes = 256U * 1024U;

// libcurl compares the names before it stores the verdict on the chain, which is unspecified until then.
bool isChainTrusted(long verdict) {
  return verdict == X509_V_OK || verdict == X509_V_ERR_UNSPECIFIED || verdict == X509_V_ERR_HOSTNAME_MISMATCH;
}

/// What a call works with.
struct RestMeans {
  TransferLoop& loop;
  RestRequestParts& parts;
  KeptConnection* connection;  // null: the connection of the call ends with it
  const CancelState* cancel;   // null: nobody can cancel the call
};

/// One call, in as many attempts as it takes until something of it is sent.
class Exchange {
 public:
  Exchange(const RestCall& call, const CMRestGlobalSettings& settings, const RestMeans& means);
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  RestResult run();

 private:
  using Stop = CallControl::Stop;

  std::int32_t prepare();
  TransferLoop::End attempt();
  Stop obtainStop(const TransferLoop::End& end) const noexcept;
  std::int32_t lookUpNextName();
  bool isInsideTLS() const noexcept;
  RestOutcome describe(CURLcode result) const;
  RestResult finish(std::int32_t code);

  const RestCall& call_;
  const CMRestGlobalSettings& settings_;
  const RestMeans means_;
  const CallControl control_;
  HostNames names_;
  std::optional<ProxyURL> proxy_;
  ReplyReceiver reply_;
  TransferCallbacks callbacks_;
  CurlEasy easy_;
};

Exchange::Exchange(const RestCall& call, const CMRestGlobalSettings& settings, const RestMeans& means)
    : call_(call),
      settings_(settings),
      means_(means),
      control_(settings, call.isSecure, means.cancel),
      names_(means.loop, control_),
      reply_(std::min(settings.maxHeaderBytes, kMostHeaderBytes), settings.maxResponseBytes),
      callbacks_(control_, names_, reply_, call.postBody.has_value()),
      easy_(createTransfer()) {}

/// The code of what may not be sent.
std::int32_t Exchange::prepare() {
  const HeaderSources headers{call_.sessionHeaders, call_.request.obtainHeaderParams(), settings_.userAgent,
                              call_.contentType, isLargeBody(call_.postBody)};
  auto& [url, lines] = means_.parts;
  if (!lines.setOn(easy_, headers)) return CMRestCode::InvalidHeader;
  if (!url.take(call_.request.obtainURL(), call_.request.obtainQueryParams())) return CMRestCode::InvalidURL;
  if (!settings_.proxyURL.empty()) proxy_ = ProxyURL::read(settings_.proxyURL);
  if (!settings_.proxyURL.empty() && !proxy_) return CMRestCode::InvalidProxy;
  url.setOn(easy_);
  callbacks_.attachTo(easy_, proxy_.has_value());
  setAuthorities(easy_, settings_, call_.isSecure);
  if (proxy_) setProxy(easy_, *proxy_, settings_);
  setBody(easy_, call_.postBody);
  // What a proxy says unasked may lie decrypted in its own layer of TLS, where nobody sees it before the next call.
  const bool isTwiceInTLS = isSecureURL(call_.request.obtainURL()) && isSecureURL(settings_.proxyURL);
  if (means_.connection == nullptr || isTwiceInTLS) easy_.set(CURLOPT_FORBID_REUSE, 1L);
  return CMRestCode::Success;
}

TransferLoop::End Exchange::attempt() {
  // libcurl counts anew for each attempt, the limits are for all of them.
  const CallControl::Milliseconds left = control_.obtainMillisecondsLeft();
  easy_.set(CURLOPT_CONNECTTIMEOUT_MS, left.toConnect);
  easy_.set(CURLOPT_TIMEOUT_MS, left.inAll);
  if (names_.obtainFound() != nullptr) easy_.set(CURLOPT_RESOLVE, names_.obtainFound());
  const TLSReporting reporting(callbacks_.beginAttempt());
  TransferLoop::End end{CURLE_FAILED_INIT};
  {
    KeptConnection::Loan loan(means_.connection, easy_, call_.isSecure, settings_.caFile);
    // Without all its options nothing goes out, least of all past the connection of the pool.
    if (easy_.isComplete()) end = means_.loop.run(easy_, control_);
    loan.noteKept(end.keptSocket);
  }
  // A connection is spoilt only where it was kept, and only a pool keeps one.
  if (callbacks_.obtainAttempt().isConnectionSpoilt) means_.connection->close();
  return end;
}

Exchange::Stop Exchange::obtainStop(const TransferLoop::End& end) const noexcept {
  const Stop stop = callbacks_.obtainStop();
  return stop == Stop::None && !end.result ? control_.obtainStopFromOutside() : stop;
}

std::int32_t Exchange::lookUpNextName() {
  if (!names_.isFilled()) {
    const RestEndpoint proxy = proxy_ ? proxy_->obtainEndpoint() : RestEndpoint{};
    names_.fill(means_.parts.url.obtainEndpoint(), proxy_ ? &proxy : nullptr);
  }
  return names_.lookUpNext();
}

/// Whether the reply came inside TLS all the way; a call may need TLS for a proxy alone, or for one that is bypassed.
bool Exchange::isInsideTLS() const noexcept {
  const char* const scheme = easy_.obtainInfo<const char*>(CURLINFO_SCHEME);
  return scheme != nullptr && isSameIgnoringCase(scheme, "https");
}

RestOutcome Exchange::describe(CURLcode result) const {
  const TLSReport& tls = callbacks_.obtainAttempt().tls;
  RestOutcome outcome;
  outcome.result = result;
  outcome.status = easy_.obtainInfo<long>(CURLINFO_RESPONSE_CODE);
  outcome.tunnelStatus = proxy_ ? easy_.obtainInfo<long>(CURLINFO_HTTP_CONNECTCODE) : 0;
  outcome.hasProxy = proxy_.has_value();
  outcome.isConnected = callbacks_.isConnected();
  outcome.isRestartRefused = callbacks_.isRestartRefused();
  outcome.isChainTrusted = result != CURLE_PEER_FAILED_VERIFICATION ||
                           (isChainTrusted(easy_.obtainInfo<long>(CURLINFO_SSL_VERIFYRESULT)) &&
                            isChainTrusted(easy_.obtainInfo<long>(CURLINFO_PROXY_SSL_VERIFYRESULT)));
  outcome.isCertificateWanted = tls.isCertificateWanted;
  outcome.isCutOff = reply_.isEndedByClose() && isCurlOnOurOpenSSL() && !tls.isEndTold && isInsideTLS();
  outcome.hasReplyBegun = reply_.hasBegun();
  outcome.hasWholeHead = reply_.hasWholeHead();
  outcome.isCodingWhole = reply_.isCodingWhole();
  outcome.fault = reply_.obtainFault();
  return outcome;
}

RestResult Exchange::finish(std::int32_t code) {
  if (reply_.obtainFault() == ReplyFault::OutOfMemory) throw std::bad_alloc();
  // Where no file can be opened the resolver finds no name and OpenSSL no authorities, and neither says why.
  const bool isForWantOfDescriptors =
      callbacks_.isOutOfDescriptors() || ((code == CMRestCode::NameNotFound || code == CMRestCode::ProxyNameNotFound ||
                                           code == CMRestCode::CAFileUnreadable) &&
                                          !platform::hasFreeDescriptor());
  if (isForWantOfDescriptors && !callbacks_.isConnected()) return {CMRestCode::OutOfDescriptors, {}};
  const bool isWhole = code == CMRestCode::Success || code >= kFirstHTTPStatus;
  return {code, isWhole ? reply_.releaseBody() : std::string()};
}

RestResult Exchange::run() {
  if (const std::int32_t refusal = prepare(); refusal != CMRestCode::Success) return {refusal, {}};
  for (;;) {
    const TransferLoop::End end = attempt();
    if (const Stop stop = obtainStop(end); stop != Stop::None) return finish(CallControl::obtainCode(stop));
    const TransferCallbacks::Attempt& attempt = callbacks_.obtainAttempt();
    if (attempt.isConnectionSpoilt) continue;
    if (!attempt.isNameWanted) return finish(obtainRestCode(describe(*end.result)));
    if (const std::int32_t code = lookUpNextName(); code != CMRestCode::Success) return finish(code);
  }
}

}  // namespace

RestResult performRestCall(const RestCall& call, const CMRestGlobalSettings& settings, PoolCenter* pool) {
  // From before the loop and the lease until after both: ending a connection uses OpenSSL as well.
  std::optional<OpenSSLUse> use;
  if (call.isSecure) use.emplace();
  if (call.isSecure && hasOpenSSLEnded()) return {CMRestCode::ProcessEnding, {}};
  const BorrowedLoop loop;
  if (!loop->isOpen()) return {CMRestCode::OutOfDescriptors, {}};
  const std::optional<PoolLease> lease = PoolLease::take(pool, *loop);
  RestRequestParts ownParts;
  const RestMeans means =
      lease ? RestMeans{*loop, lease->obtainParts(), &lease->obtainConnection(), lease->obtainCancelState()}
            : RestMeans{*loop, ownParts, nullptr, nullptr};
  return Exchange(call, settings, means).run();
}

}  // namespace qx
