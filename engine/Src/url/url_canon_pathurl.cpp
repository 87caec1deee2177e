// URLs that are a scheme and an opaque path (data:, javascript: and every unknown scheme), and
// mailto: URLs.
#include "url_canon_internal.h"

namespace url_canon {

namespace {

// Copies units from 0x20 to 0x7f; everything else, control characters included, can't be read
// and becomes "%00", which makes the URL invalid.
template <typename CHAR>
bool CopyOpaquePath(const CHAR* spec, const url_parse::Component& path, CanonOutput* output,
                    url_parse::Component* outPath) {
  bool success = true;
  outPath->begin = output->length();
  int end = path.end();
  for (int i = path.begin; i < end; i++) {
    auto uch = static_cast<std::make_unsigned_t<CHAR>>(spec[i]);
    if (uch < 0x20 || uch >= 0x80) {
      success &= AppendUTF8EscapedChar(spec, &i, end, output);
    } else {
      output->push_back(static_cast<char>(uch));
    }
  }
  outPath->len = output->length() - outPath->begin;
  return success;
}

// A path URL has no query, so queryConverter is not used.
template <typename CHAR>
bool DoCanonicalizePathURL(const URLComponentSource<CHAR>& source, const url_parse::Parsed& parsed,
                           CharsetConverter* /*queryConverter*/, CanonOutput* output,
                           url_parse::Parsed* newParsed) {
  bool success = CanonicalizeScheme(source.scheme, parsed.scheme, output, &newParsed->scheme);

  newParsed->username.reset();
  newParsed->password.reset();
  newParsed->host.reset();
  newParsed->port.reset();

  if (parsed.path.is_valid()) {
    success &= CopyOpaquePath(source.path, parsed.path, output, &newParsed->path);
  } else {
    newParsed->path.reset();
  }

  newParsed->query.reset();
  newParsed->ref.reset();
  return success;
}

// Mail addresses always take their query as UTF-8, so queryConverter is not used.
template <typename CHAR>
bool DoCanonicalizeMailtoURL(const URLComponentSource<CHAR>& source,
                             const url_parse::Parsed& parsed, CharsetConverter* /*queryConverter*/,
                             CanonOutput* output, url_parse::Parsed* newParsed) {
  newParsed->username.reset();
  newParsed->password.reset();
  newParsed->host.reset();
  newParsed->port.reset();
  newParsed->ref.reset();

  newParsed->scheme.begin = output->length();
  output->Append("mailto:", 7);
  newParsed->scheme.len = 6;

  bool success = true;
  if (parsed.path.is_valid()) {
    success &= CopyOpaquePath(source.path, parsed.path, output, &newParsed->path);
  } else {
    newParsed->path.reset();
  }

  CanonicalizeQuery(source.query, parsed.query, nullptr, output, &newParsed->query);
  return success;
}

}  // namespace

bool CanonicalizePathURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizePathURL(URLComponentSource<char>(spec), parsed, nullptr, output, newParsed);
}

bool CanonicalizePathURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizePathURL(URLComponentSource<char16>(spec), parsed, nullptr, output,
                               newParsed);
}

bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizePathURL<char>, base, baseParsed, replacements, nullptr,
                              output, newParsed);
}

bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizePathURL<char>, base, baseParsed, replacements, nullptr,
                              output, newParsed);
}

bool CanonicalizeMailtoURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizeMailtoURL(URLComponentSource<char>(spec), parsed, nullptr, output,
                                 newParsed);
}

bool CanonicalizeMailtoURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizeMailtoURL(URLComponentSource<char16>(spec), parsed, nullptr, output,
                                 newParsed);
}

bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizeMailtoURL<char>, base, baseParsed, replacements,
                              nullptr, output, newParsed);
}

bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char16>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizeMailtoURL<char>, base, baseParsed, replacements,
                              nullptr, output, newParsed);
}

}  // namespace url_canon
