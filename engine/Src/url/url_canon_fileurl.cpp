// file: URLs. Paths are slash paths; there are no drive letters.
#include "url_canon_internal.h"

namespace url_canon {

namespace {

template <typename CHAR>
bool DoCanonicalizeFileURL(const URLComponentSource<CHAR>& source, const url_parse::Parsed& parsed,
                           CharsetConverter* queryConverter, CanonOutput* output,
                           url_parse::Parsed* newParsed) {
  newParsed->username.reset();
  newParsed->password.reset();
  newParsed->port.reset();

  // The scheme is known: it is written in lower case whatever the input's case.
  newParsed->scheme.begin = output->length();
  output->Append("file://", 7);
  newParsed->scheme.len = 4;

  // An empty host is fine here.
  bool success = CanonicalizeHost(source.host, parsed.host, output, &newParsed->host);
  success &= FileCanonicalizePath(source.path, parsed.path, output, &newParsed->path);
  CanonicalizeQuery(source.query, parsed.query, queryConverter, output, &newParsed->query);
  CanonicalizeRef(source.ref, parsed.ref, output, &newParsed->ref);
  return success;
}

}  // namespace

bool CanonicalizeFileURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         CharsetConverter* queryConverter, CanonOutput* output,
                         url_parse::Parsed* newParsed) {
  return DoCanonicalizeFileURL(URLComponentSource<char>(spec), parsed, queryConverter, output,
                               newParsed);
}

bool CanonicalizeFileURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                         CharsetConverter* queryConverter, CanonOutput* output,
                         url_parse::Parsed* newParsed) {
  return DoCanonicalizeFileURL(URLComponentSource<char16>(spec), parsed, queryConverter, output,
                               newParsed);
}

bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CharsetConverter* queryConverter,
                    CanonOutput* output, url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizeFileURL<char>, base, baseParsed, replacements,
                              queryConverter, output, newParsed);
}

bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CharsetConverter* queryConverter,
                    CanonOutput* output, url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizeFileURL<char>, base, baseParsed, replacements,
                              queryConverter, output, newParsed);
}

}  // namespace url_canon
