// SPDX-License-Identifier: Apache-2.0
#include "rest_error.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "rest_outcome.h"

namespace qx {

namespace {

struct Text {
  std::int32_t code;
  std::string_view text;
};

// What happened and, where there is one, what to do. None holds a URL, a query or a key, as they are shown and logged.
constexpr std::array kSentences = {
    Text{CMRestCode::Success, ""},
    Text{CMRestCode::InvalidURL, "The address is no valid http or https URL; check the host."},
    Text{CMRestCode::InvalidHeader,
         "A header or parameter holds a line break or another control character, so nothing was sent; check the API "
         "key."},
    Text{CMRestCode::NameNotFound, "The host's name was not found; check its spelling and the network connection."},
    Text{CMRestCode::ProxyNameNotFound, "The proxy's name was not found; check the proxy settings."},
    Text{CMRestCode::ConnectionRefused,
         "No connection could be made; check that the host's address and port are right and that it is running, and "
         "the proxy settings if there is a proxy."},
    Text{CMRestCode::ConnectTimedOut,
         "The host did not accept a connection in time; check its address and the network connection."},
    Text{CMRestCode::RequestTimedOut, "The server did not answer in time; try again or allow it more time."},
    Text{
        CMRestCode::UnknownAuthority,
        "The server's certificate is out of date or not signed by a trusted authority; if the server is your own, name "
        "its authority in the CA file."},
    Text{CMRestCode::CertificateName, "The server's certificate is for another name; check the host."},
    Text{CMRestCode::TLSFailed,
         "No secure connection could be agreed on with the server; check that its port speaks TLS 1.2 or newer."},
    Text{CMRestCode::CAFileUnreadable,
         "The file of trusted certificate authorities could not be read; check the path of the CA file."},
    Text{CMRestCode::ClosedBeforeReply, "The server closed the connection before it answered; try again."},
    Text{CMRestCode::ClosedInsideReply, "The server's answer broke off or could not be read to its end; try again."},
    Text{CMRestCode::MalformedReply,
         "The server's answer is no readable HTTP; check that the address is that of an HTTP service."},
    Text{CMRestCode::ReplyTooLarge, "The server's answer is larger than the settings allow."},
    Text{CMRestCode::Cancelled, "The request was cancelled."},
    Text{CMRestCode::ProxyRefused, "The proxy refused to connect to the host; check the proxy settings."},
    Text{CMRestCode::SendFailed, "The connection ended while the request was being sent; try again."},
    Text{CMRestCode::HeadersTooLarge, "The headers of the server's answer are larger than the settings allow."},
    Text{CMRestCode::InvalidProxy, "The proxy's address is no valid http or https URL; check the proxy settings."},
    Text{CMRestCode::OutOfDescriptors,
         "The program has too many files and connections open to make another one; close some or raise its limit."},
    Text{CMRestCode::LookupUnavailable,
         "The host's name could not be looked up, because the program has too many threads or lookups under way; try "
         "again later."},
    Text{CMRestCode::ClientCertificateWanted,
         "The server asked for a client certificate, which this program cannot give, and ended the connection; use an "
         "address that needs none."},
    Text{CMRestCode::ProcessEnding, "The program is ending, so nothing is sent any more."},
    Text{CMRestCode::TransferFailed, "The request failed in the transfer; try again."},
};
static_assert(kSentences.size() == CMRestCode::Count, "each code has a sentence");
constexpr std::string_view kUnknownCode = "The request failed for an unknown reason.";

// The registered phrases. The one that comes with a status is free text of the server's, or missing.
constexpr std::array kReasons = {
    Text{100, "Continue"},
    Text{101, "Switching Protocols"},
    Text{102, "Processing"},
    Text{103, "Early Hints"},
    Text{300, "Multiple Choices"},
    Text{301, "Moved Permanently"},
    Text{302, "Found"},
    Text{303, "See Other"},
    Text{304, "Not Modified"},
    Text{305, "Use Proxy"},
    Text{307, "Temporary Redirect"},
    Text{308, "Permanent Redirect"},
    Text{400, "Bad Request"},
    Text{401, "Unauthorized"},
    Text{402, "Payment Required"},
    Text{403, "Forbidden"},
    Text{404, "Not Found"},
    Text{405, "Method Not Allowed"},
    Text{406, "Not Acceptable"},
    Text{407, "Proxy Authentication Required"},
    Text{408, "Request Timeout"},
    Text{409, "Conflict"},
    Text{410, "Gone"},
    Text{411, "Length Required"},
    Text{412, "Precondition Failed"},
    Text{413, "Content Too Large"},
    Text{414, "URI Too Long"},
    Text{415, "Unsupported Media Type"},
    Text{416, "Range Not Satisfiable"},
    Text{417, "Expectation Failed"},
    Text{421, "Misdirected Request"},
    Text{422, "Unprocessable Content"},
    Text{423, "Locked"},
    Text{424, "Failed Dependency"},
    Text{425, "Too Early"},
    Text{426, "Upgrade Required"},
    Text{428, "Precondition Required"},
    Text{429, "Too Many Requests"},
    Text{431, "Request Header Fields Too Large"},
    Text{451, "Unavailable For Legal Reasons"},
    Text{500, "Internal Server Error"},
    Text{501, "Not Implemented"},
    Text{502, "Bad Gateway"},
    Text{503, "Service Unavailable"},
    Text{504, "Gateway Timeout"},
    Text{505, "HTTP Version Not Supported"},
    Text{506, "Variant Also Negotiates"},
    Text{507, "Insufficient Storage"},
    Text{508, "Loop Detected"},
    Text{511, "Network Authentication Required"},
};

template <std::size_t Size>
std::string_view findText(const std::array<Text, Size>& texts, std::int32_t code, std::string_view otherwise) {
  const auto found = std::find_if(texts.begin(), texts.end(), [code](const Text& text) { return text.code == code; });
  return found != texts.end() ? found->text : otherwise;
}

std::string describeStatus(std::int32_t status) {
  std::string message = "HTTP " + std::to_string(status);
  const std::string_view reason = findText(kReasons, status, "");
  if (!reason.empty()) message.append(" ").append(reason);
  // Not a choice among several, nor a document that is unchanged: those name no other address.
  if (status >= 301 && status <= 308 && status != 304) {
    message += "; redirects are not followed, so use the address that the server moved to";
  }
  return message;
}

class ErrorTranslator final : public ICSErrorTranslator {
 public:
  CMRestErrorRecord translateError(std::int32_t code) const override {
    CMRestErrorRecord record;
    record.message =
        code >= kFirstHTTPStatus ? describeStatus(code) : std::string(findText(kSentences, code, kUnknownCode));
    return record;
  }
};

class ErrorService final : public ICSErrorService {
 public:
  ICSErrorTranslator* obtainErrorTranslator() override { return &translator_; }

 private:
  ErrorTranslator translator_;
};

}  // namespace

ICSErrorService* obtainErrorServiceInstance() {
  // Never destroyed, as the app factory that hands it out.
  static ErrorService* const service = std::make_unique<ErrorService>().release();
  return service;
}

}  // namespace qx

ICSErrorTranslator::~ICSErrorTranslator() = default;
ICSErrorService::~ICSErrorService() = default;
