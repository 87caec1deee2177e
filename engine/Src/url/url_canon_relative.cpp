// Telling relative references from absolute ones, and resolving them against a canonical base.
#include "url_canon_internal.h"

namespace url_canon {

namespace {

// The base is canonical, so its scheme is compared as it stands.
template <typename CHAR>
bool AreSchemesEqual(const char* base, const url_parse::Component& baseScheme, const CHAR* cmp,
                     const url_parse::Component& cmpScheme) {
  if (baseScheme.len != cmpScheme.len) return false;
  for (int i = 0; i < baseScheme.len; i++) {
    if (CanonicalSchemeChar(cmp[cmpScheme.begin + i]) !=
        static_cast<unsigned char>(base[baseScheme.begin + i]))
      return false;
  }
  return true;
}

template <typename CHAR>
bool DoIsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const CHAR* url,
                     int urlLen, bool isBaseHierarchical, bool* isRelative,
                     url_parse::Component* relativeComponent) {
  *isRelative = false;

  int begin = 0;
  url_parse::TrimURL(url, &begin, &urlLen);
  if (begin >= urlLen) {
    // Nothing but blanks: relative, and it means the same document.
    *relativeComponent = url_parse::Component(begin, 0);
    *isRelative = true;
    return true;
  }

  url_parse::Component scheme;
  if (!url_parse::ExtractScheme(url, urlLen, &scheme) || scheme.len == 0) {
    // Without a scheme the text needs a hierarchical base.
    if (!isBaseHierarchical) return false;
    *relativeComponent = url_parse::MakeRange(begin, urlLen);
    *isRelative = true;
    return true;
  }

  // A colon after characters a scheme can't hold wasn't a scheme's colon.
  int schemeEnd = scheme.end();
  for (int i = scheme.begin; i < schemeEnd; i++) {
    if (!CanonicalSchemeChar(url[i])) {
      *relativeComponent = url_parse::MakeRange(begin, urlLen);
      *isRelative = true;
      return true;
    }
  }

  if (!AreSchemesEqual(base, baseParsed.scheme, url, scheme)) return true;

  // The base's own scheme on a non-hierarchical base is a new URL.
  if (!isBaseHierarchical) return true;

  // "http:foo" against an http base is a relative path; "http://foo" is absolute.
  int colonOffset = scheme.end();
  int numSlashes = url_parse::CountConsecutiveSlashes(url, colonOffset + 1, urlLen);
  if (numSlashes == 0 || numSlashes == 1) {
    *isRelative = true;
    *relativeComponent = url_parse::MakeRange(colonOffset + 1, urlLen);
  }
  return true;
}

// Copies |spec| from |begin| up to and including the last '/' before |end|; nothing when there
// is none. A backslash doesn't count: the base is canonical.
void CopyToLastSlash(const char* spec, int begin, int end, CanonOutput* output) {
  int lastSlash = -1;
  for (int i = end - 1; i >= begin; i--) {
    if (spec[i] == '/') {
      lastSlash = i;
      break;
    }
  }
  if (lastSlash < 0) return;
  for (int i = begin; i <= lastSlash; i++) output->push_back(spec[i]);
}

void CopyOneComponent(const char* source, const url_parse::Component& sourceComponent,
                      CanonOutput* output, url_parse::Component* outputComponent) {
  if (sourceComponent.len < 0) {
    *outputComponent = url_parse::Component();
    return;
  }
  outputComponent->begin = output->length();
  int sourceEnd = sourceComponent.end();
  for (int i = sourceComponent.begin; i < sourceEnd; i++) output->push_back(source[i]);
  outputComponent->len = output->length() - outputComponent->begin;
}

template <typename CHAR>
bool DoResolveRelativePath(const char* baseUrl, const url_parse::Parsed& baseParsed,
                           const CHAR* relativeUrl, const url_parse::Component& relativeComponent,
                           CharsetConverter* queryConverter, CanonOutput* output,
                           url_parse::Parsed* outParsed) {
  bool success = true;

  url_parse::Component path;
  url_parse::Component query;
  url_parse::Component ref;
  url_parse::ParsePathInternal(relativeUrl, relativeComponent, &path, &query, &ref);

  // Scheme and authority are the base's.
  output->Append(baseUrl, baseParsed.path.begin);

  if (path.len > 0) {
    if (url_parse::IsURLSlash(relativeUrl[path.begin])) {
      success &= CanonicalizePath(relativeUrl, path, output, &outParsed->path);
    } else {
      // The base's directory, then the relative path, so that dot segments work across both.
      int pathBegin = output->length();
      CopyToLastSlash(baseUrl, baseParsed.path.begin, baseParsed.path.end(), output);
      success &= CanonicalizePartialPath(relativeUrl, path, pathBegin, output);
      outParsed->path = url_parse::MakeRange(pathBegin, output->length());
    }

    CanonicalizeQuery(relativeUrl, query, queryConverter, output, &outParsed->query);
    CanonicalizeRef(relativeUrl, ref, output, &outParsed->ref);
    return success;
  }

  // No path: the base's path stays.
  CopyOneComponent(baseUrl, baseParsed.path, output, &outParsed->path);

  if (query.is_valid()) {
    CanonicalizeQuery(relativeUrl, query, queryConverter, output, &outParsed->query);
    CanonicalizeRef(relativeUrl, ref, output, &outParsed->ref);
    return success;
  }

  // No query either: the base's query stays, and only the ref is the relative one.
  if (baseParsed.query.is_valid()) {
    output->push_back('?');
    CopyOneComponent(baseUrl, baseParsed.query, output, &outParsed->query);
  }
  CanonicalizeRef(relativeUrl, ref, output, &outParsed->ref);
  return success;
}

template <typename CHAR>
bool DoResolveRelativeHost(const char* baseUrl, const url_parse::Parsed& baseParsed,
                           const CHAR* relativeUrl, const url_parse::Component& relativeComponent,
                           CharsetConverter* queryConverter, CanonOutput* output,
                           url_parse::Parsed* outParsed) {
  url_parse::Parsed relativeParsed;
  url_parse::ParseAfterScheme(relativeUrl, relativeComponent.end(), relativeComponent.begin,
                              &relativeParsed);

  // Everything but the scheme comes from the relative text, present or not.
  Replacements<CHAR> replacements;
  replacements.SetUsername(relativeUrl, relativeParsed.username);
  replacements.SetPassword(relativeUrl, relativeParsed.password);
  replacements.SetHost(relativeUrl, relativeParsed.host);
  replacements.SetPort(relativeUrl, relativeParsed.port);
  replacements.SetPath(relativeUrl, relativeParsed.path);
  replacements.SetQuery(relativeUrl, relativeParsed.query);
  replacements.SetRef(relativeUrl, relativeParsed.ref);

  return ReplaceStandardURL(baseUrl, baseParsed, replacements, queryConverter, output, outParsed);
}

template <typename CHAR>
bool DoResolveAbsoluteFile(const CHAR* relativeUrl, const url_parse::Component& relativeComponent,
                           CharsetConverter* queryConverter, CanonOutput* output,
                           url_parse::Parsed* outParsed) {
  url_parse::Parsed relativeParsed;
  url_parse::ParseFileURL(&relativeUrl[relativeComponent.begin], relativeComponent.len,
                          &relativeParsed);
  return CanonicalizeFileURL(&relativeUrl[relativeComponent.begin], relativeComponent.len,
                             relativeParsed, queryConverter, output, outParsed);
}

template <typename CHAR>
bool DoResolveRelativeURL(const char* baseUrl, const url_parse::Parsed& baseParsed, bool baseIsFile,
                          const CHAR* relativeUrl, const url_parse::Component& relativeComponent,
                          CharsetConverter* queryConverter, CanonOutput* output,
                          url_parse::Parsed* outParsed) {
  *outParsed = baseParsed;

  // A base without a path can't take a relative part; the base comes back unchanged.
  if (baseParsed.path.len <= 0) {
    int baseLen = outParsed->Length();
    if (baseLen <= 0) return false;
    output->Append(baseUrl, baseLen);
    return false;
  }

  if (relativeComponent.len <= 0) {
    // The same document: the base without its ref.
    int baseLen = outParsed->Length();
    baseLen -= baseParsed.ref.len + 1;
    outParsed->ref.reset();
    output->Append(baseUrl, baseLen);
    return true;
  }

  int numSlashes = url_parse::CountConsecutiveSlashes(relativeUrl, relativeComponent.begin,
                                                      relativeComponent.end());

  if (baseIsFile && (numSlashes >= 3 || numSlashes == relativeComponent.len)) {
    return DoResolveAbsoluteFile(relativeUrl, relativeComponent, queryConverter, output, outParsed);
  }

  if (numSlashes >= 2) {
    return DoResolveRelativeHost(baseUrl, baseParsed, relativeUrl, relativeComponent,
                                 queryConverter, output, outParsed);
  }

  return DoResolveRelativePath(baseUrl, baseParsed, relativeUrl, relativeComponent, queryConverter,
                               output, outParsed);
}

}  // namespace

bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char* fragment,
                   int fragmentLen, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relativeComponent) {
  return DoIsRelativeURL(base, baseParsed, fragment, fragmentLen, isBaseHierarchical, isRelative,
                         relativeComponent);
}

bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char16* fragment,
                   int fragmentLen, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relativeComponent) {
  return DoIsRelativeURL(base, baseParsed, fragment, fragmentLen, isBaseHierarchical, isRelative,
                         relativeComponent);
}

bool ResolveRelativeURL(const char* baseUrl, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char* relativeUrl, const url_parse::Component& relativeComponent,
                        CharsetConverter* queryConverter, CanonOutput* output,
                        url_parse::Parsed* outParsed) {
  return DoResolveRelativeURL(baseUrl, baseParsed, baseIsFile, relativeUrl, relativeComponent,
                              queryConverter, output, outParsed);
}

bool ResolveRelativeURL(const char* baseUrl, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char16* relativeUrl, const url_parse::Component& relativeComponent,
                        CharsetConverter* queryConverter, CanonOutput* output,
                        url_parse::Parsed* outParsed) {
  return DoResolveRelativeURL(baseUrl, baseParsed, baseIsFile, relativeUrl, relativeComponent,
                              queryConverter, output, outParsed);
}

}  // namespace url_canon
