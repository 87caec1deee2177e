#include "string16.h"

#include <cstring>

namespace base {

int c16memcmp(const char16* s1, const char16* s2, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    if (s1[i] != s2[i]) return s1[i] < s2[i] ? -1 : 1;
  }
  return 0;
}

size_t c16len(const char16* s) {
  const char16* p = s;
  while (*p) ++p;
  return static_cast<size_t>(p - s);
}

const char16* c16memchr(const char16* s, char16 c, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    if (s[i] == c) return s + i;
  }
  return nullptr;
}

char16* c16memmove(char16* s1, const char16* s2, size_t n) {
  return static_cast<char16*>(std::memmove(s1, s2, n * sizeof(char16)));
}

char16* c16memcpy(char16* s1, const char16* s2, size_t n) {
  return static_cast<char16*>(std::memcpy(s1, s2, n * sizeof(char16)));
}

char16* c16memset(char16* s, char16 c, size_t n) {
  for (size_t i = 0; i < n; ++i) s[i] = c;
  return s;
}

string16 ASCIIToUTF16(const std::string& ascii) {
  string16 out;
  out.reserve(ascii.size());
  for (unsigned char ch : ascii) out.push_back(ch);
  return out;
}

std::string UTF16ToASCII(const string16& utf16) {
  std::string out;
  out.reserve(utf16.size());
  for (char16 ch : utf16) out.push_back(static_cast<char>(ch));
  return out;
}

}  // namespace base
