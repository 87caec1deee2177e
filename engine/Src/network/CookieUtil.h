/// \file
/// String and matching helpers of the cookie store. They work on zero-terminated strings as they
/// come; none of them allocates except strstore and sanitize_cookie_path, and none locks.
#pragma once

namespace strmcommon {

/// 'a' to 'z' to upper case, every other character unchanged.
char shiftToUpper(char in);
/// Equality of two strings, ignoring ASCII case.
bool rawEqual(const char* first, const char* second);
/// The same over at most max characters; reaching max counts as equal.
bool rawNEqual(const char* first, const char* second, unsigned int max);
/// True for the space character only; a tab is not blank.
bool isBlank(char c);
/// Frees *str and stores a heap copy of newstr there (null if newstr is null or the copy fails).
void strstore(char** str, const char* newstr);
/// The last byte equal to c among the first n bytes of s, or null.
void* memrchr(const void* s, int c, unsigned int n);

/// True when `cookieDomain` equals `hostname` or a tail of it that starts behind a dot, ignoring
/// case.
bool tailmatch(const char* cookieDomain, const char* hostname);
/// True when the cookie path covers the request path (its query cut off; a path not starting
/// with '/' counts as "/"). Kept: a cookie path of one character covers every path.
bool pathmatch(const char* cookiePath, const char* requestUri);
/// A new heap string: the path without surrounding double quotes and without a trailing '/', or
/// "/" when it does not begin with '/'. Null if it can't be allocated.
char* sanitize_cookie_path(const char* cookiePath);
/// qsort comparator over Cookie*: longer path first, then longer domain, then name ascending.
int cookie_sort(const void* p1, const void* p2);

}  // namespace strmcommon
