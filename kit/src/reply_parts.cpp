// SPDX-License-Identifier: Apache-2.0
#include "zeakit/reply_parts.h"

#include <md4c.h>

#include <algorithm>
#include <array>
#include <limits>

#include "name_mentions.h"
#include "statement_words.h"

namespace zeakit {

namespace {

bool isSqlLanguage(std::string_view language) {
  static constexpr std::array<std::string_view, 12> kNames = {"sql",        "mysql",   "mariadb", "postgres",
                                                              "postgresql", "psql",    "pgsql",   "plpgsql",
                                                              "sqlite",     "sqlite3", "tsql",    "plsql"};
  return language.size() <= 10 && std::find(kNames.begin(), kNames.end(), lowerCase(language)) != kNames.end();
}

/// One stretch of the reply that has no think tags, as md4c reads it. It tells what is code; where in the reply that
/// stands is told by its views into it, and for fences by looking on from the last one of these.
class MarkdownReader {
 public:
  MarkdownReader(std::string_view text, std::vector<ReplyPart>& parts) : text_(text), parts_(parts) {}

  void run() {
    if (text_.size() > std::numeric_limits<MD_SIZE>::max() / 2) return addText(text_.size());
    MD_PARSER parser{};
    // Models indent fences as it comes, more often than they mean indented code. HTML is text like any other.
    parser.flags = MD_FLAG_NOINDENTEDCODEBLOCKS | MD_FLAG_NOHTML;
    parser.enter_block = [](MD_BLOCKTYPE type, void* detail, void* self) {
      if (type == MD_BLOCK_CODE)
        static_cast<MarkdownReader*>(self)->beginCode(*static_cast<MD_BLOCK_CODE_DETAIL*>(detail));
      return 0;
    };
    parser.leave_block = [](MD_BLOCKTYPE type, void*, void* self) {
      if (type == MD_BLOCK_CODE) static_cast<MarkdownReader*>(self)->endCode();
      return 0;
    };
    parser.enter_span = [](MD_SPANTYPE, void*, void*) { return 0; };
    parser.leave_span = [](MD_SPANTYPE, void*, void*) { return 0; };
    parser.text = [](MD_TEXTTYPE, const MD_CHAR* text, MD_SIZE size, void* self) {
      static_cast<MarkdownReader*>(self)->takeText(text, size);
      return 0;
    };
    // Fails for want of memory only; what is there by then stands, and the rest is text.
    static_cast<void>(md_parse(text_.data(), static_cast<MD_SIZE>(text_.size()), &parser, this));
    addText(text_.size());
  }

 private:
  void beginCode(const MD_BLOCK_CODE_DETAIL& detail) {
    fence_ = detail.fence_char;
    const std::size_t begin = findFence();
    addText(begin);
    const std::size_t end = lineEnd(begin);
    std::string_view info = text_.substr(begin, end - begin);
    info.remove_prefix(std::min(info.find(fence_), info.size()));
    info.remove_prefix(std::min(info.find_first_not_of(fence_), info.size()));
    info.remove_prefix(std::min(info.find_first_not_of(" \t\r"), info.size()));
    code_ = ReplyPart();
    code_.language = info.substr(0, info.find_first_of(" \t\r{"));
    seen_ = nextLine(end);
    isInCode_ = true;
  }

  void endCode() {
    isInCode_ = false;
    if (!code_.lines.empty()) {
      const char* const begin = code_.lines.front().data();
      code_.text = std::string_view(
          begin, static_cast<std::size_t>(code_.lines.back().data() - begin) + code_.lines.back().size());
      if (code_.lines.size() == 1) code_.lines.clear();
    }
    // An end of the container ends the code too, then without a fence.
    std::size_t at = seen_;
    while (at < text_.size()) {
      const std::size_t end = lineEnd(at);
      const std::string_view line = text_.substr(at, end - at);
      if (line.find_first_not_of(" \t\r>") != line.npos) {
        if (isFence(line)) seen_ = nextLine(end);
        break;
      }
      at = nextLine(end);
    }
    told_ = seen_;
    if (isBlank(code_.text)) return;
    const bool isSql = isSqlLanguage(code_.language) || (code_.language.empty() && isStatement(code_.content()));
    code_.kind = isSql ? ReplyPartKind::Sql : ReplyPartKind::Code;
    parts_.push_back(std::move(code_));
  }

  void takeText(const MD_CHAR* text, MD_SIZE size) {
    const bool isOfReply = std::less_equal<>()(text_.data(), text) && std::less<>()(text, text_.data() + text_.size());
    if (!isOfReply) {
      if (isInCode_ && size == 1 && *text == '\n') takeLineEnd();
      if (isInCode_ && *text == ' ') indentation_ += size;
      return;  // made by md4c
    }
    const auto at = static_cast<std::size_t>(text - text_.data());
    const std::size_t before = seen_;
    seen_ = std::max(seen_, std::min(at + size, text_.size()));
    if (!isInCode_ || at < before) return;
    // What a line is indented by beyond its container, md4c tells as spaces of its own.
    for (; indentation_ > 0 && text > text_.data() + before && (text[-1] == ' ' || text[-1] == '\t'); --indentation_) {
      --text;
      ++size;
    }
    indentation_ = 0;
    if (!code_.lines.empty() && code_.lines.back().data() + code_.lines.back().size() == text) {
      extend(size);
    } else {
      code_.lines.emplace_back(text, size);
    }
  }

  /// The reply's own line end stands for md4c's, so that a block that is nested in nothing is one piece.
  void takeLineEnd() {
    indentation_ = 0;
    if (!code_.lines.empty()) {
      seen_ = std::max(seen_,
                       static_cast<std::size_t>(code_.lines.back().data() - text_.data()) + code_.lines.back().size());
    }
    const std::size_t end = lineEnd(seen_);  // after the marks of a quotation on a line without text
    if (end == text_.size()) return;
    const std::size_t next = nextLine(end);
    const bool isNext = end == seen_ && !code_.lines.empty() &&
                        code_.lines.back().data() + code_.lines.back().size() == text_.data() + seen_;
    if (isNext) {
      extend(next - end);
    } else {
      code_.lines.push_back(text_.substr(end, next - end));
    }
    seen_ = next;
  }

  /// Where the line ends that has `at` in it. Markdown takes a lone carriage return for an end, too.
  std::size_t lineEnd(std::size_t at) const { return std::min(text_.find_first_of("\r\n", at), text_.size()); }
  std::size_t nextLine(std::size_t end) const {
    return std::min(end + (text_.substr(end, 2) == "\r\n" ? 2 : 1), text_.size());
  }

  void extend(std::size_t size) {
    std::string_view& last = code_.lines.back();
    last = std::string_view(last.data(), last.size() + size);
  }

  bool isFence(std::string_view line) const {
    const std::size_t begin = line.find(fence_);
    return begin != line.npos && line.substr(begin, 3) == std::string(3, fence_);
  }

  /// Where the line of the next fence begins. Between the last text and it there are marks of lists and quotations, and
  /// blocks without text.
  std::size_t findFence() const {
    std::size_t at = seen_;
    while (at < text_.size()) {
      const std::size_t end = lineEnd(at);
      if (isFence(text_.substr(at, end - at))) return at;
      at = nextLine(end);
    }
    return text_.size();
  }

  void addText(std::size_t end) {
    const std::string_view text = text_.substr(told_, std::max(end, told_) - told_);
    told_ = std::max(end, told_);
    if (isBlank(text)) return;
    ReplyPart part;
    part.text = text;
    parts_.push_back(std::move(part));
  }

  std::string_view text_;
  std::vector<ReplyPart>& parts_;
  std::size_t seen_ = 0;  // the end of what md4c has told
  std::size_t told_ = 0;  // the end of what is in a part, or a fence
  bool isInCode_ = false;
  std::size_t indentation_ = 0;  // of the code that comes next
  char fence_ = '`';
  ReplyPart code_;
};

struct Tag {
  std::size_t begin = std::string_view::npos;
  std::size_t end = std::string_view::npos;
};

constexpr std::array<std::string_view, 3> kThinkTags = {"think>", "thinking>", "reasoning>"};

/// The length of the tag that `text` begins with, or 0.
std::size_t tagLength(std::string_view text, std::string_view opening) {
  if (text.substr(0, opening.size()) != opening) return 0;
  const std::string word = lowerCase(text.substr(opening.size(), 10));
  for (const std::string_view tag : kThinkTags) {
    if (word.compare(0, tag.size(), tag) == 0) return opening.size() + tag.size();
  }
  return 0;
}

/// The next tag that opens at the beginning of a line outside of a fence.
Tag findOpening(std::string_view text, std::size_t from) {
  std::string_view fence;
  for (std::size_t at = from; at < text.size();) {
    const std::size_t lineEnd = std::min(text.find('\n', at), text.size());
    const std::size_t begin = std::min(text.find_first_not_of(" \t\r>*-+0123456789.", at), lineEnd);
    const std::string_view line = text.substr(begin, lineEnd - begin);
    const std::string_view marks =
        line.substr(0, std::min(line.find_first_not_of(line.empty() ? ' ' : line[0]), line.size()));
    const bool isFence = marks.size() >= 3 && (marks[0] == '`' || marks[0] == '~');
    if (fence.empty()) {
      if (isFence && (marks[0] == '~' || line.find('`', marks.size()) == line.npos)) fence = marks;
      const std::size_t length = tagLength(line, "<");
      if (length > 0) return {begin, begin + length};
    } else if (isFence && marks[0] == fence[0] && marks.size() >= fence.size() && isBlank(line.substr(marks.size()))) {
      fence = {};
    }
    at = lineEnd + 1;
  }
  return {};
}

/// The next closing tag; with `isAlone`, one that ends its line.
Tag findClosing(std::string_view text, std::size_t from, bool isAlone) {
  for (std::size_t at = text.find("</", from); at != text.npos; at = text.find("</", at + 1)) {
    const std::size_t length = tagLength(text.substr(at), "</");
    if (length == 0) continue;
    const std::size_t lineEnd = std::min(text.find('\n', at), text.size());
    if (!isAlone || isBlank(text.substr(at + length, lineEnd - at - length))) return {at, at + length};
  }
  return {};
}

void addThinking(std::string_view text, std::vector<ReplyPart>& parts) {
  if (isBlank(text)) return;
  ReplyPart part;
  part.kind = ReplyPartKind::Thinking;
  part.text = text;
  parts.push_back(std::move(part));
}

std::vector<ReplyPart> split(std::string_view reply) {
  std::vector<ReplyPart> parts;
  std::size_t at = 0;
  Tag opening = findOpening(reply, 0);
  // Some servers cut the opening tag off with the prompt.
  const Tag first = findClosing(reply, 0, true);
  if (first.begin != reply.npos && first.begin < opening.begin) {
    addThinking(reply.substr(0, first.begin), parts);
    at = first.end;
    opening = findOpening(reply, at);
  }
  while (opening.begin != reply.npos) {
    MarkdownReader(reply.substr(at, opening.begin - at), parts).run();
    const Tag closing = findClosing(reply, opening.end, false);
    addThinking(reply.substr(opening.end, std::min(closing.begin, reply.size()) - opening.end), parts);
    at = std::min(closing.end, reply.size());
    opening = findOpening(reply, at);
  }
  MarkdownReader(reply.substr(at), parts).run();
  return parts;
}

/// Text, a statement in it, text.
std::vector<ReplyPart> withBareStatement(std::vector<ReplyPart> parts) {
  for (std::size_t index = 0; index < parts.size(); ++index) {
    const std::string_view text = parts[index].text;
    if (parts[index].kind != ReplyPartKind::Text) continue;
    const std::string_view statement = findStatement(text);
    if (statement.empty()) continue;
    const auto begin = static_cast<std::size_t>(statement.data() - text.data());
    std::vector<ReplyPart> pieces(3);
    pieces[0].text = text.substr(0, begin);
    pieces[1].kind = ReplyPartKind::Sql;
    pieces[1].text = statement;
    pieces[2].text = text.substr(begin + statement.size());
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(), [](const ReplyPart& part) { return isBlank(part.text); }),
                 pieces.end());
    const auto place = parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(index));
    parts.insert(place, pieces.begin(), pieces.end());
    break;
  }
  return parts;
}

}  // namespace

std::string ReplyPart::content() const {
  if (lines.empty()) return std::string(text);
  std::string joined;
  for (const std::string_view line : lines) joined += line;
  return joined;
}

std::vector<ReplyPart> replyParts(std::string_view reply) {
  std::vector<ReplyPart> parts = split(reply);
  const bool hasSql =
      std::any_of(parts.begin(), parts.end(), [](const ReplyPart& part) { return part.kind == ReplyPartKind::Sql; });
  return hasSql ? parts : withBareStatement(std::move(parts));
}

std::string firstStatement(std::string_view reply) {
  for (const ReplyPart& part : replyParts(reply)) {
    if (part.kind == ReplyPartKind::Sql) return part.content();
  }
  return {};
}

}  // namespace zeakit
