// SPDX-License-Identifier: Apache-2.0
#include "tls_context.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <new>
#include <string>

#include "certificate_store.h"

namespace qx {

namespace {

constinit thread_local TLSReport* tReport = nullptr;

// libcurl looks at the first error that OpenSSL has queued, and where a signature is wrong that is one of arithmetic:
// the refused certificate would pass for a failed handshake. And it would take the subject's common name for the host's
// where a certificate names no host.
int judgeCertificate(int isTrusted, X509_STORE_CTX* chain) {
  const bool isServers = isTrusted == 1 && X509_STORE_CTX_get_error_depth(chain) == 0;
  if (isServers && X509_get_ext_by_NID(X509_STORE_CTX_get_current_cert(chain), NID_subject_alt_name, -1) < 0) {
    X509_STORE_CTX_set_error(chain, X509_V_ERR_HOSTNAME_MISMATCH);
    isTrusted = 0;
  }
  if (isTrusted == 0) ERR_clear_error();
  return isTrusted;
}

int refuseCertificate(SSL* /*ssl*/, X509** /*certificate*/, EVP_PKEY** /*key*/) {
  if (tReport != nullptr) tReport->isCertificateWanted = true;
  return 0;
}

// A handshake skips some messages without end, as long as they come fast enough, and OpenSSL doesn't return meanwhile.
long checkReading(BIO* /*bio*/, int operation, const char* /*data*/, std::size_t /*size*/, int /*argument*/,
                  long /*other*/, int result, std::size_t* /*processed*/) {
  if (operation != BIO_CB_READ || tReport == nullptr || tReport->control == nullptr) return result;
  tReport->stop = tReport->control->obtainStop(tReport->isConnected);
  return tReport->stop == CallControl::Stop::None ? result : -1;
}

void watchConnection(const SSL* ssl, int place, int alert) {
  if (place == SSL_CB_HANDSHAKE_START) BIO_set_callback_ex(SSL_get_rbio(ssl), checkReading);
  if (place == SSL_CB_HANDSHAKE_DONE) BIO_set_callback_ex(SSL_get_rbio(ssl), nullptr);
  if (tReport == nullptr || place != SSL_CB_READ_ALERT || (alert & 0xFF) != SSL_AD_CLOSE_NOTIFY) return;
  if (tReport->connection == nullptr || tReport->connection == ssl) tReport->isEndTold = true;
}

}  // namespace

TLSReporting::TLSReporting(TLSReport& report) noexcept { tReport = &report; }

TLSReporting::~TLSReporting() { tReport = nullptr; }

CURLcode setUpTLSContext(CURL* /*easy*/, void* sslContext, void* authorities) noexcept {
  auto* const context = static_cast<SSL_CTX*>(sslContext);
  try {
    if (!trustAuthorities(context, *static_cast<const std::string*>(authorities))) return CURLE_SSL_CACERT_BADFILE;
  } catch (const std::bad_alloc&) {
    return CURLE_OUT_OF_MEMORY;
  }
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, judgeCertificate);
  SSL_CTX_set_client_cert_cb(context, refuseCertificate);
  SSL_CTX_set_info_callback(context, watchConnection);
  // SSLKEYLOGFILE in the environment would make libcurl write down what opens recorded connections.
  SSL_CTX_set_keylog_callback(context, nullptr);
  // Reading goes on inside OpenSSL as long as messages come that carry no data: no limit would end that.
  SSL_CTX_clear_mode(context, SSL_MODE_AUTO_RETRY);
  return CURLE_OK;
}

const void* obtainTLSConnection(CURL* easy) noexcept {
  const curl_tlssessioninfo* info = nullptr;
  const bool isTold = isCurlOnOurOpenSSL() && curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &info) == CURLE_OK;
  return isTold ? info->internals : nullptr;
}

bool hasUnreadTLSBytes(CURL* easy) noexcept {
  const auto* const connection = static_cast<const SSL*>(obtainTLSConnection(easy));
  return connection != nullptr && SSL_has_pending(connection) == 1;
}

}  // namespace qx
