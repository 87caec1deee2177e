// The key and IV byte helpers, each buffer sized exactly so a write past it is caught:
// - bytes from the input go to hex and back: byteToHexString writes 2 * length upper-case digits
//   and nothing more, and hexStringToByte (with or without "0x", in either case of letters) gives
//   the bytes again, right-aligned behind zeros in a larger buffer;
// - hexStringToByte and stringToiv on the rest of the input as text, against a model that takes
//   whole digit pairs from the end and drops an odd leading digit;
// - sequenceToiv and swapByteOrder against the big-endian layout of the number.
#include <fuzzer/FuzzedDataProvider.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Drm_Common.h"
#include "FuzzCheck.h"

namespace {

constexpr unsigned char kCanary = 0x5A;

unsigned char Nibble(unsigned char c) {
  const unsigned int lower = static_cast<unsigned int>(std::tolower(c));
  return static_cast<unsigned char>(lower > 0x60 ? lower - 0x57 : lower - 0x30);
}

// The bytes hexStringToByte must store into size bytes: the digit pairs counted from the end of
// the text behind its prefix, the last size of them.
std::vector<unsigned char> ModelBytes(const std::string& hex, unsigned int size) {
  std::string digits = hex;
  if (digits.size() >= 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
    digits.erase(0, 2);
  }
  std::vector<unsigned char> out(size, 0);
  std::size_t pairs = digits.size() / 2;
  if (pairs > size) pairs = size;
  for (std::size_t p = 0; p < pairs; ++p) {
    const std::size_t at = digits.size() - 2 * (p + 1);
    out[size - 1 - p] =
        static_cast<unsigned char>((Nibble(static_cast<unsigned char>(digits[at])) << 4) |
                                   Nibble(static_cast<unsigned char>(digits[at + 1])));
  }
  return out;
}

std::size_t ModelCount(const std::string& hex, unsigned int size) {
  std::size_t length = hex.size();
  if (length >= 2 && hex[0] == '0' && (hex[1] == 'x' || hex[1] == 'X')) length -= 2;
  return length / 2 < size ? length / 2 : size;
}

std::string Hex(const std::vector<unsigned char>& bytes) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char b : bytes) {
    text += kDigits[b >> 4];
    text += kDigits[b & 0x0F];
  }
  return text;
}

void CheckHexRoundTrip(const std::vector<unsigned char>& bytes, unsigned int extra) {
  const unsigned int length = static_cast<unsigned int>(bytes.size());
  // One canary byte behind the 2 * length digits: no terminator may be written there.
  std::vector<char> hex(2 * length + 1, static_cast<char>(kCanary));
  std::vector<char> in(bytes.begin(), bytes.end());
  byteToHexString(in.data(), hex.data(), length);
  FUZZ_CHECK(static_cast<unsigned char>(hex[2 * length]) == kCanary);
  const std::string text(hex.data(), 2 * length);
  FUZZ_CHECK(text == Hex(bytes));

  std::string lower = text;
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const std::string& form : {text, "0x" + text, "0X" + lower, lower}) {
    // At least one byte, so the buffer is never null.
    std::vector<unsigned char> out(length + extra + 1, kCanary);
    const int stored = hexStringToByte(form, out.data(), length + extra);
    FUZZ_CHECK(stored == static_cast<int>(length));
    for (unsigned int i = 0; i < extra; ++i) FUZZ_CHECK(out[i] == 0);
    FUZZ_CHECK(std::vector<unsigned char>(out.begin() + extra, out.begin() + extra + length) ==
               bytes);
    FUZZ_CHECK(out[length + extra] == kCanary);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  const unsigned int extra = in.ConsumeIntegralInRange<unsigned int>(0, 16);
  const unsigned int sequence = in.ConsumeIntegral<unsigned int>();
  const unsigned int ivSize = in.ConsumeIntegralInRange<unsigned int>(4, 32);
  const unsigned int outSize = in.ConsumeIntegralInRange<unsigned int>(0, 32);
  const std::vector<unsigned char> bytes =
      in.ConsumeBytes<unsigned char>(in.ConsumeIntegralInRange<std::size_t>(0, 32));
  const std::string text = in.ConsumeRemainingBytesAsString();

  CheckHexRoundTrip(bytes, extra);

  std::vector<unsigned char> out(outSize == 0 ? 1 : outSize, kCanary);
  const int stored = hexStringToByte(text, out.data(), outSize);
  FUZZ_CHECK(stored == static_cast<int>(ModelCount(text, outSize)));
  FUZZ_CHECK(std::vector<unsigned char>(out.begin(), out.begin() + outSize) ==
             ModelBytes(text, outSize));
  std::vector<unsigned char> iv(outSize == 0 ? 1 : outSize, kCanary);
  FUZZ_CHECK(stringToiv(text, iv.data(), outSize) == stored);
  FUZZ_CHECK(std::memcmp(iv.data(), out.data(), outSize) == 0);

  const unsigned int swapped = swapByteOrder(sequence);
  FUZZ_CHECK(swapByteOrder(swapped) == sequence);
  FUZZ_CHECK((swapped & 0xFF) == sequence >> 24 && (swapped >> 24) == (sequence & 0xFF));
  std::vector<unsigned char> seqIv(ivSize, kCanary);
  sequenceToiv(sequence, seqIv.data(), ivSize);
  for (unsigned int i = 0; i + 4 < ivSize; ++i) FUZZ_CHECK(seqIv[i] == 0);
  for (unsigned int i = 0; i < 4; ++i) {
    FUZZ_CHECK(seqIv[ivSize - 4 + i] == ((sequence >> (24 - 8 * i)) & 0xFF));
  }
  return 0;
}
