// Checks on GURL values shared by the URL targets: every component range lies inside the text,
// and a valid URL is canonical, i.e. canonicalising its text again gives the same text.
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
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

#include "FuzzCheck.h"
#include "gurl.h"
#include "url_parse.h"

namespace fuzzsupport {

inline void CheckComponent(const url_parse::Component& comp, std::size_t textLen) {
  if (comp.len == -1) return;
  FUZZ_CHECK(comp.len >= 0);
  FUZZ_CHECK(comp.begin >= 0);
  FUZZ_CHECK(static_cast<std::size_t>(comp.begin) + static_cast<std::size_t>(comp.len) <= textLen);
}

inline void CheckRanges(const GURL& url) {
  const url_parse::Parsed& p = url.parsed_for_possibly_invalid_spec();
  const std::size_t len = url.possibly_invalid_spec().size();
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
inline std::string StablePart(const GURL& url) {
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
inline void CheckStable(const GURL& url, bool strict) {
  if (!url.is_valid()) return;
  const std::string text = StablePart(url);
  const int percents = static_cast<int>(std::count(text.begin(), text.end(), '%'));
  if (strict && percents == 0) {
    GURL again(url.spec());
    FUZZ_CHECK(again.is_valid());
    FUZZ_CHECK(StablePart(again) == text);
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
  FUZZ_CHECK(false);
}

}  // namespace fuzzsupport
