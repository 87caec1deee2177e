#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "TsOutput.h"

namespace strmplay {
namespace {

TEST(TsOutput, SegmentsFollowOneAnotherInTheFile) {
  const std::string path =
      ::testing::TempDir() + "strmplay_output_" + std::to_string(::getpid()) + ".ts";
  std::string error;
  {
    TsOutput out;
    ASSERT_TRUE(out.Open(path, error)) << error;
    EXPECT_FALSE(out.ToStandardOutput());
    ASSERT_TRUE(out.Write({0x47, 1, 2}, error)) << error;
    ASSERT_TRUE(out.Write({0x47, 3}, error)) << error;
    EXPECT_EQ(out.Bytes(), 5u);
    EXPECT_EQ(out.Segments(), 2);
    EXPECT_TRUE(out.Close(error)) << error;
  }
  std::ifstream in(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(bytes, std::string("\x47\x01\x02\x47\x03", 5));
  std::remove(path.c_str());
}

TEST(TsOutput, AFileThatCannotBeMadeIsToldWithItsReason) {
  TsOutput out;
  std::string error;
  EXPECT_FALSE(out.Open("/nonexistent-dir/out.ts", error));
  EXPECT_NE(error.find("/nonexistent-dir/out.ts"), std::string::npos);
  EXPECT_FALSE(out.IsOpen());
}

TEST(TsOutput, ADashIsStandardOutput) {
  TsOutput out;
  std::string error;
  ASSERT_TRUE(out.Open("-", error));
  EXPECT_TRUE(out.ToStandardOutput());
  EXPECT_TRUE(out.Close(error));
}

}  // namespace
}  // namespace strmplay
