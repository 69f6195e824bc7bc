// SPDX-License-Identifier: Apache-2.0
// Result codes of calls, and the sentences that tell a user what they mean.
#pragma once

#include <any>
#include <cstdint>
#include <string>

#include "qx/export.h"

/// The codes that are no HTTP status. From 100 on a code is the HTTP status of a whole reply that is a failure.
namespace CMRestCode {
enum : std::int32_t {
  Success = 0,
  InvalidURL = 1,                // empty, unreadable, or of a scheme other than http and https
  InvalidHeader = 2,             // a control character, such as a line break, inside a header or a query parameter
  NameNotFound = 3,              // the host's name could not be resolved
  ProxyNameNotFound = 4,         // the proxy's name could not be resolved
  ConnectionRefused = 5,         // nothing listens there, or host or proxy cannot be reached
  ConnectTimedOut = 6,           // no connection within `connectTimeoutMs`
  RequestTimedOut = 7,           // no whole reply within `requestTimeoutMs`
  UnknownAuthority = 8,          // the certificate is signed by nobody who is trusted, or is out of date
  CertificateName = 9,           // the certificate is for another name
  TLSFailed = 10,                // no common version, broken handshake
  CAFileUnreadable = 11,         // `caFile` names no readable PEM file
  ClosedBeforeReply = 12,        // the connection ended before a reply had begun
  ClosedInsideReply = 13,        // the connection ended, or the reply broke off, inside the reply
  MalformedReply = 14,           // what came is no HTTP, or its content coding is unknown or damaged
  ReplyTooLarge = 15,            // more than `maxResponseBytes`, as a text or as JSON values
  Cancelled = 16,                // `QXCancelSource::cancel`
  ProxyRefused = 17,             // the proxy did not open the way
  SendFailed = 18,               // the request could not be sent whole
  TransferFailed = 19,           // everything else
  HeadersTooLarge = 20,          // more than `maxHeaderBytes`
  InvalidProxy = 21,             // `proxyURL` is unreadable, or of a scheme other than http and https
  OutOfDescriptors = 22,         // the process has as many files and connections open as it may
  LookupUnavailable = 23,        // the host's name could not be looked up for want of a thread, or too many were
  ClientCertificateWanted = 24,  // the server asks for a certificate of the client's, and there is none
  ProcessEnding = 25,            // the process is ending: OpenSSL has been cleaned up
  Count                          // no code: how many there are
};
}  // namespace CMRestCode

/// A code in words.
struct CMRestErrorRecord {
  std::string context;  // where it belongs; empty
  std::string message;  // one sentence for the user, in English. Never holds a URL, a query or a key
  std::any detail;      // empty
};

/// Puts codes into words. Any thread may use it.
class QX_API ICSErrorTranslator {
 public:
  virtual ~ICSErrorTranslator();
  /// The sentence of a code. An unknown code has a sentence too; that of success is empty.
  virtual CMRestErrorRecord translateError(std::int32_t code) const = 0;
};

/// What `ICSAppFactory::obtainErrorService` returns. Lives as long as the process; any thread may use it.
class QX_API ICSErrorService {
 public:
  virtual ~ICSErrorService();
  /// Not owned; lives as long as the process.
  virtual ICSErrorTranslator* obtainErrorTranslator() = 0;
};
