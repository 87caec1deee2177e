/// \file
/// Entry points of URL handling: the standard-scheme registry, choosing parser and canonicaliser by
/// scheme, relative resolution and component replacement. A false result means the text written is
/// not a valid URL, not that nothing was written.
#pragma once

#include "string16.h"
#include "url_canon.h"
#include "url_parse.h"

namespace url_util {

/// A UTF-16 code unit.
typedef base::char16 char16;

/// Fills the standard-scheme list (http, https, file, ftp, gopher, ws, wss) if that hasn't been
/// done. Call it before URLs are used from more than one thread: the list has no lock and is
/// otherwise built on first use.
void Initialize();

/// Frees the list; it is filled again on next use. Texts of added schemes are not freed.
void Shutdown();

/// Appends a copy of |newScheme| (lower case) to the standard schemes. Not thread-safe: register
/// before URLs are used from other threads.
void AddStandardScheme(const char* newScheme);

/// Whether the scheme range of |spec| names a standard scheme, compared case-insensitively.
bool IsStandard(const char* spec, const url_parse::Component& scheme);
/// The same for 16-bit text.
bool IsStandard(const char16* spec, const url_parse::Component& scheme);

/// True when |str| has a scheme equal to |compare| (lower case; an empty scheme equals only an
/// empty text). The scheme found goes to |foundScheme| unless null; none resets it.
bool FindAndCompareScheme(const char* str, int strLen, const char* compare,
                          url_parse::Component* foundScheme);
/// The same for 16-bit text.
bool FindAndCompareScheme(const char16* str, int strLen, const char* compare,
                          url_parse::Component* foundScheme);

/// Compares [aBegin, aEnd) folded to lower case with the lower-case text |b|, which must end where
/// the range does.
bool LowerCaseEqualsASCII(const char* aBegin, const char* aEnd, const char* b);
/// The same for 16-bit text.
bool LowerCaseEqualsASCII(const char16* aBegin, const char16* aEnd, const char* b);
/// The same with a second range, which isn't folded.
bool LowerCaseEqualsASCII(const char* aBegin, const char* aEnd, const char* bBegin,
                          const char* bEnd);
/// The same for 16-bit text.
bool LowerCaseEqualsASCII(const char16* aBegin, const char16* aEnd, const char* bBegin,
                          const char* bEnd);

/// Canonicalises a whole URL, choosing by scheme: file, a standard scheme, mailto, or the path
/// form for anything else. Tab, line feed and carriage return are removed first. False both when
/// it is invalid and when it has no scheme (then nothing is written).
bool Canonicalize(const char* spec, int specLen, url_canon::CharsetConverter* charsetConverter,
                  url_canon::CanonOutput* output, url_parse::Parsed* outputParsed);
/// The same for 16-bit text.
bool Canonicalize(const char16* spec, int specLen, url_canon::CharsetConverter* charsetConverter,
                  url_canon::CanonOutput* output, url_parse::Parsed* outputParsed);

/// Resolves |relative| against the canonical |baseSpec| (an absolute |relative| is canonicalised
/// on its own). False when it can't be resolved, e.g. against a non-hierarchical base.
bool ResolveRelative(const char* baseSpec, int baseSpecLen, const url_parse::Parsed& baseParsed,
                     const char* relative, int relativeLength,
                     url_canon::CharsetConverter* charsetConverter, url_canon::CanonOutput* output,
                     url_parse::Parsed* outputParsed);
/// The same for 16-bit relative text.
bool ResolveRelative(const char* baseSpec, int baseSpecLen, const url_parse::Parsed& baseParsed,
                     const char16* relative, int relativeLength,
                     url_canon::CharsetConverter* charsetConverter, url_canon::CanonOutput* output,
                     url_parse::Parsed* outputParsed);

/// Replaces components of the canonical |spec| and canonicalises the result; a new scheme rebuilds
/// the URL for that scheme.
bool ReplaceComponents(const char* spec, int specLen, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<char>& replacements,
                       url_canon::CharsetConverter* queryConverter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed);
/// The same for 16-bit replacements, converted to UTF-8 first.
bool ReplaceComponents(const char* spec, int specLen, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<base::char16>& replacements,
                       url_canon::CharsetConverter* queryConverter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed);

}  // namespace url_util
