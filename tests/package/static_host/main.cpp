// SPDX-License-Identifier: Apache-2.0
// static_host URL QUESTION: a host with much of its own, which the static libraries must neither meet nor replace.
#include <curl/curl.h>
#include <zea/zea.h>
#include <zeamariadb/read_structure.h>
#include <zeapostgresql/read_structure.h>
#include <zeasqlite/read_structure.h>

#include <boost/json/src.hpp>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

// Names that any program may have. What is inline is merged by name when a program is linked, in silence: with a class
// of the libraries' that is called the same, one of the two would run the other's functions.
#define OWN_CLASSES(each)                                                                                          \
  each(BorrowedLoop) each(Call) each(CallControl) each(CancelState) each(Connection) each(CurlEasy) each(Exchange) \
      each(GzipReader) each(HttpClient) each(KeptConnection) each(Message) each(NameLookup) each(OpenSSLUse)       \
          each(Pool) each(ProcessLock) each(ReplyReceiver) each(RestCall) each(RestClient) each(RestEndpoint)      \
              each(RestHeaders) each(RestOutcome) each(RestResult) each(RestURL) each(StatementWriter)             \
                  each(TLSReporting) each(TextWriter) each(Transfer) each(TransferLoop)
#define AS_CLASS(name)                                              \
  struct name {                                                     \
    name() { ++begun; }                                             \
    virtual ~name() { ++ended; }                                    \
    virtual std::string perform() const { return "host's " #name; } \
  };
#define AS_PERFORMED(name) +name().perform()
#define AS_TEXT(name) "host's " #name
#define AS_ONE(name) +1

static int begun = 0;
static int ended = 0;
OWN_CLASSES(AS_CLASS)

// Others of that kind: the libraries would get nowhere with these.
char kModel[] = "host's";
int gCallback = 1;
std::string localizeText(const std::string& /*text*/) { return "host's"; }
bool isHeaderValue(std::string_view /*value*/) noexcept { return false; }
namespace platform {
bool hasFreeDescriptor() noexcept { return false; }
}  // namespace platform
namespace HTTP {
using Result = std::pair<CMRestResourceResponse*, std::string>;
Result Post(CMRestSession*, const std::string&, ICOJsonValue*, const CMRestParamList&, const CMRestParamList&) {
  return {nullptr, "host's"};
}
}  // namespace HTTP

namespace {

bool hasItsOwnClasses() {
  const std::string performed = std::string() OWN_CLASSES(AS_PERFORMED);
  return performed == OWN_CLASSES(AS_TEXT) && begun == OWN_CLASSES(AS_ONE) && ended == begun;
}

bool canCallByItself(const char* url) {
  CURL* const easy = curl_easy_init();
  curl_easy_setopt(easy, CURLOPT_URL, url);
  curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
  const CURLcode code = curl_easy_perform(easy);
  curl_easy_cleanup(easy);
  return code == CURLE_OK;
}

std::string ask(const char* url, const char* question) {
  IZEAAssistant* const assistant =
      ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, QX::createHTTPPoolCenter(), "none", url, nullptr);
  if (assistant->addMessage(question).second.find("Model is empty") != 0) return {};
  bool isSet = false;
  assistant->updateProperties([&](IZEAProperties* properties) {
    isSet = properties->setValue("model", "standin-large") &&
            properties->setValue("db_structure", R"([{"schemas":[{"tables":[{"name":"orders","fields":[
        {"name":"id","type":"INTEGER"}],"pkeys":["id"]}]}]}])");
  });
  if (!isSet) return {};
  const auto [reply, failure] = assistant->addMessage(question);
  const std::string answer =
      reply != nullptr ? std::string(reply->obtainSections().front()->obtainSectionText()) : failure;
  ZEAFreeObject(reply);
  ZEAFreeObject(assistant);
  return answer;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || !canCallByItself(argv[1])) return 2;
  const std::string text = boost::json::serialize(boost::json::value{{"answer", ask(argv[1], argv[2])}});
  std::cout << boost::json::parse(text).at("answer").as_string().c_str() << '\n';
  return hasItsOwnClasses() && !zeasqlite::readStructure("").error.empty() &&
                 !zeapostgresql::readStructure("no address").error.empty() &&
                 !zeamariadb::readStructure(nullptr).error.empty() && canCallByItself(argv[1])
             ? 0
             : 3;
}
