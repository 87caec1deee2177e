/// \file
/// Validators and conversions that turn playlist attribute values into numbers. The conversions
/// never report an error: a text that doesn't validate gives 0, 0.0 or false, and callers that
/// must tell a real zero from a failure call the validator first.
///
/// The validators are false for an empty text and walk the whole text. Whitespace (isspace of the
/// process locale) is let through anywhere. None of them demands a digit, so " ", "+", "-", "." and
/// "1 2" all pass. Everything here is pure and safe on any thread; nothing in the library changes
/// the process locale.
#pragma once

#include <string>

namespace strmcommon {

/// Decimal digits, and one sign as long as no digit and no other sign came before it.
bool isDigitString(const std::string& s);
/// As isDigitString with A-F as digits too; lower-case a-f and a "0x" prefix are refused.
bool isOxDigitString(const std::string& s);
/// Decimal digits, at most one dot, and one sign before any digit. A dot doesn't use up the sign,
/// so ".-5" passes. No exponent.
bool isFloatString(const std::string& s);

/// strtol in base 10 with the range of a 32-bit long: saturates at -2147483648 and 2147483647.
/// Reading stops after the number, so "1 2" gives 1.
int convNotEmptyDigitStringToInt(std::string s);
/// convNotEmptyDigitStringToInt reinterpreted, so "3000000000" gives 2147483647 and "-1" gives
/// the value 4294967295.
unsigned int convNotEmptyDigitStringToUInt(std::string s);
/// A signed 64-bit conversion despite the name: saturates at 9223372036854775807, and a negative
/// value comes through as its two's complement.
unsigned long long convNotEmptyDigitStringToUl64(std::string s);
/// Hexadecimal (upper-case digits, by way of isOxDigitString) through OxChangeToInt.
int convNotEmptyDigitStringToUInt2(std::string s);
/// Reads a double in the "C" locale whatever the process locale is; a failed read gives 0.0.
double convNotEmptyDigitStringToDouble(std::string s);
/// True when the first four bytes, folded by tolower, are "true"; anything may follow.
bool convNotEmptyStringToBool(const std::string& s);

/// Hexadecimal value of text, summed from the last byte as pow(16, k) * digit in extended precision
/// and truncated to int at each step. Bytes that aren't hex digits add nothing but still take their
/// position, so "0x10" is 16 and "-1" is 1. A sum outside the int range becomes -2147483648.
int OxChangeToInt(const char* text);

}  // namespace strmcommon
