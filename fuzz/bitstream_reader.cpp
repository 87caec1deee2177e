// Fuzzes BitstreamReader with a script of reads and skips over a buffer, checking every read
// against a plain bit extraction: a read either takes exactly its bits or changes nothing.
// The tail of the input also drives a BitstreamBuilder whose fields are read back.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "BitReaderProbe.h"

using strmcommon::BitstreamBuilder;
using strmcommon::BitstreamReader;

namespace {

using fuzzsupport::ExtractBits;

void Check(bool ok) {
  if (!ok) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  std::vector<unsigned char> buffer =
      in.ConsumeBytes<unsigned char>(in.ConsumeIntegralInRange(0, 64));
  int size32 = static_cast<int>(buffer.size());
  if (buffer.empty()) buffer.push_back(0);  // Reset reads the first byte even for size 0

  fuzzsupport::BitReaderProbe r;
  r.Reset(buffer.data(), size32);
  for (int op = 0; op < 64 && in.remaining_bytes() > 0; ++op) {
    long long before = r.BitPos();
    switch (in.ConsumeIntegralInRange(0, 4)) {
      case 0: {
        int count = in.ConsumeIntegralInRange(0, 32);
        unsigned int v = 0xA5A5A5A5u;
        r.GetBits(count, v);
        long long moved = r.BitPos() - before;
        if (moved == 0 && count != 0) {
          Check(v == 0xA5A5A5A5u);
        } else if (count != 0) {
          Check(moved == count && v == ExtractBits(buffer, before, count));
        }
        break;
      }
      case 1: {
        int count = in.ConsumeIntegralInRange(0, 32);
        int v = -7;
        r.GetBits(count, v);
        long long moved = r.BitPos() - before;
        if (moved == 0 && count != 0) {
          Check(v == -7);
        } else if (count != 0) {
          Check(moved == count &&
                static_cast<unsigned int>(v) == ExtractBits(buffer, before, count));
        }
        break;
      }
      case 2: {
        int count = in.ConsumeIntegralInRange(0, 64);
        unsigned long long v = 0x5A5A5A5A5A5A5A5AULL;
        r.GetBits(count, v);
        long long moved = r.BitPos() - before;
        if (moved == 0 && count != 0) {
          Check(v == 0x5A5A5A5A5A5A5A5AULL);
        } else if (count != 0) {
          Check(moved == count && v == ExtractBits(buffer, before, count));
        }
        break;
      }
      case 3: {
        int count = in.ConsumeIntegralInRange(-4, 600);
        r.SkipBits(count);
        long long moved = r.BitPos() - before;
        Check(moved == 0 || moved == count);
        break;
      }
      default: {
        int count = in.ConsumeIntegralInRange(-4, 80);
        r.SkipBytes(count);
        break;
      }
    }
    Check(r.BitPos() <= size32 * 8LL);
  }

  // Builder: fields written into a fresh buffer come back from the reader.
  std::vector<unsigned char> out(in.ConsumeIntegralInRange(1, 32), 0);
  BitstreamBuilder b;
  b.Reset(out.data(), static_cast<int>(out.size()));
  std::vector<std::pair<unsigned int, int>> fields;
  long long bits = 0;
  while (in.remaining_bytes() > 0 && fields.size() < 64) {
    int count = in.ConsumeIntegralInRange(0, 32);
    unsigned int value = in.ConsumeIntegral<unsigned int>();
    if (count < 32) value &= (1u << count) - 1;
    b.AddBits(value, count);
    if (bits + count <= static_cast<long long>(out.size()) * 8) fields.emplace_back(value, count);
    bits += count;
  }
  BitstreamReader back;
  back.Reset(out.data(), static_cast<int>(out.size()));
  for (const auto& [value, count] : fields) {
    if (count == 0) continue;
    unsigned int v = ~value;
    back.GetBits(count, v);
    Check(v == value);
  }
  return 0;
}
