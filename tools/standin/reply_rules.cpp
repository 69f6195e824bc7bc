// SPDX-License-Identifier: Apache-2.0
#include "standin/reply_rules.h"

#include <stdexcept>
#include <string_view>

#include "standin/format_parts.h"
#include "standin/standin_model.h"

namespace standin {

namespace {

// Of ASCII; a question in other letters is compared as it stands.
std::string lowerCase(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::optional<std::string> readText(const COJsonValue& rule, std::string_view key) {
  const COJsonValue* const member = findMember(rule, key, COJsonValueType::String);
  if (member == nullptr) return std::nullopt;
  return member->obtainStringValue();
}

std::optional<std::int32_t> readNumber(const COJsonValue& rule, std::string_view key, std::int32_t lowest) {
  const COJsonValue* const member = findMember(rule, key, COJsonValueType::Integer);
  if (member == nullptr) return std::nullopt;
  if (member->obtainIntValue() < lowest) throw Refusal(std::string(key) + " is too small.");
  return member->obtainIntValue();
}

}  // namespace

ReplyRules::ReplyRules(const std::string& text) {
  const COJson script(text);
  if (!script.getIsValidJson() || script.obtainType() != COJsonValueType::Array) {
    throw std::runtime_error("The rules are no JSON array.");
  }
  for (std::size_t at = 0; at < script.obtainArraySize(); ++at) {
    const COJsonValue& one = *script.obtainArrayItem(at);
    try {
      if (one.obtainType() != COJsonValueType::Object) throw Refusal("it is no object.");
      Rule rule;
      rule.contains = lowerCase(readText(one, "contains").value_or(""));
      rule.answer = readText(one, "answer");
      rule.body = readText(one, "body");
      rule.times = readNumber(one, "times", 1);
      rule.reply.status = readNumber(one, "status", 200).value_or(200);
      rule.reply.delay = std::chrono::milliseconds(readNumber(one, "delayMs", 0).value_or(0));
      if (const auto bytes = readNumber(one, "cutAfterBytes", 0)) {
        rule.reply.cutAfterBytes = static_cast<std::size_t>(*bytes);
      }
      const COJsonValue* const close = findMember(one, "close", COJsonValueType::Boolean);
      rule.reply.closeUnanswered = close != nullptr && close->obtainBoolValue();
      rules_.push_back(std::move(rule));
    } catch (const Refusal& refusal) {
      throw std::runtime_error("Rule " + std::to_string(at + 1) + " cannot be used: " + refusal.what());
    }
  }
}

ReplyRules::Rule* ReplyRules::find(const Request& request) {
  const std::optional<std::string> question = questionOf(request);
  const std::string text = lowerCase(question.value_or(""));
  for (Rule& rule : rules_) {
    const bool fits = rule.contains.empty() || (question && text.find(rule.contains) != text.npos);
    if (fits && rule.times != 0) return &rule;
  }
  return nullptr;
}

std::optional<Reply> ReplyRules::answer(const Request& request) {
  const std::lock_guard lock(mutex_);
  Rule* const rule = find(request);
  if (rule == nullptr) return std::nullopt;
  if (rule->times) --*rule->times;
  Reply reply = rule->reply;
  if (rule->body) {
    reply.body = *rule->body;
  } else {
    constexpr int firstFailure = 400;
    const bool isSaid = rule->answer || reply.status >= firstFailure;
    const Reply said =
        isSaid ? answerWith(request, reply.status, rule->answer.value_or("As the rules say.")) : answerAsModel(request);
    reply.body = said.body;
    reply.status = said.status;
  }
  return reply;
}

}  // namespace standin
