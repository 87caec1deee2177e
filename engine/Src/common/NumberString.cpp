#include "NumberString.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <locale>
#include <sstream>

#include "Width32.h"

namespace strmcommon {

namespace {

inline bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
inline bool IsDecimal(char c) { return c >= '0' && c <= '9'; }
inline bool IsUpperHex(char c) { return IsDecimal(c) || (c >= 'A' && c <= 'F'); }

// Shared walk of isDigitString and isOxDigitString.
bool IsSignedDigitString(const std::string& s, bool (*isDigit)(char)) {
  if (s.empty()) return false;
  bool seenDigit = false;
  bool seenSign = false;
  for (char c : s) {
    if (IsSpace(c)) continue;
    if (isDigit(c)) {
      seenDigit = true;
    } else if ((c == '+' || c == '-') && !seenDigit && !seenSign) {
      seenSign = true;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

bool isDigitString(const std::string& s) { return IsSignedDigitString(s, IsDecimal); }

bool isOxDigitString(const std::string& s) { return IsSignedDigitString(s, IsUpperHex); }

bool isFloatString(const std::string& s) {
  if (s.empty()) return false;
  bool seenDigit = false;
  bool seenSign = false;
  bool seenDot = false;
  for (char c : s) {
    if (IsSpace(c)) continue;
    if (IsDecimal(c)) {
      seenDigit = true;
    } else if (c == '.' && !seenDot) {
      // Intended: a dot doesn't use up the right to a sign, so ".-5" passes.
      seenDot = true;
    } else if ((c == '+' || c == '-') && !seenDigit && !seenSign) {
      seenSign = true;
    } else {
      return false;
    }
  }
  return true;
}

int convNotEmptyDigitStringToInt(std::string s) {
  if (!isDigitString(s)) return 0;
  return width32::Strtol(s.c_str());
}

unsigned int convNotEmptyDigitStringToUInt(std::string s) {
  if (!isDigitString(s)) return 0;
  // Kept: the signed conversion reinterpreted, so the upper half of the range is unreachable.
  return static_cast<unsigned int>(convNotEmptyDigitStringToInt(s));
}

unsigned long long convNotEmptyDigitStringToUl64(std::string s) {
  if (!isDigitString(s)) return 0;
  // Kept: strtoll, not strtoull; callers rely on the signed saturation.
  return static_cast<unsigned long long>(std::strtoll(s.c_str(), nullptr, 10));
}

int convNotEmptyDigitStringToUInt2(std::string s) {
  if (!isOxDigitString(s)) return 0;
  return OxChangeToInt(s.c_str());
}

double convNotEmptyDigitStringToDouble(std::string s) {
  if (!isFloatString(s)) return 0.0;
  std::istringstream in(s);
  in.imbue(std::locale::classic());
  double value = 0.0;
  if (!(in >> value)) return 0.0;
  return value;
}

bool convNotEmptyStringToBool(const std::string& s) {
  if (s.size() < 4) return false;
  static const char kTrue[] = "true";
  for (int i = 0; i < 4; ++i) {
    if (std::tolower(static_cast<unsigned char>(s[i])) != kTrue[i]) return false;
  }
  return true;
}

int OxChangeToInt(const char* text) {
  if (text == nullptr) return 0;
  int value = 0;
  int k = 0;
  for (const char* p = text + std::char_traits<char>::length(text); p != text; ++k) {
    const char c = *--p;
    int weight;
    if (IsDecimal(c)) {
      weight = c - '0';
    } else if (c >= 'a' && c <= 'f') {
      weight = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'F') {
      weight = c - 'A' + 10;
    } else {
      continue;  // Intended: a non-digit (sign, 'x') adds nothing but still takes its position.
    }
    // A sum outside the int range becomes the indefinite integer -2147483648, and the walk goes
    // on from there.
    value = width32::TruncToInt32(static_cast<long double>(std::pow(16.0, k)) * weight +
                                  static_cast<long double>(value));
  }
  return value;
}

}  // namespace strmcommon
