/// \file
/// Character tables and shared helpers of the URL canonicaliser. The tables decide every
/// character; they are laid out one row per group so that each can be checked at a glance.
#pragma once

#include <cstddef>
#include <type_traits>

#include "url_canon.h"

namespace url_canon {

/// Bit flags of kSharedCharTypeTable.
enum SharedCharTypes {
  CHAR_QUERY = 1,     ///< copied as it is into a query
  CHAR_USERINFO = 2,  ///< copied as it is into a user name or password
  CHAR_IPV4 = 4,      ///< may appear in an IPv4 address
  CHAR_HEX = 8,       ///< hexadecimal digit
  CHAR_DEC = 16,      ///< decimal digit
  CHAR_OCT = 32,      ///< octal digit
};

/// The SharedCharTypes of each byte. All zero below 0x21 and from 0x7f up.
// clang-format off
inline constexpr unsigned char kSharedCharTypeTable[0x100] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x00 - 0x0f
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x10 - 0x1f
    0,  // 0x20 space
    CHAR_QUERY | CHAR_USERINFO,  // 0x21 !
    0,  // 0x22 "
    0,  // 0x23 #
    CHAR_QUERY | CHAR_USERINFO,  // 0x24 $
    CHAR_QUERY | CHAR_USERINFO,  // 0x25 %
    CHAR_QUERY | CHAR_USERINFO,  // 0x26 &
    CHAR_QUERY | CHAR_USERINFO,  // 0x27 '
    CHAR_QUERY | CHAR_USERINFO,  // 0x28 (
    CHAR_QUERY | CHAR_USERINFO,  // 0x29 )
    CHAR_QUERY | CHAR_USERINFO,  // 0x2a *
    CHAR_QUERY | CHAR_USERINFO,  // 0x2b +
    CHAR_QUERY | CHAR_USERINFO,  // 0x2c ,
    CHAR_QUERY | CHAR_USERINFO,  // 0x2d -
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4,  // 0x2e .
    CHAR_QUERY,  // 0x2f /
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x30 0
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x31 1
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x32 2
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x33 3
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x34 4
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x35 5
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x36 6
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC | CHAR_OCT,  // 0x37 7
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC,  // 0x38 8
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX | CHAR_DEC,  // 0x39 9
    CHAR_QUERY,  // 0x3a :
    CHAR_QUERY,  // 0x3b ;
    0,  // 0x3c <
    CHAR_QUERY,  // 0x3d =
    0,  // 0x3e >
    CHAR_QUERY,  // 0x3f ?
    CHAR_QUERY,  // 0x40 @
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x41 A
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x42 B
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x43 C
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x44 D
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x45 E
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x46 F
    CHAR_QUERY | CHAR_USERINFO,  // 0x47 G
    CHAR_QUERY | CHAR_USERINFO,  // 0x48 H
    CHAR_QUERY | CHAR_USERINFO,  // 0x49 I
    CHAR_QUERY | CHAR_USERINFO,  // 0x4a J
    CHAR_QUERY | CHAR_USERINFO,  // 0x4b K
    CHAR_QUERY | CHAR_USERINFO,  // 0x4c L
    CHAR_QUERY | CHAR_USERINFO,  // 0x4d M
    CHAR_QUERY | CHAR_USERINFO,  // 0x4e N
    CHAR_QUERY | CHAR_USERINFO,  // 0x4f O
    CHAR_QUERY | CHAR_USERINFO,  // 0x50 P
    CHAR_QUERY | CHAR_USERINFO,  // 0x51 Q
    CHAR_QUERY | CHAR_USERINFO,  // 0x52 R
    CHAR_QUERY | CHAR_USERINFO,  // 0x53 S
    CHAR_QUERY | CHAR_USERINFO,  // 0x54 T
    CHAR_QUERY | CHAR_USERINFO,  // 0x55 U
    CHAR_QUERY | CHAR_USERINFO,  // 0x56 V
    CHAR_QUERY | CHAR_USERINFO,  // 0x57 W
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4,  // 0x58 X
    CHAR_QUERY | CHAR_USERINFO,  // 0x59 Y
    CHAR_QUERY | CHAR_USERINFO,  // 0x5a Z
    CHAR_QUERY,  // 0x5b [
    CHAR_QUERY,  // 0x5c backslash
    CHAR_QUERY,  // 0x5d ]
    CHAR_QUERY,  // 0x5e ^
    CHAR_QUERY | CHAR_USERINFO,  // 0x5f _
    CHAR_QUERY,  // 0x60 `
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x61 a
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x62 b
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x63 c
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x64 d
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x65 e
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4 | CHAR_HEX,  // 0x66 f
    CHAR_QUERY | CHAR_USERINFO,  // 0x67 g
    CHAR_QUERY | CHAR_USERINFO,  // 0x68 h
    CHAR_QUERY | CHAR_USERINFO,  // 0x69 i
    CHAR_QUERY | CHAR_USERINFO,  // 0x6a j
    CHAR_QUERY | CHAR_USERINFO,  // 0x6b k
    CHAR_QUERY | CHAR_USERINFO,  // 0x6c l
    CHAR_QUERY | CHAR_USERINFO,  // 0x6d m
    CHAR_QUERY | CHAR_USERINFO,  // 0x6e n
    CHAR_QUERY | CHAR_USERINFO,  // 0x6f o
    CHAR_QUERY | CHAR_USERINFO,  // 0x70 p
    CHAR_QUERY | CHAR_USERINFO,  // 0x71 q
    CHAR_QUERY | CHAR_USERINFO,  // 0x72 r
    CHAR_QUERY | CHAR_USERINFO,  // 0x73 s
    CHAR_QUERY | CHAR_USERINFO,  // 0x74 t
    CHAR_QUERY | CHAR_USERINFO,  // 0x75 u
    CHAR_QUERY | CHAR_USERINFO,  // 0x76 v
    CHAR_QUERY | CHAR_USERINFO,  // 0x77 w
    CHAR_QUERY | CHAR_USERINFO | CHAR_IPV4,  // 0x78 x
    CHAR_QUERY | CHAR_USERINFO,  // 0x79 y
    CHAR_QUERY | CHAR_USERINFO,  // 0x7a z
    CHAR_QUERY,  // 0x7b {
    CHAR_QUERY,  // 0x7c |
    CHAR_QUERY,  // 0x7d }
    CHAR_QUERY | CHAR_USERINFO,  // 0x7e ~
    0,  // 0x7f DEL
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x80 - 0x8f
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x90 - 0x9f
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0xa0 - 0xaf
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0xb0 - 0xbf
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0xc0 - 0xcf
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0xd0 - 0xdf
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0xe0 - 0xef
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0xf0 - 0xff
};
// clang-format on

/// True when byte `c` has the flag `type`.
inline bool IsCharOfType(unsigned char c, SharedCharTypes type) {
  return !!(kSharedCharTypeTable[c] & type);
}
/// Copied as it is into a query.
inline bool IsQueryChar(unsigned char c) { return IsCharOfType(c, CHAR_QUERY); }
/// May appear in an IPv4 address.
inline bool IsIPv4Char(unsigned char c) { return IsCharOfType(c, CHAR_IPV4); }
/// A hexadecimal digit.
inline bool IsHexChar(unsigned char c) { return IsCharOfType(c, CHAR_HEX); }

/// Digits of an escape; escapes are always written in upper case.
inline constexpr char kHexCharLookup[0x10] = {'0', '1', '2', '3', '4', '5', '6', '7',
                                              '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};

/// U+FFFD, written for a character of a fragment that can't be read.
inline constexpr unsigned kUnicodeReplacementCharacter = 0xfffd;

/// Scheme characters: zero for invalid ones, letters mapped to lower case.
// clang-format off
inline constexpr unsigned char kSchemeCanonical[0x80] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x00 - 0x0f  controls
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x10 - 0x1f  controls
    0, 0, 0, 0, 0, 0, 0, 0,  // 0x20 - 0x27   !"#$%&'
    0, 0, 0, '+', 0, '-', '.', 0,  // 0x28 - 0x2f  ()*+,-./
    '0', '1', '2', '3', '4', '5', '6', '7',  // 0x30 - 0x37  01234567
    '8', '9', 0, 0, 0, 0, 0, 0,  // 0x38 - 0x3f  89:;<=>?
    0, 'a', 'b', 'c', 'd', 'e', 'f', 'g',  // 0x40 - 0x47  @ABCDEFG
    'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o',  // 0x48 - 0x4f  HIJKLMNO
    'p', 'q', 'r', 's', 't', 'u', 'v', 'w',  // 0x50 - 0x57  PQRSTUVW
    'x', 'y', 'z', 0, 0, 0, 0, 0,  // 0x58 - 0x5f  XYZ[\]^_
    0, 'a', 'b', 'c', 'd', 'e', 'f', 'g',  // 0x60 - 0x67  `abcdefg
    'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o',  // 0x68 - 0x6f  hijklmno
    'p', 'q', 'r', 's', 't', 'u', 'v', 'w',  // 0x70 - 0x77  pqrstuvw
    'x', 'y', 'z', 0, 0, 0, 0, 0,  // 0x78 - 0x7f  xyz{|}~
};
// clang-format on

/// 0 when |ch| is not a valid scheme character, else its canonical (lower case) form.
unsigned char CanonicalSchemeChar(char16 ch);
/// The same for an 8-bit character.
unsigned char CanonicalSchemeChar(char ch);

/// kHostCharLookup's mark of a character that is valid but always written escaped.
inline constexpr unsigned char kEsc = 0xff;
/// Host characters: 0 invalid, kEsc valid but always written escaped, otherwise the character as
/// it is written (letters in lower case).
// clang-format off
inline constexpr unsigned char kHostCharLookup[0x80] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x00 - 0x0f  controls
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x10 - 0x1f  controls
    kEsc, kEsc, kEsc, kEsc, kEsc, 0, kEsc, kEsc,  // 0x20 - 0x27   !"#$%&'
    kEsc, kEsc, kEsc, '+', kEsc, '-', '.', 0,  // 0x28 - 0x2f  ()*+,-./
    '0', '1', '2', '3', '4', '5', '6', '7',  // 0x30 - 0x37  01234567
    '8', '9', ':', 0, kEsc, kEsc, kEsc, 0,  // 0x38 - 0x3f  89:;<=>?
    kEsc, 'a', 'b', 'c', 'd', 'e', 'f', 'g',  // 0x40 - 0x47  @ABCDEFG
    'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o',  // 0x48 - 0x4f  HIJKLMNO
    'p', 'q', 'r', 's', 't', 'u', 'v', 'w',  // 0x50 - 0x57  PQRSTUVW
    'x', 'y', 'z', '[', 0, ']', 0, '_',  // 0x58 - 0x5f  XYZ[\]^_
    kEsc, 'a', 'b', 'c', 'd', 'e', 'f', 'g',  // 0x60 - 0x67  `abcdefg
    'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o',  // 0x68 - 0x6f  hijklmno
    'p', 'q', 'r', 's', 't', 'u', 'v', 'w',  // 0x70 - 0x77  pqrstuvw
    'x', 'y', 'z', kEsc, kEsc, kEsc, 0, 0,  // 0x78 - 0x7f  xyz{|}~
};
// clang-format on

/// Path character flags.
enum PathCharFlags {
  SPECIAL = 1,      ///< needs handling beyond the table
  ESCAPE_BIT = 2,   ///< written as %XX
  UNESCAPE = 4,     ///< written plainly when it arrives as %XX
  INVALID_BIT = 8,  ///< makes the path invalid
};

/// The short names of the path table's entries.
namespace path_chars {
inline constexpr unsigned char PA = 0;                      ///< passes as it is
inline constexpr unsigned char UN = UNESCAPE;               ///< unescaped from %XX
inline constexpr unsigned char SP = SPECIAL;                ///< the dot
inline constexpr unsigned char ES = SPECIAL | ESCAPE_BIT;   ///< escaped
inline constexpr unsigned char IN = SPECIAL | INVALID_BIT;  ///< invalid
/// PathCharFlags of each byte.
// clang-format off
inline constexpr unsigned char kPathCharLookup[0x100] = {
    IN, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0x00
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0x10
    ES, PA, ES, ES, PA, ES, PA, PA, PA, PA, PA, PA, PA, UN, SP, PA,  // 0x20   !"#$%&'()*+,-./
    UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, PA, PA, ES, PA, ES, ES,  // 0x30  0123456789:;<=>?
    PA, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN,  // 0x40  @ABCDEFGHIJKLMNO
    UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, PA, ES, PA, ES, UN,  // 0x50  PQRSTUVWXYZ[\]^_
    ES, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN,  // 0x60  `abcdefghijklmno
    UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, UN, ES, ES, ES, UN, ES,  // 0x70  pqrstuvwxyz{|}~
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0x80
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0x90
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0xa0
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0xb0
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0xc0
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0xd0
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0xe0
    ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES, ES,  // 0xf0
};
// clang-format on
}  // namespace path_chars
using path_chars::kPathCharLookup;

/// The value of a hexadecimal digit.
inline int HexCharToValue(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return c - 'a' + 10;
}

/// True when `c` fits in a byte.
template <typename CHAR>
inline bool Is8BitChar(CHAR c) {
  return static_cast<char16>(c) <= 0xff;
}

/// Reads a %XX at |*begin|. On success stores the value and leaves |*begin| on the last digit.
template <typename CHAR>
inline bool DecodeEscaped(const CHAR* spec, int* begin, int end, unsigned char* unescapedValue) {
  if (*begin + 3 > end || !Is8BitChar(spec[*begin + 1]) || !Is8BitChar(spec[*begin + 2]))
    return false;
  unsigned char first = static_cast<unsigned char>(spec[*begin + 1]);
  unsigned char second = static_cast<unsigned char>(spec[*begin + 2]);
  if (!IsHexChar(first) || !IsHexChar(second)) return false;
  *unescapedValue =
      static_cast<unsigned char>((HexCharToValue(first) << 4) + HexCharToValue(second));
  *begin += 2;
  return true;
}

/// Writes `ch` as %XX.
template <typename UINCHAR, typename OUTCHAR>
inline void AppendEscapedChar(UINCHAR ch, CanonOutputT<OUTCHAR>* output) {
  output->push_back('%');
  output->push_back(kHexCharLookup[(ch >> 4) & 0xf]);
  output->push_back(kHexCharLookup[ch & 0xf]);
}

/// Copies a run of ASCII units to the output in one step.
inline void AppendRun(const char* run, int length, CanonOutput* output) {
  output->Append(run, length);
}
/// The same for 16-bit units, narrowed one by one.
inline void AppendRun(const char16* run, int length, CanonOutput* output) {
  for (int i = 0; i < length; i++) output->push_back(static_cast<char>(run[i]));
}

/// Writes |value| in decimal.
inline void AppendDecimal(unsigned value, CanonOutput* output) {
  char digits[10];
  int n = 0;
  do {
    digits[n++] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value);
  while (n) output->push_back(digits[--n]);
}

/// Writes |codePoint| as UTF-8 through |Append|, one byte at a time.
template <void Append(unsigned char, CanonOutput*)>
inline void DoAppendUTF8(unsigned codePoint, CanonOutput* output) {
  if (codePoint <= 0x7f) {
    Append(static_cast<unsigned char>(codePoint), output);
  } else if (codePoint <= 0x7ff) {
    Append(static_cast<unsigned char>(0xC0 | (codePoint >> 6)), output);
    Append(static_cast<unsigned char>(0x80 | (codePoint & 0x3f)), output);
  } else if (codePoint <= 0xffff) {
    Append(static_cast<unsigned char>(0xe0 | (codePoint >> 12)), output);
    Append(static_cast<unsigned char>(0x80 | ((codePoint >> 6) & 0x3f)), output);
    Append(static_cast<unsigned char>(0x80 | (codePoint & 0x3f)), output);
  } else {
    Append(static_cast<unsigned char>(0xf0 | ((codePoint >> 18) & 0x07)), output);
    Append(static_cast<unsigned char>(0x80 | ((codePoint >> 12) & 0x3f)), output);
    Append(static_cast<unsigned char>(0x80 | ((codePoint >> 6) & 0x3f)), output);
    Append(static_cast<unsigned char>(0x80 | (codePoint & 0x3f)), output);
  }
}

/// Writes a byte as it is.
inline void AppendCharToOutput(unsigned char ch, CanonOutput* output) {
  output->push_back(static_cast<char>(ch));
}
/// Writes a byte as %XX.
inline void AppendEscapedByte(unsigned char ch, CanonOutput* output) {
  AppendEscapedChar(ch, output);
}

/// Writes |codePoint| in UTF-8.
inline void AppendUTF8Value(unsigned codePoint, CanonOutput* output) {
  DoAppendUTF8<AppendCharToOutput>(codePoint, output);
}
/// Writes |codePoint| in UTF-8, every byte escaped.
inline void AppendUTF8EscapedValue(unsigned codePoint, CanonOutput* output) {
  DoAppendUTF8<AppendEscapedByte>(codePoint, output);
}

/// Reads the character at |*begin| and writes it UTF-8 escaped. There is no Unicode support, so
/// the read fails: the code point stays 0 and "%00" is written; the caller steps one unit on.
template <typename CHAR>
inline bool AppendUTF8EscapedChar(const CHAR* str, int* begin, int length, CanonOutput* output) {
  unsigned codePoint = 0;
  bool success = ReadUTFChar(str, begin, length, &codePoint);
  AppendUTF8EscapedValue(codePoint, output);
  return success;
}

/// Copies units below 0x80 that have the |type| bit, escapes the other ASCII units as %XX, and
/// writes non-ASCII ones as "%00".
void AppendStringOfType(const char* source, int length, SharedCharTypes type, CanonOutput* output);
/// The same for 16-bit text.
void AppendStringOfType(const char16* source, int length, SharedCharTypes type,
                        CanonOutput* output);

/// For text known to be bad: copies ASCII from 0x21 up except 0x7f, escapes the rest.
void AppendInvalidNarrowString(const char* spec, int begin, int end, CanonOutput* output);
/// The same for 16-bit text.
void AppendInvalidNarrowString(const char16* spec, int begin, int end, CanonOutput* output);

/// False when the text holds any unit of 0x80 or above (written as code point 0).
bool ConvertUTF8ToUTF16(const char* input, int inputLen, CanonOutputT<char16>* output);
/// The other way, alike.
bool ConvertUTF16ToUTF8(const char16* input, int inputLen, CanonOutput* output);

/// Starts from |base| for every component and puts in what |repl| carries.
void SetupOverrideComponents(const char* base, const Replacements<char>& repl,
                             URLComponentSource<char>* source, url_parse::Parsed* parsed);
/// The same for 16-bit replacements, which are first converted to UTF-8 in |utf8Buffer|.
bool SetupUTF16OverrideComponents(const char* base, const Replacements<char16>& repl,
                                  CanonOutput* utf8Buffer, URLComponentSource<char>* source,
                                  url_parse::Parsed* parsed);

/// Formats |value| in radix 10 ("%d") or 16 ("%x"); 0, or 22 for another radix or a short
/// buffer.
int _itoa_s(int value, char* buffer, size_t sizeInChars, int radix);
/// The same into 16-bit units.
int _itow_s(int value, char16* buffer, size_t sizeInChars, int radix);

/// _itoa_s into an array.
template <size_t N>
inline int _itoa_s(int value, char (&buffer)[N], int radix) {
  return _itoa_s(value, buffer, N, radix);
}
/// _itow_s into an array.
template <size_t N>
inline int _itow_s(int value, char16 (&buffer)[N], int radix) {
  return _itow_s(value, buffer, N, radix);
}

/// A whole-URL canonicaliser over the components of one 8-bit text: the form that the
/// Replace...URL entry points run once the replacements are put in.
using CanonicalizeComponents = bool (*)(const URLComponentSource<char>& source,
                                        const url_parse::Parsed& parsed,
                                        CharsetConverter* queryConverter, CanonOutput* output,
                                        url_parse::Parsed* newParsed);

/// The body of every Replace...URL entry point, for 8-bit and 16-bit replacements: the canonical
/// base with each carried replacement put in, through canonicalize. 16-bit replacement text is
/// first converted to UTF-8, which fails for non-ASCII as the converters do.
template <typename CHAR>
bool CanonicalizeReplaced(CanonicalizeComponents canonicalize, const char* base,
                          const url_parse::Parsed& baseParsed,
                          const Replacements<CHAR>& replacements, CharsetConverter* queryConverter,
                          CanonOutput* output, url_parse::Parsed* newParsed) {
  RawCanonOutput<1024> utf8;
  URLComponentSource<char> source(base);
  url_parse::Parsed parsed(baseParsed);
  if constexpr (std::is_same_v<CHAR, char>) {
    SetupOverrideComponents(base, replacements, &source, &parsed);
  } else {
    SetupUTF16OverrideComponents(base, replacements, &utf8, &source, &parsed);
  }
  return canonicalize(source, parsed, queryConverter, output, newParsed);
}

}  // namespace url_canon
