// SPDX-License-Identifier: Apache-2.0
// The owning types of libcurl's handles. Nothing outside the REST sources includes this.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <new>
#include <string>
#include <type_traits>

namespace qx {

/// Gives a handle of libcurl back to the function that its kind wants.
template <auto Release>
struct CurlRelease {
  template <typename Handle>
  void operator()(Handle* handle) const noexcept {
    // Some of these functions have a result; there is nothing to be done about it at the end of a handle.
    static_cast<void>(Release(handle));
  }
};

/// Frees a list whose lines may hold keys.
void freeKeyedList(curl_slist* list) noexcept;

using CurlMulti = std::unique_ptr<CURLM, CurlRelease<curl_multi_cleanup>>;
using CurlShare = std::unique_ptr<CURLSH, CurlRelease<curl_share_cleanup>>;
using CurlList = std::unique_ptr<curl_slist, CurlRelease<freeKeyedList>>;
using CurlURL = std::unique_ptr<CURLU, CurlRelease<curl_url_cleanup>>;

/// Adds a copy of the line at the end. False, and the list is as it was, for want of memory.
[[nodiscard]] bool appendTo(CurlList& list, const std::string& line) noexcept;

/// A transfer. The first option that cannot be set is remembered, so that a row of them is checked once at its end.
class CurlEasy {
 public:
  CurlEasy() : CurlEasy(curl_easy_init(), true) {}

  /// Another transfer with the same options.
  CurlEasy duplicate() const { return {curl_easy_duphandle(handle_.get()), isComplete_}; }

  template <typename Value>
  void set(CURLoption option, Value value) {
    static_assert(std::is_same_v<Value, long> || std::is_same_v<Value, curl_off_t> || std::is_pointer_v<Value> ||
                      std::is_null_pointer_v<Value>,
                  "libcurl reads options as these types and nothing converts on the way");
    CURLcode result = CURLE_OK;
    if constexpr (std::is_null_pointer_v<Value>) {
      result = curl_easy_setopt(handle_.get(), option, static_cast<void*>(nullptr));
    } else {
      result = curl_easy_setopt(handle_.get(), option, value);
    }
    if (result != CURLE_OK) isComplete_ = false;
  }
  /// True when every option could be set.
  bool isComplete() const noexcept { return isComplete_; }

  /// What the transfer is or was like; `otherwise` when libcurl doesn't tell.
  template <typename Value>
  Value obtainInfo(CURLINFO info, Value otherwise = {}) const noexcept {
    Value value = otherwise;
    return curl_easy_getinfo(handle_.get(), info, &value) == CURLE_OK ? value : otherwise;
  }
  CURL* get() const noexcept { return handle_.get(); }

 private:
  CurlEasy(CURL* handle, bool isComplete) : handle_(handle), isComplete_(isComplete) {
    if (!handle_) throw std::bad_alloc();
  }

  std::unique_ptr<CURL, CurlRelease<curl_easy_cleanup>> handle_;
  bool isComplete_;
};

}  // namespace qx
