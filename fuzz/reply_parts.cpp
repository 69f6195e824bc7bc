// SPDX-License-Identifier: Apache-2.0
// A reply to its parts: views into it, one after the other, of which none is blank, and code that is made of them.
#include <zeakit/reply_parts.h>

#include <algorithm>

#include "check.h"

namespace {

bool isBlank(std::string_view text) { return text.find_first_not_of(" \t\r\n\v\f") == text.npos; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string reply = textOf(data, size);
  const char* last = reply.data();
  for (const zeakit::ReplyPart& part : zeakit::replyParts(reply)) {
    check(part.text.data() >= last, "the parts are in order");
    last = part.text.data() + part.text.size();
    check(last <= reply.data() + reply.size(), "a part is within the reply");
    check(!isBlank(part.text), "no part is blank");
    const char* lastLine = part.text.data();
    for (const std::string_view line : part.lines) {
      check(line.data() >= lastLine, "the lines are in order");
      lastLine = line.data() + line.size();
    }
    check(lastLine <= last, "the lines are within the part");
    check(part.content().size() <= part.text.size(), "the content is of the part");
  }
  return 0;
}
