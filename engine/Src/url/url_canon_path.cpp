// Paths: escapes, backslashes and dot segments.
#include "url_canon_internal.h"

namespace url_canon {

namespace {

enum DotDisposition {
  NOT_DIRECTORY,  // a name that begins with dots
  DIRECTORY_CUR,  // "." : dropped
  DIRECTORY_UP,   // "..": one segment back
};

// Length of a dot at |offset|: 1 for '.', 3 for "%2e" in either case, else 0.
template <typename CHAR>
int IsDot(const CHAR* spec, int offset, int end) {
  if (spec[offset] == '.') return 1;
  if (spec[offset] == '%' && offset + 3 <= end && spec[offset + 1] == '2' &&
      (spec[offset + 2] == 'e' || spec[offset + 2] == 'E'))
    return 3;
  return 0;
}

template <typename CHAR>
DotDisposition ClassifyAfterDot(const CHAR* spec, int afterDot, int end, int* consumedLen) {
  if (afterDot == end) {
    *consumedLen = 0;
    return DIRECTORY_CUR;
  }
  if (url_parse::IsURLSlash(spec[afterDot])) {
    *consumedLen = 1;
    return DIRECTORY_CUR;
  }

  int secondDotLen = IsDot(spec, afterDot, end);
  if (secondDotLen) {
    int afterSecondDot = afterDot + secondDotLen;
    if (afterSecondDot == end) {
      *consumedLen = secondDotLen;
      return DIRECTORY_UP;
    }
    if (url_parse::IsURLSlash(spec[afterSecondDot])) {
      *consumedLen = secondDotLen + 1;
      return DIRECTORY_UP;
    }
  }
  *consumedLen = 0;
  return NOT_DIRECTORY;
}

// The output ends in a slash. Cut it back to just after the slash before, never before the
// path's first slash.
void BackUpToPreviousSlash(int pathBeginInOutput, CanonOutput* output) {
  int i = output->length() - 1;
  if (i == pathBeginInOutput) return;
  i--;
  while (output->at(i) != '/' && i > pathBeginInOutput) i--;
  output->set_length(i + 1);
}

// A dot of dotlen units at i. It means something only right after a slash: "." is dropped with
// the slash behind it, ".." goes back one segment. Returns the units taken beyond the first.
template <typename CHAR>
int AppendDot(const CHAR* spec, int i, int dotlen, int end, int pathBeginInOutput,
              CanonOutput* output) {
  if (output->length() <= pathBeginInOutput || output->at(output->length() - 1) != '/') {
    output->push_back('.');
    return dotlen - 1;
  }
  int consumedLen;
  switch (ClassifyAfterDot(spec, i + dotlen, end, &consumedLen)) {
    case NOT_DIRECTORY:
      output->push_back('.');
      return dotlen - 1;
    case DIRECTORY_CUR:
      return dotlen + consumedLen - 1;
    case DIRECTORY_UP:
      BackUpToPreviousSlash(pathBeginInOutput, output);
      return dotlen + consumedLen - 1;
  }
  return dotlen - 1;
}

// The '%' at *i: written decoded when the value may stand plainly in a path, else kept escaped
// with its digits exactly as written; a '%' without two hex digits passes as it is. False for
// an escaped NUL, which makes the path invalid.
template <typename CHAR>
bool AppendPercent(const CHAR* spec, int* i, int end, CanonOutput* output) {
  unsigned char unescapedValue;
  if (!DecodeEscaped(spec, i, end, &unescapedValue)) {
    output->push_back('%');
    return true;
  }
  unsigned char unescapedFlags = kPathCharLookup[unescapedValue];
  if (unescapedFlags & UNESCAPE) {
    output->push_back(static_cast<char>(unescapedValue));
    return true;
  }
  output->push_back('%');
  output->push_back(static_cast<char>(spec[*i - 1]));
  output->push_back(static_cast<char>(spec[*i]));
  return !(unescapedFlags & INVALID_BIT);
}

template <typename CHAR, typename UCHAR>
bool DoPartialPath(const CHAR* spec, const url_parse::Component& path, int pathBeginInOutput,
                   CanonOutput* output) {
  int end = path.end();
  bool success = true;
  for (int i = path.begin; i < end; i++) {
    UCHAR uch = static_cast<UCHAR>(spec[i]);
    if (sizeof(CHAR) > sizeof(char) && uch >= 0x80) {
      // 16-bit units above ASCII can't be read: "%00", and the path is invalid.
      success &= AppendUTF8EscapedChar(spec, &i, end, output);
      continue;
    }

    // 8-bit input is decided by the table alone, so a byte above 0x7f is escaped as it is.
    unsigned char outCh = static_cast<unsigned char>(uch);
    unsigned char flags = kPathCharLookup[outCh];
    if (!(flags & SPECIAL)) {
      // Plain characters come in runs: copy the whole run at once.
      int runStart = i;
      while (i + 1 < end && static_cast<UCHAR>(spec[i + 1]) < 0x80 &&
             !(kPathCharLookup[static_cast<unsigned char>(spec[i + 1])] & SPECIAL))
        i++;
      AppendRun(&spec[runStart], i + 1 - runStart, output);
      continue;
    }

    int dotlen = IsDot(spec, i, end);
    if (dotlen > 0) {
      i += AppendDot(spec, i, dotlen, end, pathBeginInOutput, output);
    } else if (outCh == '\\') {
      output->push_back('/');
    } else if (outCh == '%') {
      if (!AppendPercent(spec, &i, end, output)) success = false;
    } else if (flags & INVALID_BIT) {
      AppendEscapedChar(outCh, output);
      success = false;
    } else if (flags & ESCAPE_BIT) {
      AppendEscapedChar(outCh, output);
    }
  }
  return success;
}

template <typename CHAR, typename UCHAR>
bool DoPath(const CHAR* spec, const url_parse::Component& path, CanonOutput* output,
            url_parse::Component* outPath) {
  bool success = true;
  if (path.len > 0) {
    outPath->begin = output->length();
    if (!url_parse::IsURLSlash(spec[path.begin])) output->push_back('/');
    success = DoPartialPath<CHAR, UCHAR>(spec, path, outPath->begin, output);
    outPath->len = output->length() - outPath->begin;
  } else {
    // An empty path is written as a slash, but its range stays reset.
    output->push_back('/');
    outPath->reset();
  }
  return success;
}

template <typename CHAR, typename UCHAR>
bool DoFileCanonicalizePath(const CHAR* spec, const url_parse::Component& path, CanonOutput* output,
                            url_parse::Component* outPath) {
  outPath->begin = output->length();
  bool success = true;
  if (path.len > 0) {
    url_parse::Component subPath;
    success = DoPath<CHAR, UCHAR>(spec, path, output, &subPath);
  } else {
    output->push_back('/');
  }
  outPath->len = output->length() - outPath->begin;
  return success;
}

}  // namespace

bool CanonicalizePath(const char* spec, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* outPath) {
  return DoPath<char, unsigned char>(spec, path, output, outPath);
}
bool CanonicalizePath(const char16* spec, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* outPath) {
  return DoPath<char16, char16>(spec, path, output, outPath);
}

bool CanonicalizePartialPath(const char* spec, const url_parse::Component& path,
                             int pathBeginInOutput, CanonOutput* output) {
  return DoPartialPath<char, unsigned char>(spec, path, pathBeginInOutput, output);
}
bool CanonicalizePartialPath(const char16* spec, const url_parse::Component& path,
                             int pathBeginInOutput, CanonOutput* output) {
  return DoPartialPath<char16, char16>(spec, path, pathBeginInOutput, output);
}

bool FileCanonicalizePath(const char* spec, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* outPath) {
  return DoFileCanonicalizePath<char, unsigned char>(spec, path, output, outPath);
}
bool FileCanonicalizePath(const char16* spec, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* outPath) {
  return DoFileCanonicalizePath<char16, char16>(spec, path, output, outPath);
}

}  // namespace url_canon
