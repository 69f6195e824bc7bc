// SPDX-License-Identifier: Apache-2.0
// Behind a proxy, with a company's own certificate authorities: proxy_and_authorities URL QUESTION. The settings are
// the process's; neither a proxy nor a file of the environment is ever used unasked.
#include <zea/zea_owned.h>

#include <iostream>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  CMRestGlobalSettings settings;
  settings.proxyURL = argv[1];  // the stand-in answers for every host
  settings.proxyBypass = "";    // this machine, too, by the proxy
  settings.caFile = "/etc/ssl/certs/ca-certificates.crt";
  settings.requestTimeoutMs = 30000;
  ZEASetHTTPSettings(settings);
  const auto assistant = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "none", "http://models.example.com");
  zea::setProperty(*assistant, zea::property::kModel, "standin-large");
  zea::setProperty(*assistant, zea::property::kStructure,
                   R"([{"schemas": [{"tables": [{"name": "orders", "fields": [{"name": "id", "type": "int"}]}]}]}])");
  const zea::Answer answer = zea::ask(*assistant, argv[2]);
  std::cout << answer.text << answer.failure << '\n';
  return answer.isAnswered ? 0 : 1;
}
