// Case-insensitive comparison and first-occurrence replacement on two texts from the input, each
// against a model of its rule: vas_iequal folds only a-z (by clearing bit 5) and needs equal
// lengths, a null pointer is unequal to everything; vas_strncasecmp folds A-Z the other way, gives
// the raw difference at a terminator and 0 for a null pointer; vas_replace_first changes the first
// occurrence only, and an empty pattern puts the replacement in front.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzCheck.h"
#include "StringHelper.h"

namespace {

unsigned char Upper(unsigned char c) { return (c >= 'a' && c <= 'z') ? c & ~0x20 : c; }
unsigned char Lower(unsigned char c) { return (c >= 'A' && c <= 'Z') ? c | 0x20 : c; }

bool FoldEqual(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (Upper(a[i]) != Upper(b[i])) return false;
  }
  return true;
}

int CaseCompare(const std::string& a, const std::string& b, unsigned int n) {
  // Both texts as C strings: a byte past the terminator is never reached.
  for (unsigned int i = 0; i < n; ++i) {
    const unsigned char x = i < a.size() ? a[i] : 0;
    const unsigned char y = i < b.size() ? b[i] : 0;
    if (x == 0 || y == 0) return x - y;
    if (Lower(x) != Lower(y)) return Lower(x) - Lower(y);
  }
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using strmcommon::vas_iequal;
  FuzzedDataProvider in(data, size);
  const unsigned int n = in.ConsumeIntegralInRange<unsigned int>(0, 64);
  const std::string a = in.ConsumeRandomLengthString(128);
  const std::string b = in.ConsumeRandomLengthString(128);
  const std::string to = in.ConsumeRandomLengthString(32);
  // The C-string forms see each text up to its first NUL.
  const std::string ca = a.c_str();
  const std::string cb = b.c_str();

  FUZZ_CHECK(vas_iequal(a, b) == FoldEqual(a, b));
  FUZZ_CHECK(vas_iequal(a.c_str(), b.c_str()) == FoldEqual(ca, cb));
  FUZZ_CHECK(vas_iequal(a, b.c_str()) == FoldEqual(a, cb));
  FUZZ_CHECK(vas_iequal(a.c_str(), b) == FoldEqual(ca, b));
  FUZZ_CHECK(!vas_iequal(static_cast<const char*>(nullptr), b.c_str()));
  FUZZ_CHECK(!vas_iequal(a.c_str(), static_cast<const char*>(nullptr)));

  FUZZ_CHECK(strmcommon::vas_strncasecmp(a.c_str(), b.c_str(), n) == CaseCompare(ca, cb, n));
  FUZZ_CHECK(strmcommon::vas_strncasecmp(nullptr, b.c_str(), n) == 0);
  FUZZ_CHECK(strmcommon::vas_strncasecmp(a.c_str(), nullptr, n) == 0);

  std::string target = a;
  std::string expected = a;
  const std::size_t at = a.find(cb);
  if (at != std::string::npos) expected = a.substr(0, at) + to + a.substr(at + cb.size());
  std::string& result = strmcommon::vas_replace_first(target, b.c_str(), to);
  FUZZ_CHECK(&result == &target);
  FUZZ_CHECK(target == expected);
  return 0;
}
