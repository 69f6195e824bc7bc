// SPDX-License-Identifier: Apache-2.0
// A proxy that answers everything with 503, as long as the process lives: who reads that sentence has asked it.
#pragma once

#include <unistd.h>
#include <zea/zea.h>

#include <array>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include "loopback/listener.h"

constexpr char kRefusal[] = "HTTP 503";
constexpr char kNobody[] = "http://127.0.0.1:0";  // where nobody can be listening

/// Settings with the proxy. A static destructor may still call on it, so nothing here belongs to an object.
inline CMRestGlobalSettings startRefusingProxy() {
  static const loopback::Listener& listener = *new loopback::Listener(16);
  std::thread([] {
    constexpr std::string_view kReply = "HTTP/1.1 503 No\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    for (;;) {
      const int client = listener.accept();
      std::array<char, 65536> request;
      if (read(client, request.data(), request.size()) < 0) std::_Exit(2);
      if (write(client, kReply.data(), kReply.size()) < 0) std::_Exit(2);
      close(client);
    }
  }).detach();

  CMRestGlobalSettings settings;
  settings.proxyURL = "http://127.0.0.1:" + std::to_string(listener.port());
  settings.proxyBypass.clear();
  return settings;
}
