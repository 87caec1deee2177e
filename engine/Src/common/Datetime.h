/// \file
/// Milliseconds since 1970 to a broken-down UTC date and back, and the readers of the time texts
/// found in playlists. Plain integer arithmetic: no time zone is applied and the C library's
/// calendar functions are not used.
#pragma once

#include <cstdint>
#include <string>

namespace strmcommon {

/// A broken-down date. The field order is part of the interface.
struct vas_date_t {
  int32_t msec;   ///< 0 to 999
  int32_t sec;    ///< 0 to 59
  int32_t min;    ///< 0 to 59
  int32_t hour;   ///< 0 to 23
  int32_t day;    ///< day of the month, from 1
  int32_t month;  ///< 1 to 12
  int32_t year;   ///< full year, e.g. 2024
};

/// ms taken as milliseconds since 1970-01-01T00:00:00, Gregorian leap years.
vas_date_t vas_getDate(long long ms);
/// vas_getDate(vas_getTime()): the monotonic running time counted from 1970, not the wall clock.
vas_date_t vas_getDate();
/// The opposite conversion. Its leap rule differs from vas_getDate's: 2000 and 2400 are common
/// years here, 2100 and 2500 are leap years. Fields other than month are not range-checked; a month
/// outside 1 to 12 gives 0.
long long vas_getTime(vas_date_t& date);

/// "YYYYMMDDTHHMMSS" of vas_getDate(ms): no separators, no zone letter, no milliseconds.
std::string vas_dateTimeToString(long long ms);

/// A count of seconds, or up to four fields hours, minutes, seconds, milliseconds separated by any
/// non-digit ("1:02:03.004" is 3723004). 32-bit arithmetic; an empty text gives 0.
int vas_parseTimeString(const std::string& text);
/// ISO 8601 duration: only the time part (after the last 'T') counts, as H, M and S numbers; a
/// plain digit text is a count of seconds. 0 when unreadable; -2147483648 beyond the 32-bit range.
long long vas_parseIsoTimeDurationString(const std::string& text);
/// Date "YYYY-MM-DD" and time "HH:MM:SS" read by fixed position. -1 if either is empty; throws
/// std::out_of_range ("basic_string::substr") if date is shorter than 8 bytes or time than 6.
long long vas_parseDateTimeString(const std::string& date, const std::string& time);
/// The program date time of a playlist: 8 date and 6 time digits, '-' and ':' skipped, anything
/// after the seconds (fraction, zone) ignored. 0 when the digits don't add up.
long long vas_parseIsoDatetimeString(const std::string& text);

}  // namespace strmcommon
