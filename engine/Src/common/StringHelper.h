/// \file
/// ASCII case-insensitive comparison and in-place replacement for playlist text. Pure functions,
/// safe on any thread.
#pragma once

#include <string>

namespace strmcommon {

/// Equal when the lengths match and every byte matches after a-z are folded to upper case.
/// No locale is consulted; only letters are folded, so '[' and '{' differ.
bool vas_iequal(const std::string& a, const std::string& b);
/// The same fold up to the terminators, which must come together. A null pointer gives false
/// (kept unlike vas_strncasecmp, where it gives "equal").
bool vas_iequal(const char* a, const char* b);
/// The same fold against a C string, handed straight to strlen: it must not be null.
bool vas_iequal(const std::string& a, const char* b);
/// As above with the arguments swapped; `a` must not be null.
bool vas_iequal(const char* a, const std::string& b);

/// Compares at most n bytes with A-Z folded to lower case. At a terminator in either text the
/// difference of the raw bytes is returned, otherwise the difference of the folded bytes. A null
/// pointer or n == 0 gives 0, i.e. "equal".
int vas_strncasecmp(const char* a, const char* b, unsigned int n);

/// Replaces the first occurrence of from (searched from position 0) with to and returns target.
/// An empty from matches at position 0, so to is put in front. from must not be null.
std::string& vas_replace_first(std::string& target, const char* from, std::string to);

}  // namespace strmcommon
