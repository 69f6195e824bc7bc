// SPDX-License-Identifier: Apache-2.0
#include "rest_outcome.h"

#include <algorithm>
#include <array>
#include <utility>

#include "qx/rest_error.h"

namespace qx {

namespace {

// CURLE_TOO_LARGE, which libcurl has since 8.6.
constexpr auto kTooLarge = static_cast<CURLcode>(100);

// Those of libcurl's codes that say enough by themselves.
constexpr std::array kPlainCodes = {
    std::pair{CURLE_URL_MALFORMAT, CMRestCode::InvalidURL},
    std::pair{CURLE_COULDNT_RESOLVE_HOST, CMRestCode::NameNotFound},
    std::pair{CURLE_COULDNT_RESOLVE_PROXY, CMRestCode::ProxyNameNotFound},
    std::pair{CURLE_COULDNT_CONNECT, CMRestCode::ConnectionRefused},
    std::pair{CURLE_SSL_CONNECT_ERROR, CMRestCode::TLSFailed},
    std::pair{CURLE_SSL_CERTPROBLEM, CMRestCode::TLSFailed},
    std::pair{CURLE_SSL_CIPHER, CMRestCode::TLSFailed},
    std::pair{CURLE_SSL_CACERT_BADFILE, CMRestCode::CAFileUnreadable},
    // The URL's protocol was checked before, so this is a reply in HTTP 0.9.
    std::pair{CURLE_UNSUPPORTED_PROTOCOL, CMRestCode::MalformedReply},
    std::pair{CURLE_WEIRD_SERVER_REPLY, CMRestCode::MalformedReply},
    std::pair{CURLE_BAD_FUNCTION_ARGUMENT, CMRestCode::MalformedReply},  // a header that it cannot take apart
    std::pair{CURLE_BAD_CONTENT_ENCODING, CMRestCode::MalformedReply},
    std::pair{CURLE_PROXY, CMRestCode::ProxyRefused},
    std::pair{CURLE_SEND_ERROR, CMRestCode::SendFailed},
};

std::int32_t obtainStatusCode(const RestOutcome& outcome) noexcept {
  if (!outcome.hasReplyBegun) return CMRestCode::ClosedBeforeReply;
  // libcurl is content with a reply that ends between two of its headers or after an interim response, and
  // doesn't know about the content coding.
  if (!outcome.hasWholeHead || outcome.status < 200 || !outcome.isCodingWhole) return CMRestCode::ClosedInsideReply;
  const bool hasBody = outcome.status != 204 && outcome.status != 304;
  if (hasBody && outcome.isCutOff) return CMRestCode::ClosedInsideReply;
  return outcome.status < 300 ? std::int32_t{CMRestCode::Success} : static_cast<std::int32_t>(outcome.status);
}

std::int32_t obtainReceiveCode(const RestOutcome& outcome) noexcept {
  if (outcome.hasProxy && !outcome.isConnected) return CMRestCode::ProxyRefused;
  return outcome.hasReplyBegun ? CMRestCode::ClosedInsideReply : CMRestCode::ClosedBeforeReply;
}

// A server of TLS 1.3 that misses the client's certificate says so when the request is already under way.
bool isBrokenOff(CURLcode result) noexcept {
  constexpr std::array kCodes = {CURLE_SSL_CONNECT_ERROR, CURLE_SSL_CLIENTCERT, CURLE_SEND_ERROR, CURLE_RECV_ERROR,
                                 CURLE_GOT_NOTHING};
  return std::find(kCodes.begin(), kCodes.end(), result) != kCodes.end();
}

std::int32_t obtainFaultCode(ReplyFault fault) noexcept {
  if (fault == ReplyFault::HeadersTooLarge) return CMRestCode::HeadersTooLarge;
  return fault == ReplyFault::BodyTooLarge ? CMRestCode::ReplyTooLarge : CMRestCode::MalformedReply;
}

std::int32_t obtainPlainCode(CURLcode result) noexcept {
  const auto* const found =
      std::find_if(kPlainCodes.begin(), kPlainCodes.end(), [result](const auto& pair) { return pair.first == result; });
  return found != kPlainCodes.end() ? found->second : std::int32_t{CMRestCode::TransferFailed};
}

}  // namespace

std::int32_t obtainRestCode(const RestOutcome& outcome) noexcept {
  // What libcurl calls a reply that was given up depends on where it was and on the release.
  if (outcome.fault != ReplyFault::None) return obtainFaultCode(outcome.fault);
  // A kept connection died before a reply had begun.
  if (outcome.isRestartRefused) return CMRestCode::ClosedBeforeReply;
  if (outcome.isCertificateWanted && !outcome.hasReplyBegun && isBrokenOff(outcome.result)) {
    return CMRestCode::ClientCertificateWanted;
  }
  if (outcome.tunnelStatus >= 300 && !outcome.isConnected) return CMRestCode::ProxyRefused;
  switch (outcome.result) {
    case CURLE_OK:
      return obtainStatusCode(outcome);
    case CURLE_OPERATION_TIMEDOUT:
      return outcome.isConnected ? CMRestCode::RequestTimedOut : CMRestCode::ConnectTimedOut;
    case CURLE_PEER_FAILED_VERIFICATION:
      return outcome.isChainTrusted ? CMRestCode::CertificateName : CMRestCode::UnknownAuthority;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
      return obtainReceiveCode(outcome);
    case kTooLarge:
      return CMRestCode::HeadersTooLarge;
    case CURLE_OUT_OF_MEMORY:  // that is also what libcurl before 8.6 calls a single header of more than 100 kB
      return outcome.isConnected && !outcome.hasWholeHead ? CMRestCode::HeadersTooLarge : CMRestCode::TransferFailed;
    default:
      return obtainPlainCode(outcome.result);
  }
}

}  // namespace qx
