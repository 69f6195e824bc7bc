// SPDX-License-Identifier: Apache-2.0
// A script for the stand-in, for people.
#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "standin/zea_standin.h"

namespace standin {

/// Rules that say what is answered to which question. A JSON array of objects, of which the first one that fits and
/// has not been used up counts:
///
///     [{"contains": "orders", "answer": "```sql\nSELECT * FROM orders\n```"},
///      {"contains": "busy", "status": 429, "answer": "Too fast.", "times": 2},
///      {"contains": "slow", "delayMs": 3000},
///      {"status": 502, "body": "<html>...", "cutAfterBytes": 10},
///      {"contains": "gone", "close": true}]
///
/// "contains" is looked for in the question, its case ignored; without it a rule fits every request, listings too.
/// "answer" is put into the wire format of the request, "body" is sent as it stands; without both the model answers.
/// "times" is how often a rule counts, for ever without it. Any thread may ask.
class ReplyRules {
 public:
  /// Throws `std::runtime_error` with a sentence for a text that is no such array.
  explicit ReplyRules(const std::string& text);

  /// Nothing when no rule fits.
  std::optional<Reply> answer(const Request& request);

 private:
  struct Rule {
    std::string contains;  // in lower case
    std::optional<std::string> answer;
    std::optional<std::string> body;
    Reply reply;
    std::optional<std::int32_t> times;
  };
  Rule* find(const Request& request);

  std::mutex mutex_;
  std::vector<Rule> rules_;
};

}  // namespace standin
