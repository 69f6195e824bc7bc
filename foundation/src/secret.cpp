// SPDX-License-Identifier: Apache-2.0
#include "qx/secret.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "number_text.h"
#include "text_view.h"
#include "wipe.h"

namespace qx {

namespace {

constexpr std::string_view kMask = "***";
constexpr std::size_t kEscapeSize = 3;

/// Whether "%XX" for the character stands at the beginning of the text.
bool isEscapeOf(std::string_view text, char character) {
  return text.size() >= kEscapeSize && text[0] == '%' &&
         readHex(text.substr(1, kEscapeSize - 1)) == static_cast<unsigned char>(character);
}

bool isItself(std::string_view text, char character) {
  return !text.empty() && (text[0] == character || (character == ' ' && text[0] == '+'));
}

/// How much of the beginning of the text is the secret, at most; 0 when it doesn't begin with it. `ends` are where it
/// may have got to, a place to work in: mostly one, but "%25" may be a per cent sign or three characters.
std::size_t measureSecret(std::string_view text, std::string_view secret, std::vector<std::size_t>& ends) {
  ends.assign(1, 0);
  for (const char character : secret) {
    const std::size_t count = ends.size();
    for (std::size_t i = 0; i < count; ++i) {
      const std::string_view rest = text.substr(ends[i]);
      if (isEscapeOf(rest, character)) ends.push_back(ends[i] + kEscapeSize);
      if (isItself(rest, character)) ends.push_back(ends[i] + 1);
    }
    ends.erase(ends.begin(), ends.begin() + static_cast<std::ptrdiff_t>(count));
    if (ends.empty()) return 0;
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
  }
  return ends.back();
}

}  // namespace

}  // namespace qx

using namespace qx;

std::string qxMaskSecret(std::string_view text, std::string_view secret) {
  secret = trim(secret);
  if (secret.empty()) return std::string(text);
  // Nothing else begins with it: most of the text is passed over at once.
  const std::array beginnings{secret[0], '%'};
  std::string masked;
  std::vector<std::size_t> ends;
  std::size_t copied = 0;
  for (std::size_t at = 0;;) {
    at = text.find_first_of(std::string_view(beginnings.data(), beginnings.size()), at);
    if (at == std::string_view::npos) break;
    const std::size_t size = measureSecret(text.substr(at), secret, ends);
    if (size == 0) {
      ++at;
      continue;
    }
    masked.append(text.substr(copied, at - copied)).append(kMask);
    at += size;
    copied = at;
  }
  return masked.append(text.substr(copied));
}

void qxWipe(std::string& text) noexcept {
  // It may have been longer once.
  const std::size_t size = text.size();
  if (size == 0 && text.capacity() <= std::string().capacity()) return;
  text.resize(text.capacity());
  wipe(text.data(), size);
  text.clear();
}

void qxWipe(std::vector<std::pair<std::string, std::string>>& params) noexcept {
  for (auto& [name, value] : params) {
    qxWipe(name);
    qxWipe(value);
  }
}
