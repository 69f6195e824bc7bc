// SPDX-License-Identifier: Apache-2.0
// A text through our JSON parser and writer, against a second parser.
#include <qx/qx.h>

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string_view>

#include "check.h"

namespace {

/// Writes what the second parser reads as our writer would.
class Transcript final : public nlohmann::json_sax<nlohmann::json> {
 public:
  bool null() override { return put("null"); }
  bool boolean(bool value) override { return put(value ? "true" : "false"); }
  bool number_integer(std::int64_t value) override { return put(std::to_string(value)); }
  bool number_unsigned(std::uint64_t value) override { return put(std::to_string(value)); }
  bool number_float(double value, const std::string& /*text*/) override {
    std::array<char, 40> digits;
    std::string number(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
    return put(number.find_first_of(".e") == std::string::npos ? number + ".0" : number);
  }
  bool string(std::string& value) override { return put(nlohmann::json(value).dump()); }
  bool binary(nlohmann::json::binary_t& /*value*/) override { return false; }
  bool start_object(std::size_t /*count*/) override { return open('{'); }
  bool key(std::string& name) override {
    put(nlohmann::json(name).dump());
    text += ':';
    isFirst_ = true;
    return true;
  }
  bool end_object() override { return close('}'); }
  bool start_array(std::size_t /*count*/) override { return open('['); }
  bool end_array() override { return close(']'); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
    isOutOfRange = error.id == 406;
    return false;
  }

  std::string text;
  std::size_t deepest = 0;
  bool isOutOfRange = false;

 private:
  bool put(std::string_view value) {
    if (!isFirst_) text += ',';
    isFirst_ = false;
    text += value;
    return true;
  }
  bool open(char bracket) {
    put({&bracket, 1});
    isFirst_ = true;
    deepest = std::max(deepest, ++depth_);
    return true;
  }
  bool close(char bracket) {
    text += bracket;
    isFirst_ = false;
    --depth_;
    return true;
  }

  bool isFirst_ = true;
  std::size_t depth_ = 0;
};

/// Where we differ on purpose: bytes that are no UTF-8 and unpaired surrogates are kept, more than 512 levels are not,
/// and a number beyond a double's range doesn't cost the document. A NUL ends the text for the second parser.
void compare(const std::string& text, const COJson& document) {
  if (text.find('\0') != std::string::npos) return check(!document.getIsValidJson(), "a NUL is nowhere well-formed");
  Transcript transcript;
  const bool isValid = nlohmann::json::sax_parse(text, &transcript);
  if (isValid && transcript.deepest > 512) return check(!document.getIsValidJson(), "512 levels are the limit");
  if (isValid) {
    check(document.getIsValidJson(), "what is well-formed is accepted");
    return check(document.obtainJsonString() == transcript.text, "values are those of the second parser");
  }
  const auto isHigh = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
  const bool hasSurrogates = text.find("\\ud") != std::string::npos || text.find("\\uD") != std::string::npos;
  if (transcript.isOutOfRange || hasSurrogates || std::any_of(text.begin(), text.end(), isHigh)) return;
  check(!document.getIsValidJson(), "what is not well-formed is refused");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = textOf(data, size);
  const COJson document(text);
  compare(text, document);
  if (!document.getIsValidJson()) return 0;

  const std::string written = document.obtainJsonString();
  const COJson again(written);

  check(again.getIsValidJson(), "what is written is well-formed");
  check(again.obtainJsonString() == written, "what is written reads back the same");
  return 0;
}
