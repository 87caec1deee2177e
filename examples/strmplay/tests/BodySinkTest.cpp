#include <gtest/gtest.h>

#include <string>

#include "BodySink.h"

namespace strmplay {
namespace {

const std::uint8_t* Bytes(const std::string& s) {
  return reinterpret_cast<const std::uint8_t*>(s.data());
}

TEST(BodySink, WithoutACapTakesEverything) {
  BodySink sink;
  EXPECT_EQ(sink.Append(Bytes("abc"), 3), BodySink::Take::kMore);
  EXPECT_EQ(sink.Append(Bytes("def"), 3), BodySink::Take::kMore);
  EXPECT_EQ(std::string(sink.Bytes().begin(), sink.Bytes().end()), "abcdef");
  EXPECT_EQ(sink.Offered(), 6u);
}

TEST(BodySink, ExactlyTheCapIsAllowedAndOneByteMoreRefusesTheBodyAndFreesIt) {
  BodySink sink(4);
  EXPECT_EQ(sink.Append(Bytes("ab"), 2), BodySink::Take::kMore);
  EXPECT_EQ(sink.Append(Bytes("cd"), 2), BodySink::Take::kMore);
  EXPECT_EQ(sink.Append(Bytes("e"), 1), BodySink::Take::kOverflow);
  EXPECT_TRUE(sink.Overflowed());
  EXPECT_TRUE(sink.Bytes().empty());
  EXPECT_EQ(sink.Bytes().capacity(), 0u);
  EXPECT_EQ(sink.Append(Bytes("f"), 1), BodySink::Take::kOverflow);
  EXPECT_EQ(sink.Offered(), 6u);
}

TEST(BodySink, AProbeKeepsThePrefixUpToTheCapAndWantsNoMore) {
  BodySink sink(4, true);
  EXPECT_EQ(sink.Append(Bytes("abc"), 3), BodySink::Take::kMore);
  EXPECT_EQ(sink.Append(Bytes("defg"), 4), BodySink::Take::kEnough);
  EXPECT_TRUE(sink.Enough());
  EXPECT_EQ(std::string(sink.Bytes().begin(), sink.Bytes().end()), "abcd");
  EXPECT_EQ(sink.Append(Bytes("h"), 1), BodySink::Take::kEnough);
  EXPECT_EQ(sink.Bytes().size(), 4u);
}

TEST(BodySink, ClearStartsAnAttemptAfresh) {
  BodySink sink(2);
  sink.Append(Bytes("abc"), 3);
  sink.Clear();
  EXPECT_FALSE(sink.Overflowed());
  EXPECT_EQ(sink.Append(Bytes("x"), 1), BodySink::Take::kMore);
  EXPECT_EQ(sink.Offered(), 1u);
}

}  // namespace
}  // namespace strmplay
