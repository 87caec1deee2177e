#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "StatusLine.h"

namespace strmplay {
namespace {

std::string Contents(std::FILE* f) {
  std::fflush(f);
  std::rewind(f);
  std::string text;
  char buf[256];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
  return text;
}

TEST(StatusLine, OffATerminalOnlyPrintedLinesAppearOneALine) {
  std::FILE* f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  StatusLine status(f);
  EXPECT_FALSE(status.IsTerminal());
  status.Update("  1.0 s  buffer 2.0 s");
  status.Print("switch up");
  status.Update("  2.0 s  buffer 3.0 s");
  status.Print("switch down");
  status.Finish();
  EXPECT_EQ(Contents(f), "switch up\nswitch down\n");
  std::fclose(f);
}

}  // namespace
}  // namespace strmplay
