// SPDX-License-Identifier: Apache-2.0
// What hosts do with the DLLs themselves.
#include <gtest/gtest.h>
#include <windows.h>
#include <zea/zea.h>

TEST(Loading, FindsTheFunctionsByTheirNamesAndUnloads) {
  const HMODULE library = LoadLibraryA(ZEA_LIBRARY);
  ASSERT_NE(library, nullptr);

  for (const char* const name : {"ZEACreateAssistant", "ZEAFreeObject", "ZEARegisterCallback", "ZEASetHTTPSettings"}) {
    EXPECT_NE(GetProcAddress(library, name), nullptr) << name;
  }
  EXPECT_NE(FreeLibrary(library), 0);
  EXPECT_EQ(GetModuleHandleA(ZEA_LIBRARY), nullptr);
}
