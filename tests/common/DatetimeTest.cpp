#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <random>
#include <stdexcept>
#include <string>

#include "Clock.h"
#include "Datetime.h"
#include "ScopedCommaLocale.h"

using namespace strmcommon;

namespace {

constexpr long long kMsPerDay = 86400000LL;

// Reference: days since 1970-01-01 of a proleptic Gregorian date (H. Hinnant's days_from_civil).
long long DaysFromCivil(long long y, unsigned m, unsigned d) {
  y -= m <= 2;
  const long long era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<long long>(doe) - 719468;
}

// Reference the other way: the proleptic Gregorian date of a day count (civil_from_days), in
// 64-bit arithmetic so that it holds past 2038 on every build, unlike gmtime on a 32-bit time_t.
struct Civil {
  long long year;
  unsigned month;
  unsigned day;
};
Civil CivilFromDays(long long days) {
  days += 719468;
  const long long era = (days >= 0 ? days : days - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(days - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned day = doy - (153 * mp + 2) / 5 + 1;
  const unsigned month = mp < 10 ? mp + 3 : mp - 9;
  return {static_cast<long long>(yoe) + era * 400 + (month <= 2), month, day};
}

long long TrueMs(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
  return ((DaysFromCivil(y, mo, d) * 24 + h) * 60 + mi) * 60000LL + s * 1000LL + ms;
}

vas_date_t Date(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
  vas_date_t date{};
  date.year = y;
  date.month = mo;
  date.day = d;
  date.hour = h;
  date.min = mi;
  date.sec = s;
  date.msec = ms;
  return date;
}

bool IsGregorianLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int y, int m) {
  static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return (m == 2 && IsGregorianLeap(y)) ? 29 : kDays[m - 1];
}

::testing::AssertionResult FieldsAre(const vas_date_t& d, int y, int mo, int day, int h, int mi,
                                     int s, int ms) {
  if (d.year == y && d.month == mo && d.day == day && d.hour == h && d.min == mi && d.sec == s &&
      d.msec == ms)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "got " << d.year << "-" << d.month << "-" << d.day << " " << d.hour << ":" << d.min
         << ":" << d.sec << "." << d.msec << ", want " << y << "-" << mo << "-" << day << " " << h
         << ":" << mi << ":" << s << "." << ms;
}

// The fields of the instant ms (milliseconds since 1970, not negative) by the reference above.
::testing::AssertionResult FieldsOfInstant(const vas_date_t& d, long long ms) {
  const long long seconds = ms / 1000;
  const Civil civil = CivilFromDays(seconds / 86400);
  const int rest = static_cast<int>(seconds % 86400);
  return FieldsAre(d, static_cast<int>(civil.year), static_cast<int>(civil.month),
                   static_cast<int>(civil.day), rest / 3600, rest % 3600 / 60, rest % 60,
                   static_cast<int>(ms % 1000));
}

}  // namespace

// The record

TEST(DatetimeRecord, HasSevenInt32FieldsInOrder) {
  static_assert(sizeof(vas_date_t) == 7 * sizeof(int32_t), "seven 32-bit fields");
  EXPECT_EQ(offsetof(vas_date_t, msec), 0u);
  EXPECT_EQ(offsetof(vas_date_t, sec), 4u);
  EXPECT_EQ(offsetof(vas_date_t, min), 8u);
  EXPECT_EQ(offsetof(vas_date_t, hour), 12u);
  EXPECT_EQ(offsetof(vas_date_t, day), 16u);
  EXPECT_EQ(offsetof(vas_date_t, month), 20u);
  EXPECT_EQ(offsetof(vas_date_t, year), 24u);
}

// vas_getDate / vas_getTime

TEST(DatetimeGetDate, EpochIsFirstOfJanuary1970) {
  EXPECT_TRUE(FieldsAre(vas_getDate(0), 1970, 1, 1, 0, 0, 0, 0));
}

TEST(DatetimeGetDate, SplitsAllFields) {
  EXPECT_TRUE(FieldsAre(vas_getDate(1706745599123LL), 2024, 1, 31, 23, 59, 59, 123));
  EXPECT_TRUE(
      FieldsAre(vas_getDate(TrueMs(2024, 2, 29, 12, 34, 56, 789)), 2024, 2, 29, 12, 34, 56, 789));
}

TEST(DatetimeGetTime, EpochIsZero) {
  vas_date_t d = Date(1970, 1, 1);
  EXPECT_EQ(vas_getTime(d), 0);
}

TEST(DatetimeGetTime, CountsAllFieldsIn64Bits) {
  vas_date_t d = Date(2024, 1, 31, 23, 59, 59, 999);
  EXPECT_EQ(vas_getTime(d), 1706745599999LL);
  vas_date_t far = Date(2262, 4, 11, 23, 47, 16, 854);
  EXPECT_EQ(vas_getTime(far), TrueMs(2262, 4, 11, 23, 47, 16, 854));
}

TEST(DatetimeGetTime, FieldsAreUsedAsTheyAre) {
  // No range checks: overflowing fields simply add up.
  vas_date_t d = Date(2024, 1, 32, 25, 61, 61, 1001);
  EXPECT_EQ(vas_getTime(d), TrueMs(2024, 2, 2, 2, 2, 2, 1));
  vas_date_t zeroDay = Date(2024, 1, 0);
  EXPECT_EQ(vas_getTime(zeroDay), TrueMs(2023, 12, 31));
}

TEST(DatetimeGetTime, MonthOutsideTheTableGivesZero) {
  vas_date_t zero = Date(2024, 0, 1, 12);
  vas_date_t thirteen = Date(2024, 13, 1, 12);
  vas_date_t negative = Date(2024, -1, 1, 12);
  EXPECT_EQ(vas_getTime(zero), 0);
  EXPECT_EQ(vas_getTime(thirteen), 0);
  EXPECT_EQ(vas_getTime(negative), 0);
}

TEST(DatetimeMonthBoundaries, CommonAndLeapYearInBothDirections) {
  for (int year : {2023, 2024}) {
    for (int month = 1; month <= 12; ++month) {
      SCOPED_TRACE(::testing::Message() << year << "-" << month);
      const int last = DaysInMonth(year, month);
      const long long first = TrueMs(year, month, 1);
      const long long end = TrueMs(year, month, last, 23, 59, 59, 999);
      EXPECT_TRUE(FieldsAre(vas_getDate(first), year, month, 1, 0, 0, 0, 0));
      EXPECT_TRUE(FieldsAre(vas_getDate(end), year, month, last, 23, 59, 59, 999));
      vas_date_t firstDate = Date(year, month, 1);
      vas_date_t endDate = Date(year, month, last, 23, 59, 59, 999);
      EXPECT_EQ(vas_getTime(firstDate), first);
      EXPECT_EQ(vas_getTime(endDate), end);
      // The next millisecond is the first of the following month.
      const int nextYear = month == 12 ? year + 1 : year;
      const int nextMonth = month == 12 ? 1 : month + 1;
      EXPECT_TRUE(FieldsAre(vas_getDate(end + 1), nextYear, nextMonth, 1, 0, 0, 0, 0));
    }
  }
}

TEST(DatetimeLeapRules, Year2000IsLeapReadingButCommonWriting) {
  // vas_getDate knows 29 February 2000.
  EXPECT_TRUE(FieldsAre(vas_getDate(TrueMs(2000, 2, 29)), 2000, 2, 29, 0, 0, 0, 0));
  EXPECT_TRUE(FieldsAre(vas_getDate(TrueMs(2000, 3, 1)), 2000, 3, 1, 0, 0, 0, 0));
  // Intended: vas_getTime treats 2000 as a common year, so March to December come out one day low.
  vas_date_t feb29 = Date(2000, 2, 29);
  vas_date_t mar1 = Date(2000, 3, 1);
  vas_date_t dec31 = Date(2000, 12, 31);
  EXPECT_EQ(vas_getTime(feb29), TrueMs(2000, 2, 29));
  EXPECT_EQ(vas_getTime(mar1), TrueMs(2000, 3, 1) - kMsPerDay);
  EXPECT_EQ(vas_getTime(dec31), TrueMs(2000, 12, 31) - kMsPerDay);
  // The year after is right again.
  vas_date_t next = Date(2001, 1, 1);
  EXPECT_EQ(vas_getTime(next), TrueMs(2001, 1, 1));
}

TEST(DatetimeLeapRules, Year2100IsCommonReadingButLeapWriting) {
  EXPECT_TRUE(FieldsAre(vas_getDate(TrueMs(2100, 2, 28)), 2100, 2, 28, 0, 0, 0, 0));
  EXPECT_TRUE(FieldsAre(vas_getDate(TrueMs(2100, 2, 28) + kMsPerDay), 2100, 3, 1, 0, 0, 0, 0));
  // Intended: vas_getTime counts a 29 February in 2100, so March onwards is one day high.
  vas_date_t feb28 = Date(2100, 2, 28);
  vas_date_t mar1 = Date(2100, 3, 1);
  EXPECT_EQ(vas_getTime(feb28), TrueMs(2100, 2, 28));
  EXPECT_EQ(vas_getTime(mar1), TrueMs(2100, 3, 1) + kMsPerDay);
  EXPECT_TRUE(FieldsAre(vas_getDate(vas_getTime(mar1)), 2100, 3, 2, 0, 0, 0, 0));
  vas_date_t next = Date(2101, 1, 1);
  EXPECT_EQ(vas_getTime(next), TrueMs(2101, 1, 1));
}

TEST(DatetimeLeapRules, Year2400IsLeapReadingButCommonWriting) {
  EXPECT_TRUE(FieldsAre(vas_getDate(TrueMs(2400, 2, 29)), 2400, 2, 29, 0, 0, 0, 0));
  vas_date_t mar1 = Date(2400, 3, 1);
  EXPECT_EQ(vas_getTime(mar1), TrueMs(2400, 3, 1) - kMsPerDay);
  EXPECT_TRUE(FieldsAre(vas_getDate(vas_getTime(mar1)), 2400, 2, 29, 0, 0, 0, 0));
}

TEST(DatetimeLeapRules, Year1900IsCommonInBothDirections) {
  // The two rules agree on 1900; a date before 1970 still converts both ways.
  vas_date_t feb28 = Date(1900, 2, 28);
  vas_date_t mar1 = Date(1900, 3, 1);
  EXPECT_EQ(vas_getTime(feb28), TrueMs(1900, 2, 28));
  EXPECT_EQ(vas_getTime(mar1), TrueMs(1900, 3, 1));
  EXPECT_EQ(vas_getTime(mar1), -2203891200000LL);
  EXPECT_TRUE(FieldsAre(vas_getDate(TrueMs(1900, 3, 1)), 1900, 3, 1, 0, 0, 0, 0));
  EXPECT_TRUE(FieldsAre(vas_getDate(TrueMs(1900, 2, 28, 12)), 1900, 2, 28, 12, 0, 0, 0));
}

TEST(DatetimeCrossCheck, EveryDayFrom1970To2100MatchesTheGregorianCalendar) {
  const long long end = TrueMs(2101, 1, 1);
  for (long long day = 0; day * kMsPerDay < end; ++day) {
    for (long long ms : {day * kMsPerDay, day * kMsPerDay + kMsPerDay - 1}) {
      ASSERT_TRUE(FieldsOfInstant(vas_getDate(ms), ms)) << "ms " << ms;
    }
  }
}

TEST(DatetimeCrossCheck, RandomInstantsMatchTheGregorianCalendarAndInvertWhereLeapRulesAgree) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE(::testing::Message() << "seed " << seed);
  std::mt19937_64 random(seed);
  std::uniform_int_distribution<long long> pick(0, TrueMs(2101, 1, 1) - 1);
  int deviating = 0;
  for (int i = 0; i < 200000; ++i) {
    const long long ms = pick(random);
    vas_date_t date = vas_getDate(ms);
    ASSERT_TRUE(FieldsOfInstant(date, ms)) << "ms " << ms;
    // Where the rules disagree (March to December of 2000 and 2100) the way back is one day off.
    long long expected = ms;
    if (date.month > 2 && date.year == 2000) expected -= kMsPerDay;
    if (date.month > 2 && date.year == 2100) expected += kMsPerDay;
    if (expected != ms) ++deviating;
    ASSERT_EQ(vas_getTime(date), expected) << "ms " << ms;
  }
  // About 1.2 % of the range lies in those months; make sure they were visited.
  EXPECT_GT(deviating, 0);
}

TEST(DatetimeGetDate, WithoutArgumentIsTheMonotonicClockCountedFrom1970) {
  const long long before = static_cast<long long>(vas_getTime());
  vas_date_t now = vas_getDate();
  const long long after = static_cast<long long>(vas_getTime());
  const long long back = vas_getTime(now);
  EXPECT_GE(back, before);
  EXPECT_LE(back, after);
}

TEST(DatetimeClock, NeverGoesBackwardsAndFollowsTheMonotonicClock) {
  unsigned long long previous = vas_getTime();
  for (int i = 0; i < 100000; ++i) {
    const unsigned long long now = vas_getTime();
    ASSERT_GE(now, previous);
    previous = now;
  }
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  const long long monotonicMs = ts.tv_sec * 1000LL + ts.tv_nsec / 1000000;
  const long long clockMs = static_cast<long long>(vas_getTime());
  // Not the wall clock: setting the system time can't move it.
  EXPECT_LE(std::llabs(clockMs - monotonicMs), 1000);
}

// vas_dateTimeToString

TEST(DatetimeToString, EpochText) { EXPECT_EQ(vas_dateTimeToString(0), "19700101T000000"); }

TEST(DatetimeToString, PadsWithZerosAndDropsMilliseconds) {
  EXPECT_EQ(vas_dateTimeToString(TrueMs(2024, 3, 5, 4, 5, 6, 999)), "20240305T040506");
  EXPECT_EQ(vas_dateTimeToString(1706745599999LL), "20240131T235959");
  EXPECT_EQ(vas_dateTimeToString(TrueMs(2000, 2, 29, 23, 0, 0)), "20000229T230000");
}

TEST(DatetimeToString, GlobalLocaleAddsNoDigitGrouping) {
  testsupport::ScopedCommaLocale locale;
  if (!locale.Active()) {
    GTEST_SKIP() << "no comma-decimal locale installed (de_DE.UTF-8 comes from scripts/deps)";
  }
  EXPECT_EQ(vas_dateTimeToString(1706745599999LL), "20240131T235959");
}

// vas_parseTimeString

TEST(DatetimeParseTime, EmptyGivesZero) { EXPECT_EQ(vas_parseTimeString(""), 0); }

TEST(DatetimeParseTime, DigitTextIsSeconds) {
  EXPECT_EQ(vas_parseTimeString("90"), 90000);
  EXPECT_EQ(vas_parseTimeString(" 90 "), 90000);
  EXPECT_EQ(vas_parseTimeString("-5"), -5000);
  EXPECT_EQ(vas_parseTimeString("+"), 0);
  EXPECT_EQ(vas_parseTimeString("2147483"), 2147483000);
}

TEST(DatetimeParseTime, SecondsWrapIn32Bits) {
  // strtol saturates at 2147483647 and the multiplication wraps.
  EXPECT_EQ(vas_parseTimeString("2147483648"), -1000);
  EXPECT_EQ(vas_parseTimeString("2147484"), static_cast<int>(2147484000u));
}

TEST(DatetimeParseTime, FieldsFillFromTheLeft) {
  EXPECT_EQ(vas_parseTimeString("1:02:03"), 3723000);
  EXPECT_EQ(vas_parseTimeString("12:30"), 45000000);
  EXPECT_EQ(vas_parseTimeString("1h"), 3600000);
  EXPECT_EQ(vas_parseTimeString("1::2"), 3602000);
}

TEST(DatetimeParseTime, LastFieldIsPlainMilliseconds) {
  EXPECT_EQ(vas_parseTimeString("1:02:03.004"), 3723004);
  // Intended: not a fraction of a second.
  EXPECT_EQ(vas_parseTimeString("00:00:01.5"), 1005);
  EXPECT_EQ(vas_parseTimeString("00:00:01.500"), 1500);
}

TEST(DatetimeParseTime, ReadingStopsAfterTheFourthField) {
  EXPECT_EQ(vas_parseTimeString("1:02:03.004:99"), 3723004);
  EXPECT_EQ(vas_parseTimeString("1:02:03.004xyz"), 3723004);
  EXPECT_EQ(vas_parseTimeString("10:00:00:999 trailing"), 36000999);
}

TEST(DatetimeParseTime, NonDigitAloneClosesAnEmptyField) {
  EXPECT_EQ(vas_parseTimeString("a"), 0);
  EXPECT_EQ(vas_parseTimeString(":"), 0);
  EXPECT_EQ(vas_parseTimeString(":5"), 300000);
}

TEST(DatetimeParseTime, SumWrapsIn32Bits) {
  EXPECT_EQ(vas_parseTimeString("600:00"), -2134967296);
  EXPECT_EQ(vas_parseTimeString("596:31:23.647"), 2147483647);
  EXPECT_EQ(vas_parseTimeString("596:31:23.648"), INT_MIN);
}

// vas_parseIsoTimeDurationString

TEST(DatetimeParseDuration, Examples) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1H30M"), 5400000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1.5S"), 1500);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT30S"), 30000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1H30M15.5S"), 5415500);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT0.25M"), 15000);
}

TEST(DatetimeParseDuration, DateDesignatorsAreDroppedUnread) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("P1DT1H"), 3600000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("P1Y2M3W4DT5H6M7S"), 18367000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("P1D"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("P1Y2M"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("P1DT"), 0);
}

TEST(DatetimeParseDuration, OnlyTheLastTCounts) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PTT1H"), 3600000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1HT"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1HT2M"), 120000);
}

TEST(DatetimeParseDuration, EmptyBareAndUnprefixedGiveZero) {
  EXPECT_EQ(vas_parseIsoTimeDurationString(""), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("P"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("T1H"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString(" PT1H"), 0);
  // The P must be upper case.
  EXPECT_EQ(vas_parseIsoTimeDurationString("pt1h"), 0);
}

TEST(DatetimeParseDuration, DesignatorsAreCaseInsensitiveAfterPT) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1h30m"), 5400000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT2s"), 2000);
}

TEST(DatetimeParseDuration, DigitTextIsSeconds) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("30"), 30000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("-5"), -5000);
  // 32-bit strtol, but the multiplication is 64-bit.
  EXPECT_EQ(vas_parseIsoTimeDurationString("2147483648"), 2147483647000LL);
  EXPECT_EQ(vas_parseIsoTimeDurationString("-9999999999"), -2147483648000LL);
}

TEST(DatetimeParseDuration, RepeatedDesignatorOverwrites) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1H2H"), 7200000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT5S1S"), 1000);
}

TEST(DatetimeParseDuration, NumberWithoutDesignatorIsDropped) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT5"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT5M3"), 300000);
}

TEST(DatetimeParseDuration, OtherBytesAreSkippedWithoutClearingTheNumber) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1X5S"), 15000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1 5S"), 15000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1,5S"), 15000);
}

TEST(DatetimeParseDuration, NegativeAndMalformedNumbersGoThroughStrtod) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT-1H"), -3600000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1.5.5S"), 1500);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT-S"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1-2S"), 1000);
}

TEST(DatetimeParseDuration, TruncatesTowardZero) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT0.0009S"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT-0.0009S"), 0);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1.9999S"), 1999);
}

TEST(DatetimeParseDuration, BeyondThe32BitRangeGivesIndefiniteInteger) {
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT596H"), 2145600000LL);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT2147483.647S"), 2147483647LL);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT2147483.648S"), -2147483648LL);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT597H"), -2147483648LL);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT-2147483.648S"), -2147483648LL);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT-2147483.649S"), -2147483648LL);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT" + std::string(400, '9') + "H"), -2147483648LL);
}

TEST(DatetimeParseDuration, NumbersFollowTheProcessLocale) {
  testsupport::ScopedCommaLocale locale;
  if (!locale.Active()) {
    GTEST_SKIP() << "no comma-decimal locale installed (de_DE.UTF-8 comes from scripts/deps)";
  }
  // strtod reads the process locale, which the library itself never changes; under a comma
  // locale "1.5" is read as far as the dot.
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1.5S"), 1000);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT2H"), 7200000);
}

// vas_parseDateTimeString

TEST(DatetimeParseDateTime, ReadsFixedPositions) {
  EXPECT_EQ(vas_parseDateTimeString("2024-01-31", "23:59:59"), 1706745599000LL);
}

TEST(DatetimeParseDateTime, SeparatorsAreNotLookedAt) {
  EXPECT_EQ(vas_parseDateTimeString("2024/01/31", "23.59.59"), 1706745599000LL);
  EXPECT_EQ(vas_parseDateTimeString("2024x01x31 trailing", "23h59m59s"), 1706745599000LL);
}

TEST(DatetimeParseDateTime, EmptyTextGivesMinusOne) {
  EXPECT_EQ(vas_parseDateTimeString("", "23:59:59"), -1);
  EXPECT_EQ(vas_parseDateTimeString("2024-01-31", ""), -1);
  EXPECT_EQ(vas_parseDateTimeString("", ""), -1);
}

TEST(DatetimeParseDateTime, ShortDateThrowsOutOfRange) {
  try {
    vas_parseDateTimeString("2024", "23:59:59");
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "basic_string::substr");
  }
  EXPECT_THROW(vas_parseDateTimeString("2024-01", "23:59:59"), std::out_of_range);
}

TEST(DatetimeParseDateTime, ShortTimeThrowsOutOfRange) {
  try {
    vas_parseDateTimeString("2024-01-31", "23:59");
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "basic_string::substr");
  }
  EXPECT_THROW(vas_parseDateTimeString("2024-01-31", "2"), std::out_of_range);
}

TEST(DatetimeParseDateTime, FieldCutShortByTheEndIsWhatIsLeft) {
  // Exactly 8 and 6 bytes: day and seconds read from empty pieces, i.e. 0.
  EXPECT_EQ(vas_parseDateTimeString("2024-01-", "23:59:"), TrueMs(2023, 12, 31, 23, 59, 0));
  EXPECT_EQ(vas_parseDateTimeString("2024-01-3", "23:59:5"), TrueMs(2024, 1, 3, 23, 59, 5));
}

TEST(DatetimeParseDateTime, FieldsAreNotRangeChecked) {
  EXPECT_EQ(vas_parseDateTimeString("2024-01-31", "235959"), TrueMs(2024, 1, 31, 23, 95, 0));
}

TEST(DatetimeParseDateTime, UsesTheWritingLeapRule) {
  EXPECT_EQ(vas_parseDateTimeString("2000-03-01", "00:00:00"), TrueMs(2000, 3, 1) - kMsPerDay);
}

// vas_parseIsoDatetimeString

TEST(DatetimeParseIso, EndOfJanuary2024RoundTrips) {
  const long long ms = vas_parseIsoDatetimeString("2024-01-31T23:59:59Z");
  EXPECT_EQ(ms, 1706745599000LL);
  EXPECT_TRUE(FieldsAre(vas_getDate(ms), 2024, 1, 31, 23, 59, 59, 0));
}

TEST(DatetimeParseIso, LeapYearMarchAgreesInBothDirections) {
  const long long ms = vas_parseIsoDatetimeString("2024-03-01T00:00:00Z");
  EXPECT_EQ(ms, 1709251200000LL);
  EXPECT_TRUE(FieldsAre(vas_getDate(ms), 2024, 3, 1, 0, 0, 0, 0));
}

TEST(DatetimeParseIso, March2000ComesOutOneDayLow) {
  const long long ms = vas_parseIsoDatetimeString("2000-03-01T00:00:00Z");
  EXPECT_EQ(ms, 951868800000LL - kMsPerDay);
  EXPECT_TRUE(FieldsAre(vas_getDate(ms), 2000, 2, 29, 0, 0, 0, 0));
}

TEST(DatetimeParseIso, ProgramDateTimeFormsGiveOneValue) {
  const long long expected = 1266591263000LL;  // 2010-02-19T14:54:23Z
  for (const char* text : {
           "2010-02-19T14:54:23.031+08:00",  // fraction and offset
           "2010-02-19T14:54:23+08:00",      // offset
           "2010-02-19T14:54:23-0500",       // offset without colon
           "2010-02-19T14:54:23.031Z",       // fraction and Z
           "2010-02-19T14:54:23Z",           // Z
           "2010-02-19T14:54:23",            // no zone
           "20100219T145423",                // basic format
           "2010-02-19 14:54:23",            // blank instead of T
           "2010-02-19t14:54:23z",           // lower case letters
           "2010-02-19T14:54:23.999999999Z",
       }) {
    EXPECT_EQ(vas_parseIsoDatetimeString(text), expected) << text;
  }
}

TEST(DatetimeParseIso, AnythingBetweenDateAndTimeIsSkipped) {
  EXPECT_EQ(vas_parseIsoDatetimeString("2010-02-19XYZ14:54:23"), 1266591263000LL);
  EXPECT_EQ(vas_parseIsoDatetimeString("2010--02--19T14::54::23"), 1266591263000LL);
}

TEST(DatetimeParseIso, NeedsExactlyEightDateAndSixTimeDigits) {
  EXPECT_EQ(vas_parseIsoDatetimeString(""), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-01-31"), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-01-31T"), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-01-31T23:59"), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-01-31T23:59:591"), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-1-31T23:59:59"), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("02024-01-31T23:59:59"), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("T23:59:59"), 0);
  // A '-' ends the time phase.
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-01-31T23-59-59"), 0);
}

TEST(DatetimeParseIso, MonthOutsideOneToTwelveGivesZero) {
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-13-01T00:00:00Z"), 0);
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-00-01T00:00:00Z"), 0);
}

TEST(DatetimeParseIso, OtherFieldsAreNotRangeChecked) {
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-01-32T24:60:60Z"), TrueMs(2024, 2, 2, 1, 1, 0));
}

TEST(DatetimeParseIso, AgreesWithDateTimeStringParser) {
  EXPECT_EQ(vas_parseIsoDatetimeString("2031-07-15T08:09:10Z"),
            vas_parseDateTimeString("2031-07-15", "08:09:10"));
}
