// SPDX-License-Identifier: Apache-2.0
// What stands behind the handles, and how failures cross into C.
#pragma once

#include <zea/zea_owned.h>

#include <exception>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zeac/zea_c_kit.h"

struct zeac_string {
  std::string text;
};

struct zeac_strings {
  std::vector<std::string> texts;
};

struct zeac_cancel {
  std::shared_ptr<QXCancelSource> source;
};

struct zeac_memory {
  std::unique_ptr<IZEAAssistantMemory> memory;
};

struct zeac_sink {
  std::string* text;                              // null where entries are asked for
  std::vector<ZEAAssistantMemoryEntry>* entries;  // null where a text is asked for
};

namespace zeac {

inline std::string_view viewOf(zeac_text text) {
  return text.data == nullptr ? std::string_view() : std::string_view(text.data, text.size);
}
inline std::string stringOf(zeac_text text) { return std::string(viewOf(text)); }
inline zeac_text textOf(std::string_view view) { return {view.data(), view.size()}; }

/// Ends an operation with a code and a sentence.
class Refusal : public std::exception {
 public:
  Refusal(std::int32_t code, std::string sentence) : code_(code), sentence_(std::move(sentence)) {}
  std::int32_t code() const noexcept { return code_; }
  const char* what() const noexcept override { return sentence_.c_str(); }

 private:
  std::int32_t code_;
  std::string sentence_;
};

/// The object behind a handle or a pointer; refuses null.
template <class Object>
Object& require(Object* object) {
  if (object == nullptr) throw Refusal(ZEAC_BAD_ARGUMENT, "A handle or a place for a result is null.");
  return *object;
}

/// A place for a result, which is null until the operation has succeeded.
template <class Object>
class Result {
 public:
  explicit Result(Object** place) : place_(require(place)) { place_ = nullptr; }
  /// The last step of an operation, since what is given stays.
  void give(Object object) { place_ = new Object(std::move(object)); }

 private:
  Object*& place_;
};

/// The same for a list that the caller may do without, beside another result: made first, given after the other one.
class OptionalStrings {
 public:
  explicit OptionalStrings(zeac_strings** place) : place_(place) {
    if (place_ != nullptr) *place_ = nullptr;
  }
  void make(std::vector<std::string> texts) { made_ = std::make_unique<zeac_strings>(zeac_strings{std::move(texts)}); }
  /// Names and texts in turn.
  void make(const std::vector<std::pair<std::string, std::string>>& pairs) {
    std::vector<std::string> texts;
    for (const auto& [name, text] : pairs) texts.insert(texts.end(), {name, text});
    make(std::move(texts));
  }
  void give() noexcept {
    if (place_ != nullptr) *place_ = made_.release();
  }

 private:
  zeac_strings** place_;
  std::unique_ptr<zeac_strings> made_;
};

/// Runs one operation; nothing that it throws leaves.
template <class Operation>
std::int32_t guard(zeac_string** sentence, Operation operation) noexcept {
  if (sentence != nullptr) *sentence = nullptr;
  const auto tell = [sentence](const char* text) {
    if (sentence != nullptr) *sentence = new (std::nothrow) zeac_string{text};
  };
  try {
    try {
      operation();
      return ZEAC_OK;
    } catch (const Refusal& refusal) {
      tell(refusal.what());
      return refusal.code();
    } catch (const std::bad_alloc&) {
      return ZEAC_NO_MEMORY;
    } catch (const std::exception& error) {
      tell(error.what());
      return ZEAC_FAILED;
    } catch (...) {
      return ZEAC_FAILED;
    }
  } catch (const std::bad_alloc&) {
    return ZEAC_NO_MEMORY;  // there was none for the sentence
  }
}

/// Refuses a record of a size that no version had.
template <class Record>
const Record& requireRecord(const Record* record) {
  if (require(record).record_size < sizeof(Record)) throw Refusal(ZEAC_BAD_ARGUMENT, "The record's size is unknown.");
  return *record;
}

inline void requireSuccess(const std::string& failure) {
  if (!failure.empty()) throw Refusal(ZEAC_FAILED, failure);
}

}  // namespace zeac
