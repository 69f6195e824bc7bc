// A proxy that answers everything with 503, as long as the process lives: who reads that sentence has asked it.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zea/zea.h>

#include <array>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

constexpr char kRefusal[] = "HTTP 503";
constexpr char kNobody[] = "http://127.0.0.1:0";  // where nobody can be listening

/// Settings with the proxy. A static destructor may still call on it, so nothing here belongs to an object.
inline CMRestGlobalSettings startRefusingProxy() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const general = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener, general, length) != 0 || listen(listener, 16) != 0 ||
      getsockname(listener, general, &length) != 0) {
    std::_Exit(2);
  }
  std::thread([listener] {
    constexpr std::string_view kReply = "HTTP/1.1 503 No\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    for (;;) {
      const int client = accept(listener, nullptr, nullptr);
      std::array<char, 65536> request;
      if (read(client, request.data(), request.size()) < 0) std::_Exit(2);
      if (write(client, kReply.data(), kReply.size()) < 0) std::_Exit(2);
      close(client);
    }
  }).detach();

  CMRestGlobalSettings settings;
  settings.proxyURL = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  settings.proxyBypass.clear();
  return settings;
}
