// SPDX-License-Identifier: Apache-2.0
#include "record.h"

#include <stdexcept>

namespace corpus {

void Record::finish() {
  out_.flush();
  if (!out_) throw std::runtime_error("the record cannot be written");
}

std::size_t Record::add(std::string_view label, std::string text) {
  constexpr std::string_view kAddress = "SERVER";
  for (std::size_t at = 0; (at = text.find(address_, at)) != std::string::npos; at += kAddress.size()) {
    text.replace(at, address_.size(), kAddress);
  }
  out_ << label << ": " << text << '\n';
  return text.size();
}

}  // namespace corpus
