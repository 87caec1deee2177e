// The 32-bit rules of the device, one table per helper, with the edges of the 32-bit ranges. The
// expected values are written out as literals, so they hold on a build of any width.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "Width32.h"

using namespace strmcommon;

namespace {

struct StrtolRow {
  const char* text;
  int32_t value;
};

const StrtolRow kStrtolRows[] = {
    {"0", 0},
    {"2147483647", 2147483647},               // the largest 32-bit long
    {"2147483648", 2147483647},               // one more saturates
    {"3000000000", 2147483647},               //
    {"4294967295", 2147483647},               // not reinterpreted as unsigned
    {"4294967296", 2147483647},               // not cut to the low 32 bits (0)
    {"99999999999999999999999", 2147483647},  // beyond 64 bits too
    {"-2147483648", INT32_MIN},               // the smallest 32-bit long
    {"-2147483649", INT32_MIN},               // one less saturates
    {"-4294967296", INT32_MIN},               //
    {"  -17", -17},                           // leading blanks and a sign, as strtol
    {"+42abc", 42},                           // stops after the number
    {"abc", 0},                               // no number
    {"", 0},                                  //
};

TEST(Width32Strtol, SaturatesAtTheRangeOfAThirtyTwoBitLong) {
  for (const StrtolRow& row : kStrtolRows) {
    SCOPED_TRACE(std::string("text \"") + row.text + "\"");
    EXPECT_EQ(width32::Strtol(row.text), row.value);
  }
}

struct CutRow {
  unsigned long long value;
  uint32_t low;
  int32_t signedValue;
};

const CutRow kCutRows[] = {
    {0ull, 0u, 0},
    {2147483647ull, 2147483647u, 2147483647},
    {2147483648ull, 2147483648u, INT32_MIN},            // bit 31 becomes the sign
    {3000000000ull, 3000000000u, -1294967296},          //
    {4294967295ull, 4294967295u, -1},                   //
    {4294967296ull, 0u, 0},                             // bit 32 and above are cut away
    {4294967297ull, 1u, 1},                             //
    {4102444800ull, 4102444800u, -192522496},           // 2100-01-01 in seconds
    {0xFFFFFFFFFFFFFFFFull, 4294967295u, -1},           // -1 as 64 bits
    {0xFFFFFFFF7FFFFFFFull, 2147483647u, 2147483647},   // -2147483649 as 64 bits
    {0x123456789ABCDEF0ull, 0x9ABCDEF0u, -1698898192},  //
};

TEST(Width32Cut, KeepsTheLowThirtyTwoBitsUnsignedOrSigned) {
  for (const CutRow& row : kCutRows) {
    SCOPED_TRACE(::testing::Message() << "value " << row.value);
    EXPECT_EQ(width32::Low32(row.value), row.low);
    EXPECT_EQ(width32::Signed32(row.value), row.signedValue);
  }
}

TEST(Width32Cut, SignExtendsNegativeSixtyFourBitValuesBackToThemselvesWhenTheyFit) {
  for (long long value : {-1LL, -5LL, -2147483648LL, 2147483647LL}) {
    SCOPED_TRACE(::testing::Message() << "value " << value);
    EXPECT_EQ(static_cast<long long>(width32::Signed32(value)), value);
  }
  EXPECT_EQ(width32::Signed32(-2147483649LL), 2147483647);
}

struct ArithmeticRow {
  int32_t a;
  int32_t b;
  int32_t sum;
  int32_t difference;
  int32_t product;
};

const ArithmeticRow kArithmeticRows[] = {
    {1, 2, 3, -1, 2},
    {2147483647, 1, INT32_MIN, 2147483646, 2147483647},   // the sum wraps
    {INT32_MIN, -1, 2147483647, -2147483647, INT32_MIN},  // and downwards
    {INT32_MIN, INT32_MIN, 0, 0, 0},                      //
    {-1, -1, -2, 0, 1},                                   //
    {2147483647, 2147483647, -2, 0, 1},                   //
    {596, 3600000, 3600596, -3599404, 2145600000},        // 596 hours in ms still fits
    {597, 3600000, 3600597, -3599403, -2145767296},       // 597 hours wraps
    {2147483647, 1000, -2147482649, 2147482647, -1000},   // seconds to ms
    {1953125, 1100, 1954225, 1952025, -2146529796},       // the product wraps
};

TEST(Width32Arithmetic, WrapsAroundAtThirtyTwoBits) {
  for (const ArithmeticRow& row : kArithmeticRows) {
    SCOPED_TRACE(::testing::Message() << row.a << " and " << row.b);
    EXPECT_EQ(width32::Add(row.a, row.b), row.sum);
    EXPECT_EQ(width32::Sub(row.a, row.b), row.difference);
    EXPECT_EQ(width32::Mul(row.a, row.b), row.product);
  }
}

struct TruncRow {
  long double value;
  int32_t result;
};

const TruncRow kTruncRows[] = {
    {0.0L, 0},
    {1.9L, 1},                    // toward zero
    {-1.9L, -1},                  //
    {2147483647.0L, 2147483647},  // the edges of the range
    {2147483647.9L, 2147483647},  //
    {-2147483648.0L, INT32_MIN},  //
    {-2147483648.9L, INT32_MIN},  //
    {2147483648.0L, INT32_MIN},   // beyond: the indefinite integer, on either side
    {4294967296.0L, INT32_MIN},   //
    {-2147483649.0L, INT32_MIN},  //
    {1e300L, INT32_MIN},          //
    {std::numeric_limits<long double>::infinity(), INT32_MIN},
    {-std::numeric_limits<long double>::infinity(), INT32_MIN},
    {std::numeric_limits<long double>::quiet_NaN(), INT32_MIN},
};

TEST(Width32TruncToInt32, OutOfRangeGivesTheIndefiniteIntegerOnEveryBuild) {
  for (const TruncRow& row : kTruncRows) {
    SCOPED_TRACE(::testing::Message() << "value " << static_cast<double>(row.value));
    EXPECT_EQ(width32::TruncToInt32(row.value), row.result);
  }
}

struct SaturateRow {
  double value;
  uint32_t result;
};

const SaturateRow kSaturateRows[] = {
    {0.0, 0u},
    {1000.9, 1000u},              // toward zero
    {2147483648.0, 2147483648u},  // above the signed range is still in range
    {4294967295.0, 4294967295u},  // the largest 32-bit size
    {4294967295.9, 4294967295u},  //
    {4294967296.0, 4294967295u},  // beyond saturates, not cut to 0
    {5000000000.0, 4294967295u},  // a 5 GB length
    {1e300, 4294967295u},         //
    {std::numeric_limits<double>::infinity(), 4294967295u},
    {-0.5, 0u},  // negative values and NaN give 0
    {-1.0, 0u},  //
    {std::numeric_limits<double>::quiet_NaN(), 0u},
};

TEST(Width32SaturateToUInt32, SaturatesAsTheDevicesConversionDoes) {
  for (const SaturateRow& row : kSaturateRows) {
    SCOPED_TRACE(::testing::Message() << "value " << row.value);
    EXPECT_EQ(width32::SaturateToUInt32(row.value), row.result);
  }
}

}  // namespace
