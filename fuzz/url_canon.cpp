// Canonicalises arbitrary bytes as a URL and resolves them against a few bases, checking: every
// component range lies inside the text; on ASCII input the 16-bit path gives the same result as
// the 8-bit one; a valid result canonicalises to itself.
#include "url_canon.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "UrlChecks.h"
#include "gurl.h"
#include "string16.h"

namespace {

using fuzzsupport::CheckRanges;
using fuzzsupport::CheckStable;

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
    FUZZ_CHECK(wide.is_valid() == url.is_valid());
    FUZZ_CHECK(wide.possibly_invalid_spec() == url.possibly_invalid_spec());
  }

  for (const Base& entry : kBases) {
    GURL base{std::string(entry.text)};
    GURL resolved = base.Resolve(text);
    CheckRanges(resolved);
    CheckStable(resolved, entry.hierarchical && !resolved.SchemeIsFile());
    if (ascii) {
      GURL resolvedWide = base.Resolve(base::ASCIIToUTF16(text));
      FUZZ_CHECK(resolvedWide.possibly_invalid_spec() == resolved.possibly_invalid_spec());
    }
  }
  return 0;
}
