#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <string>

#include "Portability.h"
#include "VaListArgs.h"

namespace {

int CallVsprintf(char* dest, unsigned int destSize, const char* format, ...) {
  va_list list;
  va_start(list, format);
  int n = vas_vsprintf_s(dest, destSize, format, testsupport::ArgsOf(list));
  va_end(list);
  return n;
}

}  // namespace

TEST(Portability, StrncpyCopiesCountBytesAndAddsNoTerminator) {
  char dest[8];
  std::memset(dest, 'X', sizeof(dest));
  vas_strncpy_s(dest, 1, "abcdefgh", 5);
  EXPECT_EQ(std::string(dest, 8), "abcdeXXX");
}

TEST(Portability, StrncpyPadsWithZerosLikeStrncpy) {
  char dest[8];
  std::memset(dest, 'X', sizeof(dest));
  vas_strncpy_s(dest, sizeof(dest), "ab", 5);
  EXPECT_EQ(std::string(dest, 8), std::string("ab\0\0\0XXX", 8));
}

TEST(Portability, MemcpyIgnoresDestSize) {
  unsigned char dest[6] = {0};
  const unsigned char src[6] = {1, 2, 3, 4, 5, 6};
  vas_memcpy_s(dest, 1, src, 6);
  EXPECT_EQ(std::memcmp(dest, src, 6), 0);
}

TEST(Portability, SprintfIsBoundedByDestSizeAndReturnsTheFullLength) {
  char dest[8];
  std::memset(dest, 'X', sizeof(dest));
  int n = vas_sprintf_s(dest, 5, "%d-%s", 1234, "abc");
  EXPECT_EQ(n, 8);
  EXPECT_STREQ(dest, "1234");
  EXPECT_EQ(dest[5], 'X');
}

TEST(Portability, SprintfFormatsWhenThereIsRoom) {
  char dest[32];
  EXPECT_EQ(vas_sprintf_s(dest, sizeof(dest), "%s=%d", "key", 7), 5);
  EXPECT_STREQ(dest, "key=7");
}

TEST(Portability, VsprintfTakesAnArgumentList) {
  char dest[16];
  EXPECT_EQ(CallVsprintf(dest, sizeof(dest), "%03d|%c", 7, 'z'), 5);
  EXPECT_STREQ(dest, "007|z");
  EXPECT_EQ(CallVsprintf(dest, 3, "%s", "long text"), 9);
  EXPECT_STREQ(dest, "lo");
}

TEST(Portability, VsprintfReadsArgumentsPastTheRegistersInOrder) {
  // More integers and doubles than travel in registers, so the list's stack part is read as well.
  char dest[128];
  int n = CallVsprintf(dest, sizeof(dest),
                       "%d %d %d %d %d %d %d %d|%.1f %.1f %.1f %.1f %.1f %.1f "
                       "%.1f %.1f %.1f|%s %lld %c",
                       1, 2, 3, 4, 5, 6, 7, 8, 0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, "str",
                       1LL << 40, 'q');
  const std::string expected =
      "1 2 3 4 5 6 7 8|0.5 1.5 2.5 3.5 4.5 5.5 6.5 7.5 8.5|str 1099511627776 q";
  EXPECT_EQ(n, static_cast<int>(expected.size()));
  EXPECT_EQ(std::string(dest), expected);
}

TEST(Portability, FopenOfAMissingFileGivesFalseAndNull) {
  FILE* file = reinterpret_cast<FILE*>(0x1);
  EXPECT_FALSE(vas_fopen_s(&file, "/nonexistent/dir/file.txt", "r"));
  EXPECT_EQ(file, nullptr);
}

TEST(Portability, FopenOpensAFile) {
  char path[] = "/tmp/strmcommon-fopen-XXXXXX";
  int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  FILE* file = nullptr;
  EXPECT_TRUE(vas_fopen_s(&file, path, "w"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(fputs("x", file), 1);
  fclose(file);
  unlink(path);
}
