/// \file
/// 16-bit strings for the URL code: std::basic_string over unsigned short UTF-16 code units, with
/// character traits built on small mem/str-style helpers.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <ios>
#include <string>

namespace base {

/// A UTF-16 code unit.
typedef unsigned short char16;

/// memcmp over `n` units: negative, 0 or positive.
int c16memcmp(const char16* s1, const char16* s2, size_t n);
/// Units before the terminating 0.
size_t c16len(const char16* s);
/// The first of `n` units equal to `c`, or null.
const char16* c16memchr(const char16* s, char16 c, size_t n);
/// memmove of `n` units; returns `s1`.
char16* c16memmove(char16* s1, const char16* s2, size_t n);
/// memcpy of `n` units; returns `s1`.
char16* c16memcpy(char16* s1, const char16* s2, size_t n);
/// Sets `n` units to `c`; returns `s`.
char16* c16memset(char16* s, char16 c, size_t n);

/// The character traits of string16, on the c16 helpers above.
struct string16_char_traits {
  typedef char16 char_type;  ///< a code unit
  typedef int int_type;      ///< a code unit or eof()
  static_assert(sizeof(int_type) > sizeof(char_type), "int_type must also hold eof()");
  typedef std::streamoff off_type;         ///< stream offsets
  typedef std::mbstate_t state_type;       ///< conversion state
  typedef std::fpos<state_type> pos_type;  ///< stream positions

  /// c1 = c2.
  static void assign(char_type& c1, const char_type& c2) { c1 = c2; }
  /// c1 == c2.
  static bool eq(const char_type& c1, const char_type& c2) { return c1 == c2; }
  /// c1 < c2.
  static bool lt(const char_type& c1, const char_type& c2) { return c1 < c2; }
  /// c16memcmp.
  static int compare(const char_type* s1, const char_type* s2, size_t n) {
    return c16memcmp(s1, s2, n);
  }
  /// c16len.
  static size_t length(const char_type* s) { return c16len(s); }
  /// c16memchr.
  static const char_type* find(const char_type* s, size_t n, const char_type& a) {
    return c16memchr(s, a, n);
  }
  /// c16memmove.
  static char_type* move(char_type* s1, const char_type* s2, size_t n) {
    return c16memmove(s1, s2, n);
  }
  /// c16memcpy.
  static char_type* copy(char_type* s1, const char_type* s2, size_t n) {
    return c16memcpy(s1, s2, n);
  }
  /// c16memset.
  static char_type* assign(char_type* s, size_t n, char_type a) { return c16memset(s, a, n); }
  /// `c`, or 0 for eof().
  static int_type not_eof(const int_type& c) { return eq_int_type(c, eof()) ? 0 : c; }
  /// The unit of `c`.
  static char_type to_char_type(const int_type& c) { return static_cast<char_type>(c); }
  /// `c` widened.
  static int_type to_int_type(const char_type& c) { return static_cast<int_type>(c); }
  /// c1 == c2.
  static bool eq_int_type(const int_type& c1, const int_type& c2) { return c1 == c2; }
  /// EOF.
  static int_type eof() { return static_cast<int_type>(EOF); }
};

/// A string of UTF-16 code units.
typedef std::basic_string<char16, string16_char_traits> string16;

/// Widens ASCII text unit by unit; bytes of 0x80 and above are widened as they are.
string16 ASCIIToUTF16(const std::string& ascii);
/// Narrows each unit to its low byte; meant for text known to be ASCII.
std::string UTF16ToASCII(const string16& utf16);

}  // namespace base

/// base::string16 at global scope, as the URL code's interfaces name it.
typedef base::string16 string16;
