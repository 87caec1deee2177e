// Relative resolution with an arbitrary base and reference: the input's first line is the base,
// the rest the reference. A model of the relative-or-absolute decision, kept here, says what the
// result must be:
// - an invalid base gives the empty URL;
// - an absolute reference gives exactly its own canonical form (the empty URL if that is
//   invalid), whatever the base;
// - a reference with no scheme against a base that has no hierarchy can't be resolved: the empty
//   URL;
// - a reference that is empty after trimming, or is the base's scheme and a colon alone, names
//   the base's document: the base up to its ref;
// - any other relative reference keeps the base's scheme, and a non-empty result is valid.
// Every result has its components inside its text and is canonical, and resolving it against
// itself gives it again, as does the 16-bit form of an ASCII reference.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzCheck.h"
#include "UrlChecks.h"
#include "gurl.h"
#include "string16.h"

namespace {

enum class Kind { kAbsolute, kRelative, kSameDocument, kUnresolvable };

bool IsSchemeChar(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
         c == '-' || c == '.';
}

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c | 0x20) : c; }

// How a reference stands to a valid base with the given scheme.
Kind Classify(const std::string& baseScheme, bool hierarchical, const std::string& reference) {
  // Tabs and line ends go wherever they stand; then blanks and controls at both ends.
  std::string text;
  for (char c : reference) {
    if (c != '\t' && c != '\n' && c != '\r') text += c;
  }
  std::size_t first = 0, last = text.size();
  while (first < last && static_cast<unsigned char>(text[first]) <= 0x20) ++first;
  while (last > first && static_cast<unsigned char>(text[last - 1]) <= 0x20) --last;
  text = text.substr(first, last - first);
  if (text.empty()) return Kind::kSameDocument;

  const std::size_t colon = text.find(':');
  if (colon == std::string::npos || colon == 0) {
    return hierarchical ? Kind::kRelative : Kind::kUnresolvable;
  }
  std::string scheme = text.substr(0, colon);
  for (char& c : scheme) {
    // A colon behind anything but scheme characters is no scheme's.
    if (!IsSchemeChar(static_cast<unsigned char>(c))) return Kind::kRelative;
    c = Lower(c);
  }
  if (scheme != baseScheme || !hierarchical) return Kind::kAbsolute;
  const std::string after = text.substr(colon + 1);
  if (after.empty()) return Kind::kSameDocument;
  const std::size_t slashes = after.find_first_not_of("/\\");
  return (slashes == std::string::npos ? after.size() : slashes) >= 2 ? Kind::kAbsolute
                                                                      : Kind::kRelative;
}

bool IsAscii(const std::string& text) {
  for (unsigned char c : text) {
    if (c >= 0x80) return false;
  }
  return true;
}

GURL CheckResolve(const GURL& base, const std::string& reference) {
  const GURL result = base.Resolve(reference);
  fuzzsupport::CheckRanges(result);
  if (IsAscii(reference)) {
    FUZZ_CHECK(base.Resolve(base::ASCIIToUTF16(reference)).possibly_invalid_spec() ==
               result.possibly_invalid_spec());
  }
  if (!base.is_valid()) {
    FUZZ_CHECK(result.is_empty() && !result.is_valid());
    return result;
  }

  const bool hierarchical = base.IsStandard();
  const Kind kind = Classify(base.scheme(), hierarchical, reference);
  switch (kind) {
    case Kind::kAbsolute: {
      const GURL alone(reference);
      FUZZ_CHECK(result.is_valid() == alone.is_valid());
      FUZZ_CHECK(result.possibly_invalid_spec() == (alone.is_valid() ? alone.spec() : ""));
      break;
    }
    case Kind::kUnresolvable:
      FUZZ_CHECK(result.is_empty() && !result.is_valid());
      break;
    case Kind::kSameDocument: {
      const url_parse::Parsed& parsed = base.parsed_for_possibly_invalid_spec();
      if (parsed.path.len <= 0) {
        FUZZ_CHECK(result.is_empty());
        break;
      }
      const std::string& spec = base.spec();
      FUZZ_CHECK(result.spec() ==
                 (parsed.ref.len >= 0 ? spec.substr(0, parsed.ref.begin - 1) : spec));
      break;
    }
    case Kind::kRelative:
      FUZZ_CHECK(result.is_empty() || (result.is_valid() && result.scheme() == base.scheme()));
      break;
  }
  fuzzsupport::CheckStable(result,
                           !result.SchemeIsFile() && (kind == Kind::kAbsolute || hierarchical));
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t split = input.find('\n');
  const GURL base(input.substr(0, split));
  const std::string reference =
      split == std::string::npos ? std::string() : input.substr(split + 1);

  const GURL result = CheckResolve(base, reference);
  if (result.is_valid()) CheckResolve(result, result.spec());
  return 0;
}
