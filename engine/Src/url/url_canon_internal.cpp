#include "url_canon_internal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace url_canon {

namespace {

inline bool IsRemovableWhitespace(char16 ch) { return ch == 0x09 || ch == 0x0A || ch == 0x0D; }

bool HasRemovableWhitespace(const char* input, int inputLen) {
  size_t n = static_cast<size_t>(inputLen);
  return std::memchr(input, 0x09, n) || std::memchr(input, 0x0A, n) || std::memchr(input, 0x0D, n);
}

bool HasRemovableWhitespace(const char16* input, int inputLen) {
  for (int i = 0; i < inputLen; i++) {
    if (IsRemovableWhitespace(input[i])) return true;
  }
  return false;
}

template <typename CHAR>
const CHAR* DoRemoveURLWhitespace(const CHAR* input, int inputLen, CanonOutputT<CHAR>* buffer,
                                  int* outputLen) {
  if (inputLen <= 0 || !HasRemovableWhitespace(input, inputLen)) {
    *outputLen = inputLen;
    return input;
  }

  for (int i = 0; i < inputLen; i++) {
    if (!IsRemovableWhitespace(
            static_cast<char16>(static_cast<std::make_unsigned_t<CHAR>>(input[i]))))
      buffer->push_back(input[i]);
  }
  *outputLen = buffer->length();
  return buffer->data();
}

template <typename CHAR, typename UCHAR>
void DoAppendStringOfType(const CHAR* source, int length, SharedCharTypes type,
                          CanonOutput* output) {
  for (int i = 0; i < length; i++) {
    UCHAR uch = static_cast<UCHAR>(source[i]);
    if (uch >= 0x80) {
      AppendUTF8EscapedChar(source, &i, length, output);
    } else if (!IsCharOfType(static_cast<unsigned char>(uch), type)) {
      AppendEscapedChar(uch, output);
    } else {
      output->push_back(static_cast<char>(uch));
    }
  }
}

template <typename CHAR, typename UCHAR>
void DoAppendInvalidNarrowString(const CHAR* spec, int begin, int end, CanonOutput* output) {
  for (int i = begin; i < end; i++) {
    UCHAR uch = static_cast<UCHAR>(spec[i]);
    if (uch >= 0x80) {
      AppendUTF8EscapedChar(spec, &i, end, output);
    } else if (uch <= ' ' || uch == 0x7f) {
      AppendEscapedChar(uch, output);
    } else {
      output->push_back(static_cast<char>(uch));
    }
  }
}

template <typename CHAR>
void DoOverrideComponent(const CHAR* overrideSource, const url_parse::Component& overrideComponent,
                         const CHAR** dest, url_parse::Component* destComponent) {
  if (overrideSource) {
    *dest = overrideSource;
    *destComponent = overrideComponent;
  }
}

// Converts one 16-bit replacement to UTF-8 at the end of |utf8Buffer|. The text pointer is set by
// the caller once the buffer has stopped growing.
bool PrepareUTF16OverrideComponent(const char16* overrideSource,
                                   const url_parse::Component& overrideComponent,
                                   CanonOutput* utf8Buffer, url_parse::Component* destComponent) {
  bool success = true;
  if (overrideSource) {
    if (!overrideComponent.is_valid()) {
      *destComponent = url_parse::Component();
    } else {
      destComponent->begin = utf8Buffer->length();
      success = ConvertUTF16ToUTF8(&overrideSource[overrideComponent.begin], overrideComponent.len,
                                   utf8Buffer);
      destComponent->len = utf8Buffer->length() - destComponent->begin;
    }
  }
  return success;
}

}  // namespace

unsigned char CanonicalSchemeChar(char16 ch) {
  if (ch >= 0x80) return 0;
  return kSchemeCanonical[ch];
}

unsigned char CanonicalSchemeChar(char ch) {
  return CanonicalSchemeChar(static_cast<char16>(static_cast<unsigned char>(ch)));
}

const char* RemoveURLWhitespace(const char* input, int inputLen, CanonOutputT<char>* buffer,
                                int* outputLen) {
  return DoRemoveURLWhitespace(input, inputLen, buffer, outputLen);
}

const char16* RemoveURLWhitespace(const char16* input, int inputLen, CanonOutputT<char16>* buffer,
                                  int* outputLen) {
  return DoRemoveURLWhitespace(input, inputLen, buffer, outputLen);
}

// Kept as stubs on purpose: this library has no Unicode support. Callers turn the failure into
// the fixed results ("%00", U+FFFD in refs, invalid hosts).
bool ReadUTFChar(const char* str, int* begin, int length, unsigned* codePointOut) { return false; }
bool ReadUTFChar(const char16* str, int* begin, int length, unsigned* codePointOut) {
  return false;
}
bool IDNToASCII(const char16* src, int srcLen, CanonOutputW* output) { return false; }

void AppendStringOfType(const char* source, int length, SharedCharTypes type, CanonOutput* output) {
  DoAppendStringOfType<char, unsigned char>(source, length, type, output);
}
void AppendStringOfType(const char16* source, int length, SharedCharTypes type,
                        CanonOutput* output) {
  DoAppendStringOfType<char16, char16>(source, length, type, output);
}

void AppendInvalidNarrowString(const char* spec, int begin, int end, CanonOutput* output) {
  DoAppendInvalidNarrowString<char, unsigned char>(spec, begin, end, output);
}
void AppendInvalidNarrowString(const char16* spec, int begin, int end, CanonOutput* output) {
  DoAppendInvalidNarrowString<char16, char16>(spec, begin, end, output);
}

bool ConvertUTF8ToUTF16(const char* input, int inputLen, CanonOutputT<char16>* output) {
  bool success = true;
  for (int i = 0; i < inputLen; i++) {
    unsigned char uch = static_cast<unsigned char>(input[i]);
    if (uch < 0x80) {
      output->push_back(uch);
      continue;
    }
    unsigned codePoint = 0;
    success &= ReadUTFChar(input, &i, inputLen, &codePoint);
    output->push_back(static_cast<char16>(codePoint));
  }
  return success;
}

bool ConvertUTF16ToUTF8(const char16* input, int inputLen, CanonOutput* output) {
  bool success = true;
  for (int i = 0; i < inputLen; i++) {
    if (input[i] < 0x80) {
      output->push_back(static_cast<char>(input[i]));
      continue;
    }
    unsigned codePoint = 0;
    success &= ReadUTFChar(input, &i, inputLen, &codePoint);
    AppendUTF8Value(codePoint, output);
  }
  return success;
}

void SetupOverrideComponents(const char* base, const Replacements<char>& repl,
                             URLComponentSource<char>* source, url_parse::Parsed* parsed) {
  const URLComponentSource<char>& replSource = repl.sources();
  const url_parse::Parsed& replParsed = repl.components();

  DoOverrideComponent(replSource.scheme, replParsed.scheme, &source->scheme, &parsed->scheme);
  DoOverrideComponent(replSource.username, replParsed.username, &source->username,
                      &parsed->username);
  DoOverrideComponent(replSource.password, replParsed.password, &source->password,
                      &parsed->password);
  DoOverrideComponent(replSource.host, replParsed.host, &source->host, &parsed->host);
  DoOverrideComponent(replSource.port, replParsed.port, &source->port, &parsed->port);
  DoOverrideComponent(replSource.path, replParsed.path, &source->path, &parsed->path);
  DoOverrideComponent(replSource.query, replParsed.query, &source->query, &parsed->query);
  DoOverrideComponent(replSource.ref, replParsed.ref, &source->ref, &parsed->ref);
}

bool SetupUTF16OverrideComponents(const char* base, const Replacements<char16>& repl,
                                  CanonOutput* utf8Buffer, URLComponentSource<char>* source,
                                  url_parse::Parsed* parsed) {
  bool success = true;
  const URLComponentSource<char16>& replSource = repl.sources();
  const url_parse::Parsed& replParsed = repl.components();

  success &= PrepareUTF16OverrideComponent(replSource.scheme, replParsed.scheme, utf8Buffer,
                                           &parsed->scheme);
  success &= PrepareUTF16OverrideComponent(replSource.username, replParsed.username, utf8Buffer,
                                           &parsed->username);
  success &= PrepareUTF16OverrideComponent(replSource.password, replParsed.password, utf8Buffer,
                                           &parsed->password);
  success &=
      PrepareUTF16OverrideComponent(replSource.host, replParsed.host, utf8Buffer, &parsed->host);
  success &=
      PrepareUTF16OverrideComponent(replSource.port, replParsed.port, utf8Buffer, &parsed->port);
  success &=
      PrepareUTF16OverrideComponent(replSource.path, replParsed.path, utf8Buffer, &parsed->path);
  success &=
      PrepareUTF16OverrideComponent(replSource.query, replParsed.query, utf8Buffer, &parsed->query);
  success &=
      PrepareUTF16OverrideComponent(replSource.ref, replParsed.ref, utf8Buffer, &parsed->ref);

  // The buffer may have moved while it grew, so the pointers are taken only now.
  if (replSource.scheme) source->scheme = utf8Buffer->data();
  if (replSource.username) source->username = utf8Buffer->data();
  if (replSource.password) source->password = utf8Buffer->data();
  if (replSource.host) source->host = utf8Buffer->data();
  if (replSource.port) source->port = utf8Buffer->data();
  if (replSource.path) source->path = utf8Buffer->data();
  if (replSource.query) source->query = utf8Buffer->data();
  if (replSource.ref) source->ref = utf8Buffer->data();
  return success;
}

int _itoa_s(int value, char* buffer, size_t sizeInChars, int radix) {
  const char* format;
  if (radix == 10) {
    format = "%d";
  } else if (radix == 16) {
    format = "%x";
  } else {
    return EINVAL;
  }
  int written = snprintf(buffer, sizeInChars, format, value);
  if (written < 0 || static_cast<size_t>(written) >= sizeInChars) return EINVAL;
  return 0;
}

int _itow_s(int value, char16* buffer, size_t sizeInChars, int radix) {
  char temp[13];
  int err = _itoa_s(value, temp, sizeof(temp), radix);
  if (err) return err;
  size_t written = std::char_traits<char>::length(temp);
  if (written >= sizeInChars) return EINVAL;
  for (size_t i = 0; i < written; ++i) {
    buffer[i] = static_cast<char16>(static_cast<unsigned char>(temp[i]));
  }
  buffer[written] = 0;
  return 0;
}

}  // namespace url_canon
