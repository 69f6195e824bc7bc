// SPDX-License-Identifier: Apache-2.0
// fault_servers FOLDER: a server for each fault whose outcome is certain, in plain and over TLS. Leaves FOLDER/faults,
// with lines "kind URL name" for question_host, and FOLDER/authority.pem; prints "ready" and serves until standard
// input ends. Each server answers a second question well.
#include <openssl/ssl.h>

#include <fstream>
#include <iostream>
#include <memory>

#include "loopback/tls_identity.h"
#include "qx/qx.h"
#include "support/fault_tables.h"
#include "support/rest_caller.h"

using loopback::RawServer;
using loopback::TestAuthority;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string folder = argv[1];
  const TestAuthority ours;
  const TestAuthority other;
  const std::string ip = "IP:127.0.0.1";
  const standin::TlsIdentity good = ours.issue(ip);
  const RawServer elsewhere({});
  const loopback::RawConnection answer{
      {support::okReply(R"({"choices":[{"message":{"role":"assistant","content":"fine"}}]})")}};
  std::vector<std::unique_ptr<RawServer>> servers;
  std::ofstream list(folder + "/faults");
  const auto add = [&](const char* kind, const std::string& name, std::unique_ptr<RawServer> server) {
    list << kind << ' ' << server->url() << ' ' << name << '\n';
    servers.push_back(std::move(server));
  };

  for (const support::Fault& fault : support::makeFaults(elsewhere.url())) {
    // Under wine a reset passes for an end in good order where nothing else tells the two apart.
    const bool isLostInWine = fault.name == "reset inside a body without length";
    if (!fault.otherCodes.empty()) continue;
    const char* const kind = fault.code == CMRestCode::RequestTimedOut ? "silent"
                             : fault.connection.isEarly                ? "large"
                             : !fault.connection.repeated.empty()      ? "endless"
                                                                       : "plain";
    const std::vector<loopback::RawConnection> script = {fault.connection, answer};
    if (!isLostInWine) add(kind, fault.name, std::make_unique<RawServer>(script));
    add(kind, fault.name + ", over TLS", std::make_unique<RawServer>(script, &good));
  }
  const std::vector<loopback::RawConnection> answers(3, answer);
  const auto serve = [&](const char* name, const standin::TlsIdentity& identity, int newestVersion = 0) {
    add("plain", name, std::make_unique<RawServer>(answers, &identity, newestVersion));
  };
  serve("a certificate that holds", good);
  serve("expired", ours.issue(ip, {-7200, -3600}));
  serve("not yet valid", ours.issue(ip, {3600, 7200}));
  serve("signed by itself", TestAuthority::signItself(ip));
  serve("signed by somebody else", other.issue(ip));
  serve("for another address", ours.issue("IP:127.0.0.2"));
  serve("for a name", ours.issue("DNS:elsewhere.example"));
  serve("without an alternative name", ours.issue("CN:127.0.0.1"));
  serve("TLS 1.1 only", good, TLS1_1_VERSION);
  std::ofstream(folder + "/authority.pem") << std::ifstream(ours.file()).rdbuf();
  list.close();
  std::cout << "ready" << std::endl;
  while (std::cin.get() != EOF) continue;
}
