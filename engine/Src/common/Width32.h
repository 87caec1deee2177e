/// \file
/// Integer results that the device fixes at 32 bits, computed alike on every build. The device's
/// long and size_t are 32 bits wide, so a conversion, a field or a counter that goes through them
/// saturates, is cut or wraps there; a build whose long and size_t are wider calls these helpers at
/// every such place and gives the device's result. One helper per rule.
///
/// Header-only and hidden: the helpers are inline and not part of the library's exported surface.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace strmcommon {
#pragma GCC visibility push(hidden)
namespace width32 {

/// strtol in base 10 as on a 32-bit long: the value saturates at -2147483648 and 2147483647.
/// Leading blanks, a sign and the end of the number are read as strtol reads them.
inline int32_t Strtol(const char* text) {
  const long long value = std::strtoll(text, nullptr, 10);
  if (value > INT32_MAX) return INT32_MAX;
  if (value < INT32_MIN) return INT32_MIN;
  return static_cast<int32_t>(value);
}

/// The low 32 bits: a value cut to an unsigned 32-bit field (a size_t on the device), or unsigned
/// 32-bit arithmetic that wraps at 2^32.
constexpr uint32_t Low32(unsigned long long value) { return static_cast<uint32_t>(value); }

/// The low 32 bits read as a signed value: a value cut to a signed 32-bit field, which is the
/// same as sign-extending it from 32 bits when it is widened again.
constexpr int32_t Signed32(unsigned long long value) {
  const uint32_t low = static_cast<uint32_t>(value);
  return low <= static_cast<uint32_t>(INT32_MAX)
             ? static_cast<int32_t>(low)
             : static_cast<int32_t>(low - 2147483648u) - INT32_MAX - 1;
}

/// Signed 32-bit arithmetic that wraps around as the device's does, without the undefined
/// behaviour of a signed overflow.
constexpr int32_t Add(int32_t a, int32_t b) {
  return Signed32(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
/// a - b, wrapping as Add does.
constexpr int32_t Sub(int32_t a, int32_t b) {
  return Signed32(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
/// a * b, wrapping as Add does.
constexpr int32_t Mul(int32_t a, int32_t b) {
  return Signed32(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

/// A floating value truncated toward zero to a signed 32-bit integer. Outside that range, the
/// infinities and NaN included, the result is -2147483648 (0x80000000), the indefinite integer of
/// the x86 conversion; ARM's conversion saturates instead, so the value is made here.
inline int32_t TruncToInt32(long double value) {
  if (value > -2147483649.0L && value < 2147483648.0L) return static_cast<int32_t>(value);
  return INT32_MIN;
}

/// A floating value truncated toward zero into an unsigned 32-bit field (a size_t on the device):
/// saturates at 4294967295 as the device's conversion does; negative values and NaN give 0.
inline uint32_t SaturateToUInt32(double value) {
  if (!(value > 0.0)) return 0;
  if (value >= 4294967296.0) return UINT32_MAX;
  return static_cast<uint32_t>(value);
}

}  // namespace width32
#pragma GCC visibility pop
}  // namespace strmcommon
