// SPDX-License-Identifier: Apache-2.0
// The certificate authorities that connections trust, read once in a process: reading them anew costs a fresh TLS
// connection twenty times as much as all the rest.
#pragma once

#include <openssl/types.h>

#include <string>

namespace qx {

/// True when libcurl works with the very OpenSSL that libqx is linked with, so that its contexts may be touched.
bool isCurlOnOurOpenSSL() noexcept;

/// Makes the context trust the authorities of the PEM file, or those of the system when it is empty. A file that has
/// changed since it was read is read again. False when they cannot be read. Throws `std::bad_alloc`. Any thread may
/// call it.
bool trustAuthorities(SSL_CTX* context, const std::string& file);

}  // namespace qx
