// Playlist attribute values to numbers, flags and dates, through the library's converters: a
// value that doesn't convert is 0, 0.0 or false, as the library has it.
#pragma once

#include <string>

namespace strmplay {

int AttrInt(const std::string& value);                        // decimal integer
unsigned int AttrUInt(const std::string& value);              // decimal, unsigned
double AttrDouble(const std::string& value);                  // decimal number, no exponent
bool AttrYes(const std::string& value);                       // YES, any case
bool AttrEquals(const std::string& value, const char* word);  // case-insensitive
long long AttrDateTime(const std::string& value);  // ISO 8601 date-time to ms since 1970, whole s

}  // namespace strmplay
