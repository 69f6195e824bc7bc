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

bool hasPassword(std::string_view user, std::string_view query) {
  return user.find(':') != user.npos || query.find("password") != query.npos;
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

DatabaseUrl readDatabaseUrl(const std::string& url) {
  std::string_view rest(url);
  rest.remove_prefix(std::min(url.find("://") + 3, url.size()));
  std::string_view place = rest;
  const std::string_view location = takeUntil(place, '?');
  const std::string_view query = place;
  std::string_view path = location;
  std::string_view authority = takeUntil(path, '/');
  DatabaseUrl parts;
  const std::size_t at = authority.rfind('@');
  const std::string_view user = at == authority.npos ? std::string_view() : authority.substr(0, at);
  if (hasPassword(user, query)) {
    throw Failure(ExitCode::Usage,
                  "A password is no argument: put it where the database's own client looks for it, such as ~/.pgpass, "
                  "PGPASSWORD or the option file ~/.my.cnf.");
  }
  if (at != authority.npos) authority.remove_prefix(at + 1);
  parts.user = decoded(user);
  parts.host = decoded(takeUntil(authority, ':'));
  if (!authority.empty() && std::from_chars(authority.data(), authority.data() + authority.size(), parts.port).ptr !=
                                authority.data() + authority.size()) {
    throw Failure(ExitCode::Usage, "The port of the database is no number.");
  }
  parts.database = decoded(path);
  for (std::string_view options = query; !options.empty();) {
    std::string_view value = takeUntil(options, '&');
    if (takeUntil(value, '=') == "socket") parts.socket = decoded(value);
  }
  return parts;
}

}  // namespace console
