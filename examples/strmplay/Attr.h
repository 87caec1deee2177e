// Playlist attribute values to numbers, flags and dates.
#pragma once

#include <string>

namespace strmplay {

int AttrInt(const std::string& value);                        // decimal integer, 0 when not one
double AttrDouble(const std::string& value);                  // decimal number, 0.0 when not one
bool AttrYes(const std::string& value);                       // YES, any case
bool AttrEquals(const std::string& value, const char* word);  // case-insensitive
long long AttrDateTime(const std::string& value);  // ISO 8601 date-time to ms since 1970, 0 if not

}  // namespace strmplay
