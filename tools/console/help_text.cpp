// SPDX-License-Identifier: Apache-2.0
#include "console/help_text.h"

#include <algorithm>
#include <numeric>
#include <sstream>
#include <utility>
#include <vector>

namespace console {

namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kNearEnough = 2;

void wrapLine(std::string line, std::size_t indent, std::string& wrapped) {
  while (line.size() > kColumns) {
    std::size_t end = line.rfind(' ', kColumns);
    if (end == line.npos || end <= indent) break;  // a word that is wider than what is left
    wrapped.append(line, 0, line.find_last_not_of(' ', end) + 1).append("\n");
    line.erase(0, end + 1).insert(0, indent, ' ');
  }
  wrapped.append(line).append("\n");
}

/// Changes of one letter, missing and additional ones, and neighbours that changed places.
std::size_t distance(const std::string& left, const std::string& right) {
  std::vector<std::size_t> former;
  std::vector<std::size_t> last(right.size() + 1);
  std::iota(last.begin(), last.end(), 0U);
  for (std::size_t row = 1; row <= left.size(); ++row) {
    std::vector<std::size_t> now(right.size() + 1, row);
    for (std::size_t column = 1; column <= right.size(); ++column) {
      const std::size_t changed = last[column - 1] + (left[row - 1] == right[column - 1] ? 0 : 1);
      now[column] = std::min({changed, last[column] + 1, now[column - 1] + 1});
      const bool isSwapped =
          row > 1 && column > 1 && left[row - 1] == right[column - 2] && left[row - 2] == right[column - 1];
      if (isSwapped) now[column] = std::min(now[column], former[column - 2] + 1);
    }
    former = std::exchange(last, std::move(now));
  }
  return last.back();
}

}  // namespace

std::string wrapHelp(const std::string& help, std::size_t descriptionColumn) {
  std::istringstream lines(help);
  std::string line;
  std::string wrapped;
  while (std::getline(lines, line)) {
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    wrapLine(line, begin == 2 ? descriptionColumn : begin, wrapped);
  }
  return wrapped;
}

std::string nearestWord(const std::string& typed, const std::string& list) {
  std::istringstream words(list);
  std::string word;
  std::string nearest;
  std::size_t least = kNearEnough + 1;
  while (std::getline(words >> std::ws, word, ',')) {
    const std::size_t away = distance(typed, word);
    if (away < least && away < word.size()) {
      least = away;
      nearest = word;
    }
  }
  return nearest;
}

}  // namespace console
