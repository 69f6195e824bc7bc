#include "support/tls_identity.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <functional>

namespace support {
namespace {

std::shared_ptr<EVP_PKEY> makeKey() { return {EVP_EC_gen("P-256"), EVP_PKEY_free}; }

// A certificate for an hour. Without an issuer it is signed by itself and may sign others.
std::shared_ptr<X509> makeCertificate(EVP_PKEY* key, const std::string& subjectName, X509* issuer,
                                      EVP_PKEY* issuerKey) {
  constexpr long kLifetimeSeconds = 3600;
  const bool isAuthority = issuer == nullptr;
  std::shared_ptr<X509> certificate(X509_new(), X509_free);
  X509* const made = certificate.get();
  X509_set_version(made, X509_VERSION_3);
  X509_gmtime_adj(X509_getm_notBefore(made), -kLifetimeSeconds);
  X509_gmtime_adj(X509_getm_notAfter(made), kLifetimeSeconds);
  X509_set_pubkey(made, key);
  const std::string name = isAuthority ? "Test Authority" : "Test Server";
  X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  X509_set_issuer_name(made, X509_get_subject_name(isAuthority ? made : issuer));
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      isAuthority ? X509V3_EXT_conf_nid(nullptr, nullptr, NID_basic_constraints, "critical,CA:TRUE")
                  : X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, subjectName.c_str()),
      X509_EXTENSION_free);
  X509_add_ext(made, extension.get(), -1);
  X509_sign(made, isAuthority ? key : issuerKey, EVP_sha256());
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

}  // namespace

TestAuthority::TestAuthority() : key_(makeKey()), certificate_(makeCertificate(key_.get(), "", nullptr, nullptr)) {
  file_ = "/tmp/zea-test-authority-XXXXXX";
  ::close(::mkstemp(file_.data()));
  std::ofstream(file_) << printCertificate(certificate_.get());
}

TestAuthority::~TestAuthority() { ::unlink(file_.c_str()); }

standin::TlsIdentity TestAuthority::issue(const std::string& subjectName) const {
  const std::shared_ptr<EVP_PKEY> key = makeKey();
  const std::shared_ptr<X509> certificate = makeCertificate(key.get(), subjectName, certificate_.get(), key_.get());
  const std::string privateKey = printPEM([&key](BIO* target) {
    return PEM_write_bio_PrivateKey(target, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
  return {printCertificate(certificate.get()), privateKey};
}

}  // namespace support
