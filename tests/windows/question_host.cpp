// SPDX-License-Identifier: Apache-2.0
// question_host URL FOLDER: a host that asks a stand-in at `URL` by all providers, and then the servers of
// fault_servers, and prints what its user would read. scripts/test-windows compares what it prints on two systems. The
// stand-in's own words are the same for the same requests.
#include <zea/zea_owned.h>

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

constexpr char kDocument[] = R"([{"catalog_name": "sales", "schemas": [{"schema_name": "shop", "tables": [
  {"name": "orders", "fields": [{"name": "id", "type": "int"}, {"name": "größe", "type": "text"}], "pkeys": ["id"]}]}]}])";

zea::Owned<IZEAAssistant> makeAssistant(ZEAAssistantType type, const std::string& url) {
  auto assistant = zea::createAssistant(type, "k", url);
  if (assistant) zea::setProperty(*assistant, zea::property::kModel, "standin-large");
  return assistant;
}

void print(const char* what, const zea::Answer& answer) {
  std::cout << "  " << what << (answer.isAnswered ? ": " : " failed: ") << answer.text << answer.failure << '\n';
}

void askAllProviders(const std::string& url) {
  for (int number = 0;; ++number) {
    const auto assistant = makeAssistant(static_cast<ZEAAssistantType>(number), url);
    if (!assistant) return;
    std::cout << "provider " << number << '\n';
    zea::setProperty(*assistant, zea::property::kStructure, kDocument);
    zea::setProperty(*assistant, zea::property::kUserInstructions, "Kurz, bitte: ä €.");
    zea::setProperty(*assistant, zea::property::kUseTemperature, 1);
    zea::setProperty(*assistant, zea::property::kTemperature, 1.25);
    print("first", zea::ask(*assistant, "Which orders are open?"));
    print("second", zea::ask(*assistant, "Größer als 5 €?"));
    zea::setProperty(*assistant, zea::property::kModel, "");
    print("no model", zea::ask(*assistant, "Which?"));
    const auto [models, failure] = assistant->obtainAvailableModels();
    for (const std::string& model : models) std::cout << "  lists " << model << '\n';
    std::cout << "  " << failure << '\n';
  }
}

// Of an endless answer that comes in small records of TLS, wine takes its time to read a million bytes.
void change(const std::string& caFile, const std::string& kind = "plain") {
  CMRestGlobalSettings settings;
  settings.caFile = caFile;
  settings.maxResponseBytes = kind == "endless" ? 100'000 : 1'000'000;
  settings.requestTimeoutMs = kind == "silent" ? 500 : 60'000;
  ZEASetHTTPSettings(settings);
}

void askFaultyServers(const std::string& folder) {
  std::ifstream list(folder + "/faults");
  std::string kind;
  std::string url;
  std::string name;
  while (list >> kind >> url && std::getline(list, name)) {
    std::cout << "fault" << name << '\n';
    change(folder + "/authority.pem", kind);
    const std::string question(kind == "large" ? 5'000'000 : 10, 'x');
    print("question", zea::ask(*makeAssistant(ZEAAssistantType::OPENAI_v1, url), question));
    // By another connection: whether the server has closed the first one by now is a matter of luck.
    change(folder + "/authority.pem");
    print("next", zea::ask(*makeAssistant(ZEAAssistantType::OPENAI_v1, url), "next"));
  }
}

// The file's name is not ASCII and has blanks; then there is no such file; then the authority is none of the system's.
void askWithCertificates(const std::string& folder) {
  std::ifstream list(folder + "/faults");
  std::string line;
  while (std::getline(list, line) && line.find("a certificate that holds") == std::string::npos) continue;
  std::string kind;
  std::string url;
  std::istringstream(line) >> kind >> url;
  for (const char* const file : {"/größere Zertifikate/authority.pem", "/no such file.pem", ""}) {
    change(*file == '\0' ? "" : folder + file);
    print(file, zea::ask(*makeAssistant(ZEAAssistantType::OPENAI_v1, url), "next"));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  askAllProviders(argv[1]);
  askFaultyServers(argv[2]);
  askWithCertificates(argv[2]);
  change("");
  print("nobody there", zea::ask(*makeAssistant(ZEAAssistantType::OPENAI_v1, "http://127.0.0.1:9"), "next"));
  print("no name", zea::ask(*makeAssistant(ZEAAssistantType::OPENAI_v1, "http://no-such-host.invalid"), "next"));
  print("no host", zea::ask(*makeAssistant(ZEAAssistantType::OPENAI_v1, "ftp://127.0.0.1"), "next"));
  const auto pasted = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "a\nb", argv[1]);
  zea::setProperty(*pasted, zea::property::kModel, "m");
  print("a pasted key", zea::ask(*pasted, "next"));
  return 0;
}
