#include <gtest/gtest.h>

#include <string>

#include "StringHelper.h"

using strmcommon::vas_iequal;
using strmcommon::vas_replace_first;
using strmcommon::vas_strncasecmp;

namespace {

const char* const kNull = nullptr;

}  // namespace

// vas_iequal(std::string, std::string)

TEST(StringHelperIequal, TwoEmptyStringsAreEqual) {
  EXPECT_TRUE(vas_iequal(std::string(), std::string()));
}

TEST(StringHelperIequal, LettersCompareWithoutCase) {
  EXPECT_TRUE(vas_iequal(std::string("Content-Type"), std::string("CONTENT-type")));
  EXPECT_TRUE(vas_iequal(std::string("az"), std::string("AZ")));
}

TEST(StringHelperIequal, DifferentLengthsAreUnequal) {
  EXPECT_FALSE(vas_iequal(std::string("abc"), std::string("abcd")));
  EXPECT_FALSE(vas_iequal(std::string("abcd"), std::string("ABC")));
}

TEST(StringHelperIequal, FoldingTouchesOnlyLetters) {
  // '[' and '{' differ only in bit 5, like 'A' and 'a', but are not letters.
  EXPECT_FALSE(vas_iequal(std::string("["), std::string("{")));
  EXPECT_FALSE(vas_iequal(std::string("@"), std::string("`")));
  EXPECT_FALSE(vas_iequal(std::string("^"), std::string("~")));
}

TEST(StringHelperIequal, NonAsciiBytesAreNotFolded) {
  EXPECT_FALSE(vas_iequal(std::string("\xE9"), std::string("\xC9")));
  EXPECT_TRUE(vas_iequal(std::string("\xE9"), std::string("\xE9")));
}

TEST(StringHelperIequal, EmbeddedNulCountsAsAByte) {
  EXPECT_TRUE(vas_iequal(std::string("a\0b", 3), std::string("A\0B", 3)));
  EXPECT_FALSE(vas_iequal(std::string("a\0b", 3), std::string("a\0c", 3)));
}

// vas_iequal(const char*, const char*)

TEST(StringHelperIequal, PointersTwoEmptyTextsAreEqual) { EXPECT_TRUE(vas_iequal("", "")); }

TEST(StringHelperIequal, PointersNullIsUnequalToEverything) {
  EXPECT_FALSE(vas_iequal(kNull, ""));
  EXPECT_FALSE(vas_iequal("", kNull));
  EXPECT_FALSE(vas_iequal(kNull, kNull));
  EXPECT_FALSE(vas_iequal(kNull, "abc"));
}

TEST(StringHelperIequal, PointersCompareWithoutCase) {
  EXPECT_TRUE(vas_iequal("Hello", "hELLO"));
  EXPECT_FALSE(vas_iequal("Hello", "hELLp"));
}

TEST(StringHelperIequal, PointersMustEndTogether) {
  EXPECT_FALSE(vas_iequal("abc", "ab"));
  EXPECT_FALSE(vas_iequal("ab", "abc"));
  EXPECT_FALSE(vas_iequal("", "a"));
}

TEST(StringHelperIequal, PointersFoldOnlyLetters) { EXPECT_FALSE(vas_iequal("x[", "X{")); }

// Mixed forms

TEST(StringHelperIequal, MixedFormsCompareWithoutCaseInBothOrders) {
  EXPECT_TRUE(vas_iequal(std::string("abc"), "ABC"));
  EXPECT_TRUE(vas_iequal("ABC", std::string("abc")));
  EXPECT_TRUE(vas_iequal(std::string(), ""));
  EXPECT_TRUE(vas_iequal("", std::string()));
}

TEST(StringHelperIequal, MixedFormsNeedStrlenToMatchTheStringLength) {
  EXPECT_FALSE(vas_iequal(std::string("abc"), "ab"));
  EXPECT_FALSE(vas_iequal("abcd", std::string("abc")));
  // The pointer side ends at its terminator, so a string holding a NUL is longer.
  EXPECT_FALSE(vas_iequal(std::string("ab\0", 3), "ab"));
  EXPECT_FALSE(vas_iequal("ab", std::string("ab\0", 3)));
}

TEST(StringHelperIequal, MixedFormsFoldOnlyLetters) {
  EXPECT_FALSE(vas_iequal(std::string("["), "{"));
  EXPECT_FALSE(vas_iequal("{", std::string("[")));
}

// vas_strncasecmp

TEST(StringHelperStrncasecmp, EqualWithinTheCount) {
  EXPECT_EQ(vas_strncasecmp("abc", "ABD", 2), 0);
}

TEST(StringHelperStrncasecmp, DifferenceOfFoldedBytes) {
  EXPECT_EQ(vas_strncasecmp("abc", "ABD", 3), -1);
  EXPECT_EQ(vas_strncasecmp("B", "a", 1), 1);
}

TEST(StringHelperStrncasecmp, FoldsToLowerCase) {
  // 'A' folds to 'a' (0x61), so it is above '_' (0x5F); an upper-case fold would put it below.
  EXPECT_EQ(vas_strncasecmp("A", "_", 1), 2);
  EXPECT_EQ(vas_strncasecmp("[", "a", 1), '[' - 'a');
}

TEST(StringHelperStrncasecmp, ShorterTextGivesRawDifferenceAtTheTerminator) {
  EXPECT_EQ(vas_strncasecmp("ab", "abc", 3), -99);
  EXPECT_EQ(vas_strncasecmp("abc", "ab", 3), 99);
  // Raw, not folded: 'C' is 67, not 99.
  EXPECT_EQ(vas_strncasecmp("abC", "ab", 3), 67);
}

TEST(StringHelperStrncasecmp, BothEndingTogetherIsEqual) {
  EXPECT_EQ(vas_strncasecmp("ABC", "abc", 10), 0);
  EXPECT_EQ(vas_strncasecmp("", "", 5), 0);
}

TEST(StringHelperStrncasecmp, ZeroCountIsEqual) { EXPECT_EQ(vas_strncasecmp("a", "b", 0), 0); }

TEST(StringHelperStrncasecmp, NullComparesAsEqual) {
  // Intended: the opposite of vas_iequal, where a null pointer is unequal.
  EXPECT_EQ(vas_strncasecmp(kNull, "abc", 3), 0);
  EXPECT_EQ(vas_strncasecmp("abc", kNull, 3), 0);
  EXPECT_EQ(vas_strncasecmp(kNull, kNull, 3), 0);
}

TEST(StringHelperStrncasecmp, BytesAboveAsciiCompareAsUnsigned) {
  EXPECT_EQ(vas_strncasecmp("\xE9", "a", 1), 0xE9 - 'a');
}

TEST(StringHelperStrncasecmp, StopsAfterCountBytes) {
  EXPECT_EQ(vas_strncasecmp("abcX", "ABCY", 3), 0);
  EXPECT_EQ(vas_strncasecmp("abcX", "ABCY", 4), 'x' - 'y');
}

// vas_replace_first

TEST(StringHelperReplaceFirst, ReplacesOnlyTheFirstOccurrence) {
  std::string target = "aXbXc";
  EXPECT_EQ(vas_replace_first(target, "X", "--"), "a--bXc");
  EXPECT_EQ(target, "a--bXc");
}

TEST(StringHelperReplaceFirst, ReturnsTheTargetItself) {
  std::string target = "abc";
  EXPECT_EQ(&vas_replace_first(target, "b", "B"), &target);
}

TEST(StringHelperReplaceFirst, NoOccurrenceLeavesTargetUnchanged) {
  std::string target = "abc";
  EXPECT_EQ(vas_replace_first(target, "x", "y"), "abc");
  EXPECT_EQ(vas_replace_first(target, "abcd", "y"), "abc");
}

TEST(StringHelperReplaceFirst, EmptyFromPutsToInFront) {
  std::string target = "abc";
  EXPECT_EQ(vas_replace_first(target, "", ">"), ">abc");
  std::string empty;
  EXPECT_EQ(vas_replace_first(empty, "", "x"), "x");
}

TEST(StringHelperReplaceFirst, ReplacementMayBeEmptyOrLonger) {
  std::string target = "key=VALUE;";
  EXPECT_EQ(vas_replace_first(target, "VALUE", ""), "key=;");
  EXPECT_EQ(vas_replace_first(target, "=", " := "), "key := ;");
}

TEST(StringHelperReplaceFirst, MatchIsCaseSensitive) {
  std::string target = "aXbx";
  EXPECT_EQ(vas_replace_first(target, "x", "-"), "aXb-");
}
