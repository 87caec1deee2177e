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

template <typename CHAR>
void AppendRaw8BitQueryString(const CHAR* source, int length, CanonOutput* output) {
  for (int i = 0; i < length; i++) {
    unsigned char uch = static_cast<unsigned char>(source[i]);
    if (!IsQueryChar(uch)) {
      AppendEscapedChar(uch, output);
    } else {
      output->push_back(static_cast<char>(uch));
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
