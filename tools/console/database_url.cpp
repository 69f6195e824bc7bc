// SPDX-License-Identifier: Apache-2.0
#include "console/database_url.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "console/failure.h"

namespace console {

namespace {

std::string decoded(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    unsigned value = 0;
    const bool isEscape =
        text[at] == '%' && at + 2 < text.size() &&
        std::from_chars(text.data() + at + 1, text.data() + at + 3, value, 16).ptr == text.data() + at + 3;
    plain += isEscape ? static_cast<char>(value) : text[at];
    if (isEscape) at += 2;
  }
  return plain;
}

/// What stands ahead of the mark, which goes from `text` with it; the whole text when there is no mark.
std::string_view takeUntil(std::string_view& text, char mark) {
  const std::size_t end = std::min(text.find(mark), text.size());
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}

struct Pieces {
  std::string_view user, place, path, query;
};

Pieces splitUrl(std::string_view url) {
  url.remove_prefix(std::min(url.find("://") + 3, url.size()));
  Pieces pieces;
  pieces.query = url;
  pieces.path = takeUntil(pieces.query, '?');
  pieces.place = takeUntil(pieces.path, '/');
  const std::size_t at = pieces.place.rfind('@');
  if (at == pieces.place.npos) return pieces;
  pieces.user = pieces.place.substr(0, at);
  pieces.place.remove_prefix(at + 1);
  return pieces;
}

}  // namespace

std::string obtainScheme(const std::string& name) {
  const std::size_t end = name.find("://");
  if (end == std::string::npos) return {};
  std::string scheme = name.substr(0, end);
  for (char& byte : scheme) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return scheme;
}

void refusePassword(const std::string& url) {
  const Pieces pieces = splitUrl(url);
  const bool hasPassword =
      pieces.user.find(':') != pieces.user.npos || pieces.query.find("password") != pieces.query.npos;
  if (!hasPassword) return;
  throw Failure(ExitCode::Usage,
                "A password is no argument: put it where the database's own client looks for it, such as ~/.pgpass, "
                "PGPASSWORD or the option file ~/.my.cnf.");
}

DatabaseUrl readDatabaseUrl(const std::string& url) {
  Pieces pieces = splitUrl(url);
  DatabaseUrl parts;
  parts.user = decoded(pieces.user);
  parts.host = decoded(takeUntil(pieces.place, ':'));
  const char* const end = pieces.place.data() + pieces.place.size();
  if (!pieces.place.empty() && std::from_chars(pieces.place.data(), end, parts.port).ptr != end) {
    throw Failure(ExitCode::Usage, "The port of the database is no number.");
  }
  parts.database = decoded(pieces.path);
  while (!pieces.query.empty()) {
    std::string_view value = takeUntil(pieces.query, '&');
    if (takeUntil(value, '=') == "socket") parts.socket = decoded(value);
  }
  return parts;
}

}  // namespace console
