// The validators and conversions of playlist attribute text, each against a model of its stated
// rule written here without the library's code: the 32-bit saturation of the int conversions,
// the signed 64-bit one, the "C"-locale double, the "true" prefix, and OxChangeToInt's walk with
// its indefinite integer. A text that fails its validator must convert to zero.
//
// The process runs under a comma-decimal locale when the machine has one, so a double conversion
// that consulted the process locale would disagree with the model.
#include <cctype>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "FuzzCheck.h"
#include "NumberString.h"

namespace {

locale_t CLocale() {
  static locale_t c = newlocale(LC_ALL_MASK, "C", nullptr);
  return c;
}

bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool IsDecimal(char c) { return c >= '0' && c <= '9'; }
bool IsUpperHex(char c) { return IsDecimal(c) || (c >= 'A' && c <= 'F'); }

std::string WithoutSpaces(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (!IsSpace(c)) out += c;
  }
  return out;
}

// Blanks aside, an optional sign followed by digits only (none at all is fine).
bool SignedDigits(const std::string& s, bool (*isDigit)(char)) {
  if (s.empty()) return false;
  const std::string t = WithoutSpaces(s);
  std::size_t i = (!t.empty() && (t[0] == '+' || t[0] == '-')) ? 1 : 0;
  for (; i < t.size(); ++i) {
    if (!isDigit(t[i])) return false;
  }
  return true;
}

// Blanks aside: digits, at most one dot anywhere, at most one sign, and the sign before every
// digit (a dot may stand before it).
bool FloatText(const std::string& s) {
  if (s.empty()) return false;
  const std::string t = WithoutSpaces(s);
  int dots = 0, signs = 0;
  std::size_t signAt = 0, firstDigit = t.size();
  for (std::size_t i = 0; i < t.size(); ++i) {
    const char c = t[i];
    if (IsDecimal(c)) {
      if (firstDigit == t.size()) firstDigit = i;
    } else if (c == '.') {
      ++dots;
    } else if (c == '+' || c == '-') {
      ++signs;
      signAt = i;
    } else {
      return false;
    }
  }
  return dots <= 1 && signs <= 1 && (signs == 0 || signAt < firstDigit);
}

// Leading blanks, an optional sign, then the run of digits right behind it; nothing without a
// digit there. The value saturates at [low, high].
long long Decimal(const std::string& s, long long low, long long high) {
  std::size_t i = 0;
  while (i < s.size() && IsSpace(s[i])) ++i;
  bool negative = false;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
  __int128 value = 0;
  for (; i < s.size() && IsDecimal(s[i]); ++i) {
    value = value * 10 + (s[i] - '0');
    if (value > static_cast<__int128>(high) + 1) value = static_cast<__int128>(high) + 1;
  }
  if (negative) value = -value;
  if (value > high) return high;
  if (value < low) return low;
  return static_cast<long long>(value);
}

// The longest prefix of sign, digits and one dot after leading blanks, read in the "C" locale;
// no digit in it, or a value beyond the double range, gives 0.0.
double Floating(const std::string& s) {
  std::size_t i = 0;
  while (i < s.size() && IsSpace(s[i])) ++i;
  std::string number;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) number += s[i++];
  bool dot = false, digit = false;
  for (; i < s.size(); ++i) {
    if (IsDecimal(s[i])) {
      digit = true;
    } else if (s[i] == '.' && !dot) {
      dot = true;
    } else {
      break;
    }
    number += s[i];
  }
  if (!digit) return 0.0;
  const double value = strtod_l(number.c_str(), nullptr, CLocale());
  return std::isinf(value) ? 0.0 : value;
}

// Walks from the last byte: the digit of weight w at position k adds w * 16^k to the value, and a
// sum outside the int range gives INT_MIN, from where the walk goes on. 16^k overflows a double
// from k = 256 on, so a zero digit there makes infinity times zero, which is no number and also
// gives INT_MIN.
int HexWalk(const char* text) {
  int value = 0;
  const std::size_t length = std::strlen(text);
  for (std::size_t k = 0; k < length; ++k) {
    const char c = text[length - 1 - k];
    int w;
    if (IsDecimal(c)) {
      w = c - '0';
    } else if (c >= 'a' && c <= 'f') {
      w = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'F') {
      w = c - 'A' + 10;
    } else {
      continue;
    }
    if (w == 0) {
      if (k >= 256) value = INT_MIN;
    } else if (k >= 8) {
      value = INT_MIN;
    } else {
      const long long sum = static_cast<long long>(w) * (1LL << (4 * k)) + value;
      value = (sum >= INT_MIN && sum <= INT_MAX) ? static_cast<int>(sum) : INT_MIN;
    }
  }
  return value;
}

bool SameDouble(double a, double b) { return a == b && std::signbit(a) == std::signbit(b); }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) std::setlocale(LC_ALL, "C");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace strmcommon;
  const std::string s(reinterpret_cast<const char*>(data), size);

  const bool digits = SignedDigits(s, IsDecimal);
  const bool hex = SignedDigits(s, IsUpperHex);
  const bool floating = FloatText(s);
  FUZZ_CHECK(isDigitString(s) == digits);
  FUZZ_CHECK(isOxDigitString(s) == hex);
  FUZZ_CHECK(isFloatString(s) == floating);

  const int asInt = convNotEmptyDigitStringToInt(s);
  FUZZ_CHECK(asInt == (digits ? Decimal(s, INT_MIN, INT_MAX) : 0));
  FUZZ_CHECK(convNotEmptyDigitStringToUInt(s) == static_cast<unsigned int>(asInt));
  FUZZ_CHECK(convNotEmptyDigitStringToUl64(s) ==
             (digits ? static_cast<unsigned long long>(Decimal(s, LLONG_MIN, LLONG_MAX)) : 0));
  FUZZ_CHECK(convNotEmptyDigitStringToUInt2(s) == (hex ? HexWalk(s.c_str()) : 0));
  FUZZ_CHECK(SameDouble(convNotEmptyDigitStringToDouble(s), floating ? Floating(s) : 0.0));

  bool isTrue = s.size() >= 4;
  for (std::size_t i = 0; isTrue && i < 4; ++i) {
    isTrue = std::tolower(static_cast<unsigned char>(s[i])) == "true"[i];
  }
  FUZZ_CHECK(convNotEmptyStringToBool(s) == isTrue);

  FUZZ_CHECK(OxChangeToInt(s.c_str()) == HexWalk(s.c_str()));
  return 0;
}
