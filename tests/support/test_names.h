// SPDX-License-Identifier: Apache-2.0
// Names that only tests know: the one source that includes this gives its program a lookup of its own in place of the
// system's. A name that ends with "silent.test" is looked up until `releaseLookups`, "both.test" is ::1 and then
// 127.0.0.1, any other in ".test" is 127.0.0.1, and the rest is the system's.
#pragma once

#include <dlfcn.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <string_view>

namespace support {

inline std::atomic<int> lookupCount = 0;  // of silent names that are under way
inline std::atomic<int> releaseCount = 0;

inline void waitForLookup() {
  for (int count = lookupCount; count == 0; count = lookupCount) lookupCount.wait(count);
}
/// Ends the lookups of silent names that are under way: none was found.
inline void releaseLookups() {
  ++releaseCount;
  releaseCount.notify_all();
}

}  // namespace support

extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** found) {
  static const auto system = reinterpret_cast<decltype(&::getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
  const std::string_view text = name != nullptr ? name : "";
  const bool isASCII = std::all_of(text.begin(), text.end(), [](char byte) { return byte > 0; });
  if (!isASCII || !text.ends_with(".test")) return system(name, service, hints, found);
  if (text.ends_with("silent.test")) {
    const int before = support::releaseCount;
    ++support::lookupCount;
    support::lookupCount.notify_all();
    support::releaseCount.wait(before);
    --support::lookupCount;
    return EAI_AGAIN;
  }
  const bool isBoth = text == "both.test" && (hints == nullptr || hints->ai_family == AF_UNSPEC);
  if (!isBoth) return system("127.0.0.1", service, hints, found);
  const int code = system("::1", service, hints, found);
  addrinfo* last = *found;
  while (code == 0 && last->ai_next != nullptr) last = last->ai_next;
  return code != 0 ? code : system("127.0.0.1", service, hints, &last->ai_next);
}
