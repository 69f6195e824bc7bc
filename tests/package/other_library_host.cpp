// SPDX-License-Identifier: Apache-2.0
// A host in C++ whose standard library is another one than libzeac's.
#include <zeac/zea_c_kit.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#ifndef _LIBCPP_VERSION
#error "The other standard library is libc++."
#endif

namespace {

// Of literals, and of strings that live on.
zeac_text text(std::string_view value) { return {value.data(), value.size()}; }

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string host = argv[1];
  zeac_assistant_options options{};
  options.record_size = sizeof(options);
  options.key = text("none");
  options.host = text(host);
  zeac_assistant* assistant = nullptr;
  zeac_string* reply = nullptr;
  zeac_string* sentence = nullptr;
  const std::string document =
      R"([{"schemas":[{"tables":[{"name":"orders","fields":[{"name":"id","type":"int"}]}]}]}])";
  if (zeac_assistant_create(&options, &assistant, &sentence) != ZEAC_OK ||
      zeac_assistant_set_text(assistant, text("model"), text("m"), &sentence) != ZEAC_OK ||
      zeac_assistant_set_text(assistant, text("db_structure"), text(document), &sentence) != ZEAC_OK ||
      zeac_assistant_ask(assistant, text(argv[2]), &reply, &sentence) != ZEAC_OK) {
    std::fprintf(stderr, "%s\n", zeac_string_text(sentence).data);
    return 1;
  }
  std::vector<std::string> lines(1, zeac_string_text(reply).data);
  std::printf("%s\n", lines.back().c_str());
  zeac_string_free(reply);
  zeac_assistant_free(assistant);
}
