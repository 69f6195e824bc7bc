// SPDX-License-Identifier: Apache-2.0
// zea_corpus FILE [COUNT]: what the libraries send and give in COUNT generated cases, 10,000 unless told otherwise, to
// a file. The same cases each time: two builds that speak alike write the same file. scripts/compare-with uses it.
#include <exception>
#include <iostream>

#include "host.h"

int main(int count, char** arguments) {
  if (count < 2 || count > 3) return 2;
  try {
    const std::size_t caseCount = count > 2 ? std::stoul(arguments[2]) : 10'000;
    corpus::Provider provider;
    corpus::Record record(arguments[1], provider.address());
    for (std::size_t number = 0; number < caseCount; ++number) {
      record.beginCase(number);
      corpus::Host(number, provider, record).run();
    }
    record.finish();
    std::cout << caseCount << " cases, " << record.requestBytes() << " bytes of requests, " << record.resultBytes()
              << " of results\n";
    return 0;
  } catch (const std::exception& problem) {
    std::cerr << problem.what() << '\n';
    return 1;
  }
}
