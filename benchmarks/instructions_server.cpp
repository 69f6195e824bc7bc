// SPDX-License-Identifier: Apache-2.0
// Answers zea_instructions. Prints the URLs of a chat over http, of a chat over https and of a listing, and the file
// of the authority that the second one's certificate comes from. Goes on until its standard input ends.
#include <iostream>
#include <string>

#include "question.h"

namespace {

/// Dates without order, so that there is something to sort.
std::string listingOf(int models) {
  std::string listing = R"({"object":"list","data":[)";
  for (int model = 0; model < models; ++model) {
    if (model > 0) listing += ',';
    listing += R"({"id":"model-)" + std::to_string(model) + R"(","object":"model","created":)" +
               std::to_string(1'700'000'000 + model * 7919 % models) + R"(,"owned_by":"system"})";
  }
  return listing + "]}";
}

}  // namespace

int main() {
  const Peer chat(false);
  const Peer secureChat(true);
  const Peer listing(false, listingOf(1000));
  std::cout << chat.url() << ' ' << secureChat.url() << ' ' << listing.url() << ' ' << secureChat.caFile() << std::endl;
  while (std::cin.get() != std::char_traits<char>::eof()) continue;
}
