#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstdlib>
#include <string>

#include "NumberString.h"
#include "ScopedCommaLocale.h"

using namespace strmcommon;

namespace {

struct ValidatorCase {
  const char* text;
  bool digit;
  bool oxDigit;
  bool floating;
};

// One row per text: isDigitString, isOxDigitString, isFloatString.
const ValidatorCase kValidatorCases[] = {
    {"", false, false, false},                 // empty
    {"0", true, true, true},                   // plain digits
    {"12", true, true, true},                  //
    {" 12", true, true, true},                 // blank before
    {"12 ", true, true, true},                 // blank after
    {"1 2", true, true, true},                 // inner blank
    {"\t12\n", true, true, true},              // any isspace byte
    {" ", true, true, true},                   // nothing but a blank
    {"+", true, true, true},                   // a lone sign
    {"-", true, true, true},                   //
    {"+1", true, true, true},                  // sign first
    {"-1", true, true, true},                  //
    {" - 1", true, true, true},                // blanks don't use up the sign
    {"+-1", false, false, false},              // second sign
    {"--1", false, false, false},              //
    {"1-", false, false, false},               // sign after a digit
    {"1+2", false, false, false},              //
    {".", false, false, true},                 // a lone dot
    {"+.", false, false, true},                //
    {".-5", false, false, true},               // a dot doesn't use up the sign
    {"1.5", false, false, true},               //
    {"-1.5", false, false, true},              //
    {"1.", false, false, true},                //
    {"1.2.3", false, false, false},            // second dot
    {"1e5", false, false, false},              // no exponent
    {"AB", false, true, false},                // upper-case hex
    {"0123456789ABCDEF", false, true, false},  // every hex digit
    {"ab", false, false, false},               // lower-case hex refused
    {"0xAB", false, false, false},             // prefix refused
    {"0XAB", false, false, false},             //
    {"-FF", false, true, false},               // sign before hex digits
    {"G", false, false, false},                // beyond F
    {"1a", false, false, false},               //
    {"1,5", false, false, false},              // comma is not a decimal separator
    {"\xB2", false, false, false},             // non-ASCII superscript two
};

}  // namespace

TEST(NumberStringValidators, TableOfTexts) {
  for (const ValidatorCase& c : kValidatorCases) {
    SCOPED_TRACE(std::string("text \"") + c.text + "\"");
    EXPECT_EQ(isDigitString(c.text), c.digit);
    EXPECT_EQ(isOxDigitString(c.text), c.oxDigit);
    EXPECT_EQ(isFloatString(c.text), c.floating);
  }
}

TEST(NumberStringValidators, RefuseEmbeddedNul) {
  EXPECT_FALSE(
      isDigitString(std::string("1\0"
                                "2",
                                3)));
  EXPECT_FALSE(isOxDigitString(std::string("A\0", 2)));
  EXPECT_FALSE(isFloatString(std::string("1.\0", 3)));
}

TEST(NumberStringValidators, WalkTheWholeText) {
  EXPECT_FALSE(isDigitString("123456789x"));
  EXPECT_FALSE(isOxDigitString("ABCDEFx"));
  EXPECT_FALSE(isFloatString("1.5x"));
}

// convNotEmptyDigitStringToInt

TEST(NumberStringToInt, ReadsDecimalValues) {
  EXPECT_EQ(convNotEmptyDigitStringToInt("0"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToInt("42"), 42);
  EXPECT_EQ(convNotEmptyDigitStringToInt("+7"), 7);
  EXPECT_EQ(convNotEmptyDigitStringToInt("-7"), -7);
  EXPECT_EQ(convNotEmptyDigitStringToInt("007"), 7);
  EXPECT_EQ(convNotEmptyDigitStringToInt("  42  "), 42);
}

TEST(NumberStringToInt, SaturatesAtThe32BitLimits) {
  EXPECT_EQ(convNotEmptyDigitStringToInt("2147483647"), 2147483647);
  EXPECT_EQ(convNotEmptyDigitStringToInt("2147483648"), 2147483647);
  EXPECT_EQ(convNotEmptyDigitStringToInt("99999999999"), 2147483647);
  EXPECT_EQ(convNotEmptyDigitStringToInt("99999999999999999999999"), 2147483647);
  EXPECT_EQ(convNotEmptyDigitStringToInt("-2147483648"), INT_MIN);
  EXPECT_EQ(convNotEmptyDigitStringToInt("-2147483649"), INT_MIN);
  EXPECT_EQ(convNotEmptyDigitStringToInt("-99999999999999999999999"), INT_MIN);
}

TEST(NumberStringToInt, InvalidOrEmptyTextGivesZero) {
  EXPECT_EQ(convNotEmptyDigitStringToInt("abc"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToInt(""), 0);
  EXPECT_EQ(convNotEmptyDigitStringToInt("12a"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToInt("1.5"), 0);
}

TEST(NumberStringToInt, StopsAfterTheFirstNumber) {
  EXPECT_EQ(convNotEmptyDigitStringToInt("1 2"), 1);
}

TEST(NumberStringToInt, SignWithoutDigitsGivesZero) {
  EXPECT_EQ(convNotEmptyDigitStringToInt("+"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToInt("-"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToInt("- 5"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToInt(" "), 0);
}

// convNotEmptyDigitStringToUInt

TEST(NumberStringToUInt, IsTheSignedConversionReinterpreted) {
  EXPECT_EQ(convNotEmptyDigitStringToUInt("42"), 42u);
  EXPECT_EQ(convNotEmptyDigitStringToUInt("2147483647"), 2147483647u);
  // Kept: the signed limit, not the unsigned one.
  EXPECT_EQ(convNotEmptyDigitStringToUInt("3000000000"), 2147483647u);
  EXPECT_EQ(convNotEmptyDigitStringToUInt("4294967295"), 2147483647u);
  EXPECT_EQ(convNotEmptyDigitStringToUInt("-1"), 4294967295u);
  EXPECT_EQ(convNotEmptyDigitStringToUInt("-2147483648"), 2147483648u);
  EXPECT_EQ(convNotEmptyDigitStringToUInt("-99999999999"), 2147483648u);
}

TEST(NumberStringToUInt, InvalidTextGivesZero) {
  EXPECT_EQ(convNotEmptyDigitStringToUInt("x"), 0u);
  EXPECT_EQ(convNotEmptyDigitStringToUInt(""), 0u);
}

// convNotEmptyDigitStringToUl64

TEST(NumberStringToUl64, ReadsLargeValues) {
  EXPECT_EQ(convNotEmptyDigitStringToUl64("0"), 0u);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("4294967296"), 4294967296ull);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("9223372036854775807"), 9223372036854775807ull);
}

TEST(NumberStringToUl64, SaturatesAtTheSigned64BitLimit) {
  EXPECT_EQ(convNotEmptyDigitStringToUl64("9223372036854775808"), 9223372036854775807ull);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("18446744073709551615"), 9223372036854775807ull);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("99999999999999999999999"), 9223372036854775807ull);
}

TEST(NumberStringToUl64, NegativeValueComesThroughAsTwosComplement) {
  EXPECT_EQ(convNotEmptyDigitStringToUl64("-1"), 18446744073709551615ull);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("-9223372036854775808"), 9223372036854775808ull);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("-9223372036854775809"), 9223372036854775808ull);
}

TEST(NumberStringToUl64, InvalidTextGivesZero) {
  EXPECT_EQ(convNotEmptyDigitStringToUl64("12x"), 0u);
  EXPECT_EQ(convNotEmptyDigitStringToUl64(""), 0u);
}

// convNotEmptyDigitStringToUInt2

TEST(NumberStringToUInt2, ReadsUpperCaseHex) {
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("FF"), 255);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("10"), 16);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("7FFFFFFF"), 2147483647);
}

TEST(NumberStringToUInt2, LowerCaseAndPrefixAreRefusedByTheValidator) {
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("ff"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("0xFF"), 0);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2(""), 0);
}

TEST(NumberStringToUInt2, ValuesBeyondIntGiveTheIndefiniteInteger) {
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("80000000"), INT_MIN);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("FFFFFFFF"), INT_MIN);
}

TEST(NumberStringToUInt2, SignAndBlanksTakeAPositionButAddNothing) {
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("-FF"), 255);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2(" A "), 0xA0);  // the trailing blank is position 0
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("1 0"), 256);
}

// OxChangeToInt

TEST(NumberStringOxChangeToInt, ReadsEitherCase) {
  EXPECT_EQ(OxChangeToInt("ff"), 255);
  EXPECT_EQ(OxChangeToInt("FF"), 255);
  EXPECT_EQ(OxChangeToInt("aBcD"), 0xABCD);
  EXPECT_EQ(OxChangeToInt("12345678"), 0x12345678);
  EXPECT_EQ(OxChangeToInt("9"), 9);
}

TEST(NumberStringOxChangeToInt, EmptyAndNonHexGiveZero) {
  EXPECT_EQ(OxChangeToInt(""), 0);
  EXPECT_EQ(OxChangeToInt("zz"), 0);
  EXPECT_EQ(OxChangeToInt("x"), 0);
}

TEST(NumberStringOxChangeToInt, NonDigitsStillUseUpTheirPosition) {
  EXPECT_EQ(OxChangeToInt("0x10"), 16);
  EXPECT_EQ(OxChangeToInt("1G"), 16);
  EXPECT_EQ(OxChangeToInt("G1"), 1);
  EXPECT_EQ(OxChangeToInt("1--"), 256);
}

TEST(NumberStringOxChangeToInt, SignIsDropped) {
  EXPECT_EQ(OxChangeToInt("-1"), 1);
  EXPECT_EQ(OxChangeToInt("+1"), 1);
}

TEST(NumberStringOxChangeToInt, LargestIntStillFits) {
  EXPECT_EQ(OxChangeToInt("7FFFFFFF"), 2147483647);
  EXPECT_EQ(OxChangeToInt("007FFFFFFF"), 2147483647);
  EXPECT_EQ(OxChangeToInt("0x7fffffff"), 2147483647);
}

TEST(NumberStringOxChangeToInt, SumsBeyondIntTruncateToTheIndefiniteInteger) {
  EXPECT_EQ(OxChangeToInt("80000000"), INT_MIN);
  EXPECT_EQ(OxChangeToInt("FFFFFFFF"), INT_MIN);
  EXPECT_EQ(OxChangeToInt("100000000"), INT_MIN);
  EXPECT_EQ(OxChangeToInt("FFFFFFFFFFFFFFFFFFFFFFFF"), INT_MIN);
}

TEST(NumberStringOxChangeToInt, WalkGoesOnFromTheIndefiniteInteger) {
  // After "80000000" the value is -2147483648; a leading zero adds nothing and keeps it, while a
  // further digit pushes the sum out of range again.
  EXPECT_EQ(OxChangeToInt("080000000"), INT_MIN);
  EXPECT_EQ(OxChangeToInt("180000000"), INT_MIN);
}

// convNotEmptyDigitStringToDouble

TEST(NumberStringToDouble, ReadsDecimalValues) {
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("1.5"), 1.5);
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("-0.25"), -0.25);
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("+3"), 3.0);
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("5."), 5.0);
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble(".5"), 0.5);
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("  2.75"), 2.75);
}

TEST(NumberStringToDouble, StopsAtTheFirstByteThatCannotContinue) {
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("1 2"), 1.0);
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("1.5 7"), 1.5);
}

TEST(NumberStringToDouble, InvalidTextGivesZero) {
  EXPECT_EQ(convNotEmptyDigitStringToDouble(""), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("1.2.3"), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("1e5"), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("1,5"), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("abc"), 0.0);
}

TEST(NumberStringToDouble, FailedExtractionGivesZero) {
  EXPECT_EQ(convNotEmptyDigitStringToDouble("."), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("+."), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble(".-5"), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble(" "), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("-"), 0.0);
  EXPECT_EQ(convNotEmptyDigitStringToDouble(std::string(400, '9')), 0.0);
}

TEST(NumberStringToDouble, CommaDecimalLocaleIsIgnored) {
  testsupport::ScopedCommaLocale locale;
  if (!locale.Active()) {
    GTEST_SKIP() << "no comma-decimal locale installed (de_DE.UTF-8 comes from scripts/deps)";
  }
  // The process really reads numbers with a comma now.
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5) << locale.Name();
  ASSERT_EQ(std::strtod("1.5", nullptr), 1.0) << locale.Name();

  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("1.5"), 1.5);
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("-1234.125"), -1234.125);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("1,5"), 0.0);
  // A thousands grouping of the locale must not creep in either.
  EXPECT_DOUBLE_EQ(convNotEmptyDigitStringToDouble("1234567.5"), 1234567.5);
}

TEST(NumberStringToInt, CommaDecimalLocaleDoesNotChangeIntegerConversions) {
  testsupport::ScopedCommaLocale locale;
  if (!locale.Active()) {
    GTEST_SKIP() << "no comma-decimal locale installed (de_DE.UTF-8 comes from scripts/deps)";
  }
  EXPECT_EQ(convNotEmptyDigitStringToInt("1234567"), 1234567);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("1234567890123"), 1234567890123ull);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("ABCDEF"), 0xABCDEF);
}

// convNotEmptyStringToBool

TEST(NumberStringToBool, TrueInAnyCase) {
  EXPECT_TRUE(convNotEmptyStringToBool("true"));
  EXPECT_TRUE(convNotEmptyStringToBool("TRUE"));
  EXPECT_TRUE(convNotEmptyStringToBool("TrUe"));
}

TEST(NumberStringToBool, AnythingMayFollowTheFourBytes) {
  EXPECT_TRUE(convNotEmptyStringToBool("TRUEfoo"));
  EXPECT_TRUE(convNotEmptyStringToBool("true "));
  EXPECT_TRUE(convNotEmptyStringToBool(std::string("true\0x", 6)));
}

TEST(NumberStringToBool, EverythingElseIsFalse) {
  EXPECT_FALSE(convNotEmptyStringToBool(""));
  EXPECT_FALSE(convNotEmptyStringToBool("tru"));
  EXPECT_FALSE(convNotEmptyStringToBool(" true"));
  EXPECT_FALSE(convNotEmptyStringToBool("1"));
  EXPECT_FALSE(convNotEmptyStringToBool("yes"));
  EXPECT_FALSE(convNotEmptyStringToBool("false"));
  EXPECT_FALSE(convNotEmptyStringToBool("FALSE"));
  EXPECT_FALSE(convNotEmptyStringToBool("trux"));
}
