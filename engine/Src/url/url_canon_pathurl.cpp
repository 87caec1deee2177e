// URLs that are a scheme and an opaque path (data:, javascript: and every unknown scheme), and
// mailto: URLs.
#include "url_canon_internal.h"

namespace url_canon {

namespace {

// Copies units from 0x20 to 0x7f; everything else, control characters included, can't be read
// and becomes "%00", which makes the URL invalid.
template <typename CHAR, typename UCHAR>
bool CopyOpaquePath(const CHAR* spec, const url_parse::Component& path, CanonOutput* output,
                    url_parse::Component* outPath) {
  bool success = true;
  outPath->begin = output->length();
  int end = path.end();
  for (int i = path.begin; i < end; i++) {
    UCHAR uch = static_cast<UCHAR>(spec[i]);
    if (uch < 0x20 || uch >= 0x80) {
      success &= AppendUTF8EscapedChar(spec, &i, end, output);
    } else {
      output->push_back(static_cast<char>(uch));
    }
  }
  outPath->len = output->length() - outPath->begin;
  return success;
}

template <typename CHAR, typename UCHAR>
bool DoCanonicalizePathURL(const URLComponentSource<CHAR>& source, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed) {
  bool success = CanonicalizeScheme(source.scheme, parsed.scheme, output, &newParsed->scheme);

  newParsed->username.reset();
  newParsed->password.reset();
  newParsed->host.reset();
  newParsed->port.reset();

  if (parsed.path.is_valid()) {
    success &= CopyOpaquePath<CHAR, UCHAR>(source.path, parsed.path, output, &newParsed->path);
  } else {
    newParsed->path.reset();
  }

  newParsed->query.reset();
  newParsed->ref.reset();
  return success;
}

template <typename CHAR, typename UCHAR>
bool DoCanonicalizeMailtoURL(const URLComponentSource<CHAR>& source,
                             const url_parse::Parsed& parsed, CanonOutput* output,
                             url_parse::Parsed* newParsed) {
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
    success &= CopyOpaquePath<CHAR, UCHAR>(source.path, parsed.path, output, &newParsed->path);
  } else {
    newParsed->path.reset();
  }

  // Mail addresses always take their query as UTF-8.
  CanonicalizeQuery(source.query, parsed.query, nullptr, output, &newParsed->query);
  return success;
}

}  // namespace

bool CanonicalizePathURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizePathURL<char, unsigned char>(URLComponentSource<char>(spec), parsed, output,
                                                    newParsed);
}

bool CanonicalizePathURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizePathURL<char16, char16>(URLComponentSource<char16>(spec), parsed, output,
                                               newParsed);
}

bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed) {
  URLComponentSource<char> source(base);
  url_parse::Parsed parsed(baseParsed);
  SetupOverrideComponents(base, replacements, &source, &parsed);
  return DoCanonicalizePathURL<char, unsigned char>(source, parsed, output, newParsed);
}

bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed) {
  RawCanonOutput<1024> utf8;
  URLComponentSource<char> source(base);
  url_parse::Parsed parsed(baseParsed);
  SetupUTF16OverrideComponents(base, replacements, &utf8, &source, &parsed);
  return DoCanonicalizePathURL<char, unsigned char>(source, parsed, output, newParsed);
}

bool CanonicalizeMailtoURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizeMailtoURL<char, unsigned char>(URLComponentSource<char>(spec), parsed,
                                                      output, newParsed);
}

bool CanonicalizeMailtoURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed) {
  return DoCanonicalizeMailtoURL<char16, char16>(URLComponentSource<char16>(spec), parsed, output,
                                                 newParsed);
}

bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed) {
  URLComponentSource<char> source(base);
  url_parse::Parsed parsed(baseParsed);
  SetupOverrideComponents(base, replacements, &source, &parsed);
  return DoCanonicalizeMailtoURL<char, unsigned char>(source, parsed, output, newParsed);
}

bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char16>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed) {
  RawCanonOutput<1024> utf8;
  URLComponentSource<char> source(base);
  url_parse::Parsed parsed(baseParsed);
  SetupUTF16OverrideComponents(base, replacements, &utf8, &source, &parsed);
  return DoCanonicalizeMailtoURL<char, unsigned char>(source, parsed, output, newParsed);
}

}  // namespace url_canon
