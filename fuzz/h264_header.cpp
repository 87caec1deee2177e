// Fuzzes the start-code scan, the SPS parse and the resolution over arbitrary bytes.
// Input: one byte that sets the scan's buffer size, then the stream.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "H264_SyntaxReader.h"

using strmcommon::H264HeaderParser;
using strmcommon::H264SequenceSetParse;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  size_t chunk = (data[0] % 32) + 1;
  // An exactly sized copy, so ASan sees any read past the end.
  std::vector<unsigned char> stream(data + 1, data + size);

  H264HeaderParser parser;
  parser.Reset();
  for (size_t at = 0; at < stream.size(); at += chunk) {
    size_t n = stream.size() - at < chunk ? stream.size() - at : chunk;
    std::vector<unsigned char> piece(stream.begin() + at, stream.begin() + at + n);
    int result = parser.ParseHeader(piece.data(), static_cast<int>(n));
    if (result == 0) continue;
    if (result == 1) {
      int offset = parser.GetSpsOffet();
      if (offset < 0 || static_cast<size_t>(offset) >= n) __builtin_trap();
      std::vector<unsigned char> rest(stream.begin() + at + offset + 1, stream.end());
      H264SequenceSetParse sps{};
      if (parser.ParseSPS(rest.data(), static_cast<int>(rest.size()), sps)) {
        int width = 0, height = 0;
        parser.CalcResolution(sps, width, height);
      }
    }
    break;
  }

  // The SPS parse on the whole input as well, with the parser's buffer reused.
  H264SequenceSetParse sps{};
  if (parser.ParseSPS(stream.data(), static_cast<int>(stream.size()), sps)) {
    int width = 0, height = 0;
    parser.CalcResolution(sps, width, height);
  }
  return 0;
}
