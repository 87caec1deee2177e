#include "Datetime.h"

#include <cstdlib>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "Clock.h"
#include "NumberString.h"
#include "Width32.h"

namespace strmcommon {

namespace {

constexpr long long kMsPerCommonYear = 31536000000LL;
constexpr long long kSecondsPerCommonYear = 31536000;
constexpr long long kSecondsPerLeapYear = 31622400;
constexpr long long kSecondsPerDay = 86400;

// t[m - 1]: zero-based day of the year of the last day of the month before month m (-1 for
// January); t[12] is the last day of December.
constexpr int kCommonYearTable[13] = {
    -1, 30, 58, 89, 119, 150, 180, 211, 242, 272, 303, 333, 364,  // Jan .. Dec, year end
};
constexpr int kLeapYearTable[13] = {
    -1, 30, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365,  // Jan .. Dec, year end
};

bool IsGregorianLeapYear(long long year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

inline bool IsDecimal(char c) { return c >= '0' && c <= '9'; }

// substr that reports a start beyond the end with the plain text "basic_string::substr".
std::string Piece(const std::string& text, std::string::size_type pos,
                  std::string::size_type count) {
  if (pos > text.size()) throw std::out_of_range("basic_string::substr");
  return text.substr(pos, count);
}

int PieceValue(const std::string& text, std::string::size_type pos, std::string::size_type count) {
  return width32::Strtol(Piece(text, pos, count).c_str());
}

}  // namespace

vas_date_t vas_getDate(long long ms) {
  vas_date_t date{};
  date.msec = static_cast<int32_t>(ms % 1000);
  const long long seconds = ms / 1000;
  const long long years = ms / kMsPerCommonYear;
  const long long leapDays = (years + 69) / 4 - (years + 69) / 100 + (years + 369) / 400 - 17;
  long long rest = seconds - years * kSecondsPerCommonYear - leapDays * kSecondsPerDay;
  long long year = 1970 + years;
  if (rest < 0) {
    // The estimate in whole common years overshot by one year.
    year = 1969 + years;
    rest += IsGregorianLeapYear(year) ? kSecondsPerLeapYear : kSecondsPerCommonYear;
  }
  const long long dayOfYear = rest / kSecondsPerDay;
  rest %= kSecondsPerDay;

  const int* table = IsGregorianLeapYear(year) ? kLeapYearTable : kCommonYearTable;
  int month = 1;
  if (dayOfYear > 30) {
    month = 12;
    for (int m = 2; m <= 12; ++m) {
      if (table[m] >= dayOfYear) {
        month = m;
        break;
      }
    }
  }
  date.year = static_cast<int32_t>(year);
  date.month = month;
  date.day = static_cast<int32_t>(dayOfYear - table[month - 1]);
  date.hour = static_cast<int32_t>(rest / 3600);
  date.min = static_cast<int32_t>(rest % 3600 / 60);
  date.sec = static_cast<int32_t>(rest % 60);
  return date;
}

vas_date_t vas_getDate() { return vas_getDate(static_cast<long long>(vas_getTime())); }

long long vas_getTime(vas_date_t& date) {
  if (date.month < 1 || date.month > 12) return 0;
  const long long year = date.year;
  long long dayOfYear = static_cast<long long>(date.day) + kCommonYearTable[date.month - 1];
  // Intended: the 400-year clause adds 1900 to a year that is already full, so 2000 and 2400 are
  // common years here and 2100 and 2500 leap years. Stored dates depend on this; don't align it
  // with vas_getDate.
  const bool leap = (year % 4 == 0 && year % 100 != 0) || (year + 1900) % 400 == 0;
  if (leap && date.month > 2) dayOfYear += 1;
  const long long days = (year - 1970) * 365 + (year - 1901) / 4 - (year - 1901) / 100 +
                         (year - 1601) / 400 - 17 + dayOfYear;
  // Unsigned steps: wild field values wrap instead of overflowing.
  unsigned long long result = static_cast<unsigned long long>(days) * 24 + date.hour;
  result = result * 60 + date.min;
  result = result * 60 + date.sec;
  result = result * 1000 + date.msec;
  return static_cast<long long>(result);
}

std::string vas_dateTimeToString(long long ms) {
  const vas_date_t date = vas_getDate(ms);
  std::ostringstream out;
  // A fixed format: no digit grouping from a global C++ locale the application may have set.
  out.imbue(std::locale::classic());
  out << std::setfill('0') << std::setw(4) << date.year << std::setw(2) << date.month
      << std::setw(2) << date.day << 'T' << std::setw(2) << date.hour << std::setw(2) << date.min
      << std::setw(2) << date.sec;
  return out.str();
}

int vas_parseTimeString(const std::string& text) {
  if (text.empty()) return 0;
  if (isDigitString(text)) return width32::Mul(width32::Strtol(text.c_str()), 1000);

  int fields[4] = {0, 0, 0, 0};  // hours, minutes, seconds, milliseconds
  int field = 0;
  std::string digits;
  for (char c : text) {
    if (IsDecimal(c)) {
      digits += c;
      continue;
    }
    fields[field++] = digits.empty() ? 0 : width32::Strtol(digits.c_str());
    digits.clear();
    if (field == 4) break;
  }
  if (field < 4 && !digits.empty()) fields[field] = width32::Strtol(digits.c_str());
  // Intended: the last field is a count of milliseconds, not a fraction ("00:00:01.5" is 1005).
  int total = width32::Mul(fields[0], 3600000);
  total = width32::Add(total, width32::Mul(fields[1], 60000));
  total = width32::Add(total, width32::Mul(fields[2], 1000));
  return width32::Add(total, fields[3]);
}

long long vas_parseIsoTimeDurationString(const std::string& text) {
  std::string s = text;
  if (s.empty()) return 0;
  if (isDigitString(s)) return static_cast<long long>(width32::Strtol(s.c_str())) * 1000;
  if (s[0] != 'P') return 0;
  const std::string::size_type t = s.rfind('T');
  if (t == std::string::npos) return 0;
  // Years, months, weeks and days are dropped unread.
  s.erase(1, t - 1);
  if (s.size() <= 2 || s.compare(0, 2, "PT") != 0) return 0;

  double hours = 0.0;
  double minutes = 0.0;
  double seconds = 0.0;
  std::string number;
  for (std::string::size_type i = 2; i < s.size(); ++i) {
    const char c = s[i];
    if (IsDecimal(c) || c == '-' || c == '.') {
      number += c;
    } else if (c == 'H' || c == 'h') {
      hours = std::strtod(number.c_str(), nullptr);
      number.clear();
    } else if (c == 'M' || c == 'm') {
      minutes = std::strtod(number.c_str(), nullptr);
      number.clear();
    } else if (c == 'S' || c == 's') {
      seconds = std::strtod(number.c_str(), nullptr);
      number.clear();
    }
    // Any other byte is skipped and keeps the number collected so far.
  }
  return width32::TruncToInt32(hours * 3600000.0 + minutes * 60000.0 + seconds * 1000.0);
}

long long vas_parseDateTimeString(const std::string& date, const std::string& time) {
  if (date.empty() || time.empty()) return -1;
  vas_date_t record{};
  record.year = PieceValue(date, 0, 4);
  record.month = PieceValue(date, 5, 2);
  record.day = PieceValue(date, 8, 2);
  record.hour = PieceValue(time, 0, 2);
  record.min = PieceValue(time, 3, 2);
  record.sec = PieceValue(time, 6, 2);
  record.msec = 0;
  return vas_getTime(record);
}

long long vas_parseIsoDatetimeString(const std::string& text) {
  if (text.empty()) return 0;
  std::string dateDigits;
  std::string timeDigits;
  std::string::size_type i = 0;
  for (; i < text.size(); ++i) {
    if (IsDecimal(text[i])) {
      dateDigits += text[i];
    } else if (text[i] != '-') {
      break;
    }
  }
  // Whatever ends the date ('T', a blank, ...) is skipped up to the next digit.
  while (i < text.size() && !IsDecimal(text[i])) ++i;
  for (; i < text.size(); ++i) {
    if (IsDecimal(text[i])) {
      timeDigits += text[i];
    } else if (text[i] != ':') {
      break;
    }
  }
  // Intended: fractions and zone designators after the seconds are never read, so a fixed offset
  // such as "+08:00" is lost.
  if (dateDigits.size() != 8 || timeDigits.size() != 6) return 0;
  vas_date_t record{};
  record.year = width32::Strtol(dateDigits.substr(0, 4).c_str());
  record.month = width32::Strtol(dateDigits.substr(4, 2).c_str());
  record.day = width32::Strtol(dateDigits.substr(6, 2).c_str());
  record.hour = width32::Strtol(timeDigits.substr(0, 2).c_str());
  record.min = width32::Strtol(timeDigits.substr(2, 2).c_str());
  record.sec = width32::Strtol(timeDigits.substr(4, 2).c_str());
  record.msec = 0;
  return vas_getTime(record);
}

}  // namespace strmcommon
