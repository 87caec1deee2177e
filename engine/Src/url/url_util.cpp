#include "url_util.h"

#include <cstring>
#include <type_traits>
#include <vector>

#include "url_canon_internal.h"

namespace url_util {

namespace {

const char kFileScheme[] = "file";
const char kMailtoScheme[] = "mailto";

const char* const kStandardURLSchemes[] = {
    "http", "https", kFileScheme, "ftp", "gopher", "ws", "wss",
};

// Built on first use; see Initialize() about threads.
std::vector<const char*>* standard_schemes = nullptr;

// Copies of added schemes live to process end, also past Shutdown(); this list only keeps them
// reachable.
std::vector<const char*>* added_scheme_copies = nullptr;

void InitStandardSchemes() {
  if (standard_schemes) return;
  standard_schemes = new std::vector<const char*>;
  for (const char* scheme : kStandardURLSchemes) standard_schemes->push_back(scheme);
}

inline char16_t ToLowerASCII(char16_t c) { return (c >= 'A' && c <= 'Z') ? (c + 0x20) : c; }

template <typename CHAR>
bool DoLowerCaseEqualsASCII(const CHAR* aBegin, const CHAR* aEnd, const char* b) {
  for (const CHAR* it = aBegin; it != aEnd; ++it, ++b) {
    if (!*b) return false;
    char16_t ch = static_cast<char16_t>(static_cast<typename std::make_unsigned<CHAR>::type>(*it));
    if (ToLowerASCII(ch) != static_cast<unsigned char>(*b)) return false;
  }
  return *b == 0;
}

template <typename CHAR>
bool DoLowerCaseEqualsRange(const CHAR* aBegin, const CHAR* aEnd, const char* bBegin,
                            const char* bEnd) {
  while (aBegin != aEnd && bBegin != bEnd &&
         ToLowerASCII(static_cast<char16_t>(static_cast<typename std::make_unsigned<CHAR>::type>(
             *aBegin))) == static_cast<unsigned char>(*bBegin)) {
    aBegin++;
    bBegin++;
  }
  return aBegin == aEnd && bBegin == bEnd;
}

template <typename CHAR>
bool CompareSchemeComponent(const CHAR* spec, const url_parse::Component& component,
                            const char* compareTo) {
  if (component.len <= 0) return compareTo[0] == 0;
  return DoLowerCaseEqualsASCII(&spec[component.begin], &spec[component.end()], compareTo);
}

template <typename CHAR>
bool DoIsStandard(const CHAR* spec, const url_parse::Component& scheme) {
  if (scheme.len < 1) return false;
  InitStandardSchemes();
  for (const char* entry : *standard_schemes) {
    if (DoLowerCaseEqualsASCII(&spec[scheme.begin], &spec[scheme.end()], entry)) return true;
  }
  return false;
}

template <typename CHAR>
bool DoFindAndCompareScheme(const CHAR* str, int strLen, const char* compare,
                            url_parse::Component* foundScheme) {
  url_parse::Component ourScheme;
  if (!url_parse::ExtractScheme(str, strLen, &ourScheme)) {
    if (foundScheme) *foundScheme = url_parse::Component();
    return false;
  }
  if (foundScheme) *foundScheme = ourScheme;
  return CompareSchemeComponent(str, ourScheme, compare);
}

template <typename CHAR>
bool DoCanonicalize(const CHAR* inSpec, int inSpecLen,
                    url_canon::CharsetConverter* charsetConverter, url_canon::CanonOutput* output,
                    url_parse::Parsed* outputParsed) {
  url_canon::RawCanonOutputT<CHAR, 1024> whitespaceBuffer;
  int specLen;
  const CHAR* spec = url_canon::RemoveURLWhitespace(inSpec, inSpecLen, &whitespaceBuffer, &specLen);

  url_parse::Parsed parsedInput;
  url_parse::Component scheme;
  if (!url_parse::ExtractScheme(spec, specLen, &scheme)) return false;

  // "file" is decided before the list, so changes to the list can't affect it.
  if (CompareSchemeComponent(spec, scheme, kFileScheme)) {
    url_parse::ParseFileURL(spec, specLen, &parsedInput);
    return url_canon::CanonicalizeFileURL(spec, specLen, parsedInput, charsetConverter, output,
                                          outputParsed);
  }
  if (DoIsStandard(spec, scheme)) {
    url_parse::ParseStandardURL(spec, specLen, &parsedInput);
    return url_canon::CanonicalizeStandardURL(spec, specLen, parsedInput, charsetConverter, output,
                                              outputParsed);
  }
  if (CompareSchemeComponent(spec, scheme, kMailtoScheme)) {
    url_parse::ParseMailtoURL(spec, specLen, &parsedInput);
    return url_canon::CanonicalizeMailtoURL(spec, specLen, parsedInput, output, outputParsed);
  }
  url_parse::ParsePathURL(spec, specLen, &parsedInput);
  return url_canon::CanonicalizePathURL(spec, specLen, parsedInput, output, outputParsed);
}

template <typename CHAR>
bool DoResolveRelative(const char* baseSpec, int baseSpecLen, const url_parse::Parsed& baseParsed,
                       const CHAR* inRelative, int inRelativeLength,
                       url_canon::CharsetConverter* charsetConverter,
                       url_canon::CanonOutput* output, url_parse::Parsed* outputParsed) {
  url_canon::RawCanonOutputT<CHAR, 1024> whitespaceBuffer;
  int relativeLength;
  const CHAR* relative = url_canon::RemoveURLWhitespace(inRelative, inRelativeLength,
                                                        &whitespaceBuffer, &relativeLength);

  bool standardBaseScheme = baseParsed.scheme.len > 0 && DoIsStandard(baseSpec, baseParsed.scheme);

  bool isRelative;
  url_parse::Component relativeComponent;
  if (!url_canon::IsRelativeURL(baseSpec, baseParsed, relative, relativeLength, standardBaseScheme,
                                &isRelative, &relativeComponent))
    return false;

  if (isRelative) {
    bool fileBaseScheme = baseParsed.scheme.len > 0 &&
                          CompareSchemeComponent(baseSpec, baseParsed.scheme, kFileScheme);
    return url_canon::ResolveRelativeURL(baseSpec, baseParsed, fileBaseScheme, relative,
                                         relativeComponent, charsetConverter, output, outputParsed);
  }
  return DoCanonicalize(relative, relativeLength, charsetConverter, output, outputParsed);
}

template <typename CHAR>
bool DoReplaceComponents(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         const url_canon::Replacements<CHAR>& replacements,
                         url_canon::CharsetConverter* queryConverter,
                         url_canon::CanonOutput* output, url_parse::Parsed* outParsed) {
  if (replacements.IsSchemeOverridden()) {
    // A new scheme may change the URL's nature, so the text is rebuilt with it and parsed anew.
    url_canon::RawCanonOutput<128> schemeReplaced;
    url_parse::Component schemeReplacedParsed;
    url_canon::CanonicalizeScheme(replacements.sources().scheme, replacements.components().scheme,
                                  &schemeReplaced, &schemeReplacedParsed);

    // Canonical text always has the colon after the scheme, or in its place.
    int specAfterColon = parsed.scheme.is_valid() ? parsed.scheme.end() + 1 : 1;
    if (specLen - specAfterColon > 0) {
      schemeReplaced.Append(&spec[specAfterColon], specLen - specAfterColon);
    }

    url_canon::RawCanonOutput<128> recanonicalized;
    url_parse::Parsed recanonicalizedParsed;
    DoCanonicalize(schemeReplaced.data(), schemeReplaced.length(), queryConverter, &recanonicalized,
                   &recanonicalizedParsed);

    // Every component is checked again below, so a failure above needn't be kept.
    url_canon::Replacements<CHAR> replacementsNoScheme = replacements;
    replacementsNoScheme.SetScheme(nullptr, url_parse::Component());
    return DoReplaceComponents(recanonicalized.data(), recanonicalized.length(),
                               recanonicalizedParsed, replacementsNoScheme, queryConverter, output,
                               outParsed);
  }

  if (CompareSchemeComponent(spec, parsed.scheme, kFileScheme)) {
    return url_canon::ReplaceFileURL(spec, parsed, replacements, queryConverter, output, outParsed);
  }
  if (DoIsStandard(spec, parsed.scheme)) {
    return url_canon::ReplaceStandardURL(spec, parsed, replacements, queryConverter, output,
                                         outParsed);
  }
  if (CompareSchemeComponent(spec, parsed.scheme, kMailtoScheme)) {
    return url_canon::ReplaceMailtoURL(spec, parsed, replacements, output, outParsed);
  }
  return url_canon::ReplacePathURL(spec, parsed, replacements, output, outParsed);
}

}  // namespace

void Initialize() { InitStandardSchemes(); }

void Shutdown() {
  if (standard_schemes) {
    delete standard_schemes;
    standard_schemes = nullptr;
  }
}

void AddStandardScheme(const char* newScheme) {
  size_t schemeLen = std::strlen(newScheme);
  if (schemeLen == 0) return;

  // The copy lives for the rest of the process; duplicates are not looked for.
  char* dupScheme = new char[schemeLen + 1];
  std::memcpy(dupScheme, newScheme, schemeLen + 1);

  if (!added_scheme_copies) added_scheme_copies = new std::vector<const char*>;
  added_scheme_copies->push_back(dupScheme);

  InitStandardSchemes();
  standard_schemes->push_back(dupScheme);
}

bool IsStandard(const char* spec, const url_parse::Component& scheme) {
  return DoIsStandard(spec, scheme);
}
bool IsStandard(const char16* spec, const url_parse::Component& scheme) {
  return DoIsStandard(spec, scheme);
}

bool FindAndCompareScheme(const char* str, int strLen, const char* compare,
                          url_parse::Component* foundScheme) {
  return DoFindAndCompareScheme(str, strLen, compare, foundScheme);
}
bool FindAndCompareScheme(const char16* str, int strLen, const char* compare,
                          url_parse::Component* foundScheme) {
  return DoFindAndCompareScheme(str, strLen, compare, foundScheme);
}

bool LowerCaseEqualsASCII(const char* aBegin, const char* aEnd, const char* b) {
  return DoLowerCaseEqualsASCII(aBegin, aEnd, b);
}
bool LowerCaseEqualsASCII(const char16* aBegin, const char16* aEnd, const char* b) {
  return DoLowerCaseEqualsASCII(aBegin, aEnd, b);
}
bool LowerCaseEqualsASCII(const char* aBegin, const char* aEnd, const char* bBegin,
                          const char* bEnd) {
  return DoLowerCaseEqualsRange(aBegin, aEnd, bBegin, bEnd);
}
bool LowerCaseEqualsASCII(const char16* aBegin, const char16* aEnd, const char* bBegin,
                          const char* bEnd) {
  return DoLowerCaseEqualsRange(aBegin, aEnd, bBegin, bEnd);
}

bool Canonicalize(const char* spec, int specLen, url_canon::CharsetConverter* charsetConverter,
                  url_canon::CanonOutput* output, url_parse::Parsed* outputParsed) {
  return DoCanonicalize(spec, specLen, charsetConverter, output, outputParsed);
}
bool Canonicalize(const char16* spec, int specLen, url_canon::CharsetConverter* charsetConverter,
                  url_canon::CanonOutput* output, url_parse::Parsed* outputParsed) {
  return DoCanonicalize(spec, specLen, charsetConverter, output, outputParsed);
}

bool ResolveRelative(const char* baseSpec, int baseSpecLen, const url_parse::Parsed& baseParsed,
                     const char* relative, int relativeLength,
                     url_canon::CharsetConverter* charsetConverter, url_canon::CanonOutput* output,
                     url_parse::Parsed* outputParsed) {
  return DoResolveRelative(baseSpec, baseSpecLen, baseParsed, relative, relativeLength,
                           charsetConverter, output, outputParsed);
}
bool ResolveRelative(const char* baseSpec, int baseSpecLen, const url_parse::Parsed& baseParsed,
                     const char16* relative, int relativeLength,
                     url_canon::CharsetConverter* charsetConverter, url_canon::CanonOutput* output,
                     url_parse::Parsed* outputParsed) {
  return DoResolveRelative(baseSpec, baseSpecLen, baseParsed, relative, relativeLength,
                           charsetConverter, output, outputParsed);
}

bool ReplaceComponents(const char* spec, int specLen, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<char>& replacements,
                       url_canon::CharsetConverter* queryConverter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed) {
  return DoReplaceComponents(spec, specLen, parsed, replacements, queryConverter, output,
                             outParsed);
}
bool ReplaceComponents(const char* spec, int specLen, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<base::char16>& replacements,
                       url_canon::CharsetConverter* queryConverter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed) {
  return DoReplaceComponents(spec, specLen, parsed, replacements, queryConverter, output,
                             outParsed);
}

}  // namespace url_util
