// Queries.
#include "url_canon_internal.h"

namespace url_canon {

namespace {

template <typename CHAR, typename UCHAR>
bool IsAllASCII(const CHAR* spec, const url_parse::Component& query) {
  int end = query.end();
  for (int i = query.begin; i < end; i++) {
    if (static_cast<UCHAR>(spec[i]) >= 0x80) return false;
  }
  return true;
}

// Query-safe runs are copied in one step; other bytes are escaped.
template <typename CHAR>
void AppendRaw8BitQueryString(const CHAR* source, int length, CanonOutput* output) {
  int i = 0;
  while (i < length) {
    int runStart = i;
    while (i < length && IsQueryChar(static_cast<unsigned char>(source[i]))) i++;
    if (i > runStart) AppendRun(&source[runStart], i - runStart, output);
    if (i < length) {
      AppendEscapedChar(static_cast<unsigned char>(source[i]), output);
      i++;
    }
  }
}

void RunConverter(const char* spec, const url_parse::Component& query, CharsetConverter* converter,
                  CanonOutput* output) {
  RawCanonOutputW<1024> utf16;
  ConvertUTF8ToUTF16(&spec[query.begin], query.len, &utf16);
  converter->ConvertFromUTF16(utf16.data(), utf16.length(), output);
}

void RunConverter(const char16* spec, const url_parse::Component& query,
                  CharsetConverter* converter, CanonOutput* output) {
  converter->ConvertFromUTF16(&spec[query.begin], query.len, output);
}

template <typename CHAR, typename UCHAR>
void DoConvertToQueryEncoding(const CHAR* spec, const url_parse::Component& query,
                              CharsetConverter* converter, CanonOutput* output) {
  if (IsAllASCII<CHAR, UCHAR>(spec, query)) {
    AppendRaw8BitQueryString(&spec[query.begin], query.len, output);
  } else if (converter) {
    RawCanonOutput<1024> eightBit;
    RunConverter(spec, query, converter, &eightBit);
    AppendRaw8BitQueryString(eightBit.data(), eightBit.length(), output);
  } else {
    // No converter: non-ASCII units become "%00".
    AppendStringOfType(&spec[query.begin], query.len, CHAR_QUERY, output);
  }
}

template <typename CHAR, typename UCHAR>
void DoCanonicalizeQuery(const CHAR* spec, const url_parse::Component& query,
                         CharsetConverter* converter, CanonOutput* output,
                         url_parse::Component* outQuery) {
  if (query.len < 0) {
    *outQuery = url_parse::Component();
    return;
  }
  output->push_back('?');
  outQuery->begin = output->length();
  DoConvertToQueryEncoding<CHAR, UCHAR>(spec, query, converter, output);
  outQuery->len = output->length() - outQuery->begin;
}

}  // namespace

bool CanonicalizeQuery(const char* spec, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* outQuery) {
  DoCanonicalizeQuery<char, unsigned char>(spec, query, converter, output, outQuery);
  return true;
}

bool CanonicalizeQuery(const char16* spec, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* outQuery) {
  DoCanonicalizeQuery<char16, char16>(spec, query, converter, output, outQuery);
  return true;
}

}  // namespace url_canon
