// SPDX-License-Identifier: Apache-2.0
#include "curl_handle.h"

#include <string_view>

#include "wipe.h"

namespace qx {

void freeKeyedList(curl_slist* list) noexcept {
  for (curl_slist* one = list; one != nullptr; one = one->next) wipe(one->data, std::string_view(one->data).size());
  curl_slist_free_all(list);
}

bool appendTo(CurlList& list, const std::string& line) noexcept {
  curl_slist* const longer = curl_slist_append(list.get(), line.c_str());
  if (longer == nullptr) return false;
  static_cast<void>(list.release());  // it is part of the longer one
  list.reset(longer);
  return true;
}

}  // namespace qx
