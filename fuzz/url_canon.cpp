// Canonicalises arbitrary bytes as a URL and resolves them against a few bases, checking: every
// component range lies inside the text; on ASCII input the 16-bit path gives the same result as
// the 8-bit one; a valid result canonicalises to itself.
//
// The last holds in one pass for text without '%' (not counting a ref, see StablePart). Beyond
// that the rules make some results change on a later pass, which is intended; there the check is
// that the text settles within a few passes:
// - a '%' that starts no escape is kept, and a decoded escape after it can complete a new one
//   ("/%4%41" gives "/%4A", which gives "/J");
// - a file parse drops extra leading slashes, and removing a "." segment can make new ones
//   ("file:///.//x" gives "file:////x", which gives "file:///x");
// - a network-path reference against a file base is resolved with the standard rules and keeps
//   user information and port, which a file parse reads as part of the host;
// - a text whose "scheme" holds invalid characters counts as relative even against "mailto:x",
//   and is resolved with hierarchical rules ("a?b#c" gives "mailto:a?b#c", whose '#' a mailto
//   parse then puts into the query).
#include "url_canon.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "gurl.h"
#include "string16.h"
#include "url_parse.h"

namespace {

struct Base {
  const char* text;
  bool hierarchical;
};

const Base kBases[] = {
    {"http://user:pw@example.com:8080/a/b/c.m3u8?token=1#frag", true},
    {"file:///var/media/list.m3u8", true},
    {"https://[::1]/seg/", true},
    {"mailto:someone@example.com", false},
    {"data:text/plain,hello", false},
};

void Check(bool condition) {
  if (!condition) abort();
}

void CheckComponent(const url_parse::Component& comp, size_t textLen) {
  if (comp.len == -1) return;
  Check(comp.len >= 0);
  Check(comp.begin >= 0);
  Check(static_cast<size_t>(comp.begin) + static_cast<size_t>(comp.len) <= textLen);
}

void CheckRanges(const GURL& url) {
  const url_parse::Parsed& p = url.parsed_for_possibly_invalid_spec();
  size_t len = url.possibly_invalid_spec().size();
  CheckComponent(p.scheme, len);
  CheckComponent(p.username, len);
  CheckComponent(p.password, len);
  CheckComponent(p.host, len);
  CheckComponent(p.port, len);
  CheckComponent(p.path, len);
  CheckComponent(p.query, len);
  CheckComponent(p.ref, len);
  // The accessors must not throw on anything canonicalisation leaves.
  url.host();
  url.path();
  url.query();
}

// The text up to the ref, and the ref too when it is ASCII. A ref holding U+FFFD is not stable
// by design: without Unicode support each of its three bytes becomes U+FFFD again on the next
// pass.
std::string StablePart(const GURL& url) {
  const std::string& spec = url.possibly_invalid_spec();
  const url_parse::Component& ref = url.parsed_for_possibly_invalid_spec().ref;
  if (ref.len <= 0) return spec;
  for (int i = ref.begin; i < ref.end(); i++) {
    if (static_cast<unsigned char>(spec[i]) >= 0x80) return spec.substr(0, ref.begin);
  }
  return spec;
}

// A valid URL canonicalises to itself when |strict| and its text holds no '%'; otherwise its text
// settles within a pass per '%' plus a few.
void CheckStable(const GURL& url, bool strict) {
  if (!url.is_valid()) return;
  std::string text = StablePart(url);
  int percents = static_cast<int>(std::count(text.begin(), text.end(), '%'));
  if (strict && percents == 0) {
    GURL again(url.spec());
    Check(again.is_valid());
    Check(StablePart(again) == text);
    return;
  }
  GURL current(url);
  for (int pass = 0; pass < percents + 3; pass++) {
    // The next pass starts from the stable part, so a growing ref can't blow up the text.
    GURL next(StablePart(current));
    CheckRanges(next);
    if (StablePart(next) == StablePart(current)) return;
    current = next;
  }
  Check(false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  std::string text(reinterpret_cast<const char*>(data), size);

  GURL url(text);
  CheckRanges(url);
  CheckStable(url, !url.SchemeIsFile());

  bool ascii = true;
  for (unsigned char ch : text) ascii &= ch < 0x80;
  if (ascii) {
    GURL wide(base::ASCIIToUTF16(text));
    Check(wide.is_valid() == url.is_valid());
    Check(wide.possibly_invalid_spec() == url.possibly_invalid_spec());
  }

  for (const Base& entry : kBases) {
    GURL base{std::string(entry.text)};
    GURL resolved = base.Resolve(text);
    CheckRanges(resolved);
    CheckStable(resolved, entry.hierarchical && !resolved.SchemeIsFile());
    if (ascii) {
      GURL resolvedWide = base.Resolve(base::ASCIIToUTF16(text));
      Check(resolvedWide.possibly_invalid_spec() == resolved.possibly_invalid_spec());
    }
  }
  return 0;
}
