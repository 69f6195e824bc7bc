// SPDX-License-Identifier: Apache-2.0
#include "loopback/tls_identity.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string_view>

namespace loopback {
namespace {

std::shared_ptr<EVP_PKEY> makeKey() { return {EVP_EC_gen("P-256"), EVP_PKEY_free}; }

constexpr std::string_view kAuthorityName = "Test Authority";
constexpr std::string_view kCommonName = "CN:";

void addExtension(X509* certificate, int kind, const std::string& value) {
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()), X509_EXTENSION_free);
  X509_add_ext(certificate, extension.get(), -1);
}

// Not yet signed, and as if it were its own issuer.
std::shared_ptr<X509> makeCertificate(EVP_PKEY* key, std::string_view name, Validity validity) {
  std::shared_ptr<X509> certificate(X509_new(), X509_free);
  X509* const made = certificate.get();
  X509_set_version(made, X509_VERSION_3);
  X509_gmtime_adj(X509_getm_notBefore(made), validity.from);
  X509_gmtime_adj(X509_getm_notAfter(made), validity.to);
  X509_set_pubkey(made, key);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.data()), static_cast<int>(name.size()), -1, 0);
  X509_set_issuer_name(made, X509_get_subject_name(made));
  return certificate;
}

std::shared_ptr<X509> makeAuthority(EVP_PKEY* key) {
  std::shared_ptr<X509> certificate = makeCertificate(key, kAuthorityName, {});
  addExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
  X509_sign(certificate.get(), key, EVP_sha256());
  return certificate;
}

std::string printPEM(const std::function<int(BIO*)>& print) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
  print(memory.get());
  std::array<char, 8192> text{};
  const int size = BIO_read(memory.get(), text.data(), static_cast<int>(text.size()));
  return {text.data(), static_cast<std::size_t>(size)};
}

std::string printCertificate(X509* certificate) {
  return printPEM([certificate](BIO* target) { return PEM_write_bio_X509(target, certificate); });
}

// Signed by the issuer; by itself without one.
standin::TlsIdentity makeIdentity(const std::string& subjectName, Validity validity, X509* issuer,
                                  EVP_PKEY* issuerKey) {
  const std::shared_ptr<EVP_PKEY> key = makeKey();
  const bool isPlainName = subjectName.rfind(kCommonName, 0) == 0;
  const std::shared_ptr<X509> certificate =
      makeCertificate(key.get(), isPlainName ? subjectName.substr(kCommonName.size()) : "Test Server", validity);
  if (issuer != nullptr) X509_set_issuer_name(certificate.get(), X509_get_subject_name(issuer));
  if (!isPlainName) addExtension(certificate.get(), NID_subject_alt_name, subjectName);
  X509_sign(certificate.get(), issuer != nullptr ? issuerKey : key.get(), EVP_sha256());
  const std::string privateKey = printPEM([&key](BIO* target) {
    return PEM_write_bio_PrivateKey(target, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
  return {printCertificate(certificate.get()), privateKey};
}

}  // namespace

TestAuthority::TestAuthority() : key_(makeKey()), certificate_(makeAuthority(key_.get())) {
  file_ = "/tmp/zea-test-authority-XXXXXX";
  ::close(::mkstemp(file_.data()));
  std::ofstream(file_) << printCertificate(certificate_.get());
}

TestAuthority::~TestAuthority() { ::unlink(file_.c_str()); }

standin::TlsIdentity TestAuthority::issue(const std::string& subjectName, Validity validity) const {
  return makeIdentity(subjectName, validity, certificate_.get(), key_.get());
}

standin::TlsIdentity TestAuthority::signItself(const std::string& subjectName) {
  return makeIdentity(subjectName, {}, nullptr, nullptr);
}

std::shared_ptr<SSL_CTX> makeServerContext(const standin::TlsIdentity& identity, int newestVersion) {
  std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  const auto open = [](const std::string& text) {
    return std::shared_ptr<BIO>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free);
  };
  const std::shared_ptr<X509> certificate(
      PEM_read_bio_X509(open(identity.certificate).get(), nullptr, nullptr, nullptr), X509_free);
  const std::shared_ptr<EVP_PKEY> key(
      PEM_read_bio_PrivateKey(open(identity.privateKey).get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
  const bool isOld = newestVersion != 0 && newestVersion < TLS1_2_VERSION;
  if (SSL_CTX_use_certificate(context.get(), certificate.get()) != 1 ||
      SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1 ||
      SSL_CTX_set_max_proto_version(context.get(), newestVersion) != 1 ||
      (isOld && (SSL_CTX_set_min_proto_version(context.get(), newestVersion) != 1 ||
                 SSL_CTX_set_cipher_list(context.get(), "ALL:@SECLEVEL=0") != 1))) {
    throw std::runtime_error("no use for that identity");
  }
  return context;
}

}  // namespace loopback
