// A script of appends, sized pops, peeks and clears on the string byte queue, against a plain
// queue: pushes always succeed, a pop of more than is held fails and changes nothing, a pop hands
// out exactly the oldest bytes, GetFront never succeeds and leaves its buffer alone, and the fixed
// sizes (0x7FFFFFF maximum, 2 MiB less the held bytes as free room) hold throughout. The wrap of
// the free room past 2 MiB is left to the unit tests: megabytes per run would slow the search.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "StringBuffer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  strmcommon::StringBuffer buffer(in.ConsumeIntegralInRange<unsigned int>(0, 4096));
  std::string model;

  for (int step = 0; step < 256 && in.remaining_bytes() > 0; ++step) {
    switch (in.ConsumeIntegralInRange(0, 6)) {
      case 0:
      case 1: {
        std::string bytes = in.ConsumeRandomLengthString(512);
        FUZZ_CHECK(buffer.PushBack(bytes.data(), static_cast<unsigned int>(bytes.size())));
        model += bytes;
        break;
      }
      case 2:
      case 3: {
        const unsigned int count =
            in.ConsumeIntegralInRange<unsigned int>(0, static_cast<unsigned int>(model.size()) + 8);
        // Exactly sized, so a copy of more than count bytes is caught.
        std::vector<char> out(count == 0 ? 1 : count, '\x7F');
        const bool popped = buffer.PopFront(count, out.data());
        FUZZ_CHECK(popped == (count <= model.size()));
        if (popped) {
          FUZZ_CHECK(std::string(out.data(), count) == model.substr(0, count));
          model.erase(0, count);
        } else {
          FUZZ_CHECK(out == std::vector<char>(out.size(), '\x7F'));
        }
        break;
      }
      case 4: {
        std::vector<char> out(188, '\x7F');
        FUZZ_CHECK(!buffer.GetFront(out.data()));
        FUZZ_CHECK(out == std::vector<char>(188, '\x7F'));
        buffer.PopFront();
        buffer.SetMaxSize(in.ConsumeIntegral<unsigned int>());
        break;
      }
      case 5:
        FUZZ_CHECK(buffer.Clear() == model.size());
        model.clear();
        break;
      default:
        FUZZ_CHECK(buffer.AdjustSize(in.ConsumeIntegral<unsigned int>()) == 0x7FFFFFFu);
        break;
    }
    FUZZ_CHECK(buffer.Size() == model.size());
    FUZZ_CHECK(buffer.Empty() == model.empty());
    FUZZ_CHECK(buffer.GetString() == model);
    FUZZ_CHECK(buffer.MaxSize() == 0x7FFFFFFu);
    FUZZ_CHECK(buffer.FreeSize() == 0x200000u - static_cast<unsigned int>(model.size()));
  }
  return 0;
}
