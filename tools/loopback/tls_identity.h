// SPDX-License-Identifier: Apache-2.0
// A certificate authority for tests. Keys and certificates are made anew in each run and never leave it.
#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>

#include "standin/zea_standin.h"

namespace loopback {

/// From when to when a certificate holds, in seconds from now.
struct Validity {
  long from = -3600;
  long to = 3600;
};

class TestAuthority {
 public:
  TestAuthority();
  ~TestAuthority();
  TestAuthority(const TestAuthority&) = delete;
  TestAuthority& operator=(const TestAuthority&) = delete;

  /// A server's identity, signed by this authority. The name is in OpenSSL's notation, such as "IP:127.0.0.1"; one such
  /// as "CN:host.test" becomes the subject's, and there is no alternative name.
  standin::TlsIdentity issue(const std::string& subjectName, Validity validity = {}) const;
  /// A server's identity that nobody but itself has signed.
  static standin::TlsIdentity signItself(const std::string& subjectName);
  /// A PEM file with the authority's certificate, for `CMRestGlobalSettings::caFile`. It goes with this object.
  const std::string& file() const { return file_; }

 private:
  std::shared_ptr<EVP_PKEY> key_;
  std::shared_ptr<X509> certificate_;
  std::string file_;
};

/// What a server with that identity needs, for the versions up to `newestVersion`, such as `TLS1_1_VERSION`; 0: all.
std::shared_ptr<SSL_CTX> makeServerContext(const standin::TlsIdentity& identity, int newestVersion);

}  // namespace loopback
