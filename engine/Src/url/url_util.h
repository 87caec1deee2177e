// Entry points of URL handling: the standard-scheme registry, choosing parser and canonicaliser by
// scheme, relative resolution and component replacement.
#pragma once

#include "string16.h"
#include "url_canon.h"
#include "url_parse.h"

namespace url_util {

typedef base::char16 char16;

// Fills the standard-scheme list if that hasn't been done. Call it before URLs are used from
// more than one thread: the list has no lock.
void Initialize();

// Frees the list; it is filled again on next use. Texts of added schemes are not freed.
void Shutdown();

// Appends a copy of |newScheme| (lower case) to the standard schemes. Not thread-safe: register
// before URLs are used from other threads.
void AddStandardScheme(const char* newScheme);

// Whether the scheme range of |spec| names a standard scheme, compared case-insensitively.
bool IsStandard(const char* spec, const url_parse::Component& scheme);
bool IsStandard(const char16* spec, const url_parse::Component& scheme);

// Finds the scheme of |str| and compares it with |compare| (lower case). |foundScheme| may be
// null.
bool FindAndCompareScheme(const char* str, int strLen, const char* compare,
                          url_parse::Component* foundScheme);
bool FindAndCompareScheme(const char16* str, int strLen, const char* compare,
                          url_parse::Component* foundScheme);

// Compares [begin, end) folded to lower case with the lower-case text |b|.
bool LowerCaseEqualsASCII(const char* aBegin, const char* aEnd, const char* b);
bool LowerCaseEqualsASCII(const char16* aBegin, const char16* aEnd, const char* b);
// The same with a second range, which isn't folded.
bool LowerCaseEqualsASCII(const char* aBegin, const char* aEnd, const char* bBegin,
                          const char* bEnd);
bool LowerCaseEqualsASCII(const char16* aBegin, const char16* aEnd, const char* bBegin,
                          const char* bEnd);

// Canonicalises a whole URL. False both when it is invalid and when it has no scheme (then
// nothing is written).
bool Canonicalize(const char* spec, int specLen, url_canon::CharsetConverter* charsetConverter,
                  url_canon::CanonOutput* output, url_parse::Parsed* outputParsed);
bool Canonicalize(const char16* spec, int specLen, url_canon::CharsetConverter* charsetConverter,
                  url_canon::CanonOutput* output, url_parse::Parsed* outputParsed);

// Resolves |relative| against the canonical |baseSpec|.
bool ResolveRelative(const char* baseSpec, int baseSpecLen, const url_parse::Parsed& baseParsed,
                     const char* relative, int relativeLength,
                     url_canon::CharsetConverter* charsetConverter, url_canon::CanonOutput* output,
                     url_parse::Parsed* outputParsed);
bool ResolveRelative(const char* baseSpec, int baseSpecLen, const url_parse::Parsed& baseParsed,
                     const char16* relative, int relativeLength,
                     url_canon::CharsetConverter* charsetConverter, url_canon::CanonOutput* output,
                     url_parse::Parsed* outputParsed);

// Replaces components of the canonical |spec| and canonicalises the result.
bool ReplaceComponents(const char* spec, int specLen, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<char>& replacements,
                       url_canon::CharsetConverter* queryConverter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed);
bool ReplaceComponents(const char* spec, int specLen, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<base::char16>& replacements,
                       url_canon::CharsetConverter* queryConverter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed);

}  // namespace url_util
