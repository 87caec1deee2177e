#include "Attr.h"

#include <cctype>
#include <cstdlib>

// Local stand-ins, used until the library's string and date helpers are available.
namespace {

bool IEqual(const std::string& a, const char* b) {
  std::string::size_type i = 0;
  for (; i < a.size() && b[i] != '\0'; ++i) {
    if ((a[i] & ~0x20) != (b[i] & ~0x20)) return false;
  }
  return i == a.size() && b[i] == '\0';
}

long long DaysFromCivil(long long y, unsigned m, unsigned d) {
  y -= m <= 2;
  const long long era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<long long>(doe) - 719468;
}

}  // namespace

namespace strmplay {

int AttrInt(const std::string& value) {
  return static_cast<int>(std::strtol(value.c_str(), nullptr, 10));
}

double AttrDouble(const std::string& value) { return std::strtod(value.c_str(), nullptr); }

bool AttrYes(const std::string& value) { return IEqual(value, "YES"); }

bool AttrEquals(const std::string& value, const char* word) { return IEqual(value, word); }

long long AttrDateTime(const std::string& value) {
  std::string digits;
  for (char c : value) {
    if (std::isdigit(static_cast<unsigned char>(c)))
      digits += c;
    else if (c != '-' && c != ':' && c != 'T')
      break;
    if (digits.size() == 14) break;
  }
  if (digits.size() != 14) return 0;
  auto num = [&](int pos, int len) { return std::atoi(digits.substr(pos, len).c_str()); };
  long long days = DaysFromCivil(num(0, 4), num(4, 2), num(6, 2));
  return ((days * 24 + num(8, 2)) * 60 + num(10, 2)) * 60000LL + num(12, 2) * 1000LL;
}

}  // namespace strmplay
