#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "VasMemory.h"

TEST(VasMemory, GetVasMemoryAllocatesAndLeavesTheSize) {
  unsigned char* block = nullptr;
  unsigned int size = 376;
  GetVasMemory(&block, &size);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(size, 376u);
  memset(block, 0x47, size);  // the whole block is usable (ASan checks the bounds)
  FreeVasMemory(block);
}

TEST(VasMemory, FreeVasMemoryAcceptsNull) {
  // Run apart, so that a fault shows as this test's failure.
  EXPECT_EXIT(
      {
        FreeVasMemory(nullptr);
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(VasMemory, UsedBufSizeIsTheGlobalTheHooksNeverChange) {
  EXPECT_EQ(GetUsedBufSize(), g_nMemUsedSize);
  unsigned int before = g_nMemUsedSize;
  unsigned char* block = nullptr;
  unsigned int size = 1000;
  GetVasMemory(&block, &size);
  FreeVasMemory(block);
  EXPECT_EQ(g_nMemUsedSize, before);
  g_nMemUsedSize = 1234;  // as the engine library does
  EXPECT_EQ(GetUsedBufSize(), 1234u);
  g_nMemUsedSize = before;
}
