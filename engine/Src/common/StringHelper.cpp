#include "StringHelper.h"

#include <cstring>

namespace strmcommon {

namespace {

// Upper-case fold of the iequal family: clear bit 5 of a-z and nothing else.
inline unsigned char FoldUpper(unsigned char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<unsigned char>(c & ~0x20u) : c;
}

inline unsigned char FoldLower(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c | 0x20u) : c;
}

bool EqualFolded(const char* a, const char* b, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    if (FoldUpper(static_cast<unsigned char>(a[i])) != FoldUpper(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

}  // namespace

bool vas_iequal(const std::string& a, const std::string& b) {
  return a.size() == b.size() && EqualFolded(a.data(), b.data(), a.size());
}

bool vas_iequal(const char* a, const char* b) {
  // Null is unequal to everything here, while vas_strncasecmp calls it equal; both are intended.
  if (a == nullptr || b == nullptr) return false;
  for (;; ++a, ++b) {
    if (*a == '\0' || *b == '\0') return *a == *b;
    if (FoldUpper(static_cast<unsigned char>(*a)) != FoldUpper(static_cast<unsigned char>(*b)))
      return false;
  }
}

bool vas_iequal(const std::string& a, const char* b) {
  // No null check: callers pass literals and c_str() results.
  return std::strlen(b) == a.size() && EqualFolded(a.data(), b, a.size());
}

bool vas_iequal(const char* a, const std::string& b) { return vas_iequal(b, a); }

int vas_strncasecmp(const char* a, const char* b, unsigned int n) {
  // A null text compares as equal (0); intended, see vas_iequal for the opposite rule.
  if (a == nullptr || b == nullptr || n == 0) return 0;
  for (unsigned int i = 0; i < n; ++i) {
    const unsigned char ca = static_cast<unsigned char>(a[i]);
    const unsigned char cb = static_cast<unsigned char>(b[i]);
    if (ca == '\0' || cb == '\0') return ca - cb;
    const unsigned char la = FoldLower(ca);
    const unsigned char lb = FoldLower(cb);
    if (la != lb) return la - lb;
  }
  return 0;
}

std::string& vas_replace_first(std::string& target, const char* from, std::string to) {
  const std::string::size_type pos = target.find(from, 0);
  if (pos != std::string::npos) target.replace(pos, std::strlen(from), to);
  return target;
}

}  // namespace strmcommon
