// The in-place edits of one arbitrary 188-byte transport packet, and the PCR field reader over
// arbitrary bytes. Each edit may change only the bits it owns: ChangePid the PID (byte 2 and the
// low five bits of byte 1), IncreaseCounter and UpdateCounter the continuity counter (the low
// four bits of byte 3). ReadPcrField gives base * 300 plus the six extension bits it reads, or 0
// unless the reserved bits are all ones, where a field that runs past the buffer reads as 0 and
// moves the reader by nothing.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "BitReaderProbe.h"
#include "FuzzCheck.h"
#include "PacketProcessor.h"

namespace {

using strmcommon::CArray;
using strmcommon::IPacketProcessor;
using Packet = CArray<unsigned char, 188>;

// Every byte but those named keeps its value; masks give the bits a byte may change.
void CheckOnlyOwnedBits(const Packet& before, const Packet& after, int index, unsigned char mask,
                        int index2 = -1, unsigned char mask2 = 0) {
  for (int i = 0; i < Packet::Size(); ++i) {
    unsigned char owned = 0;
    if (i == index) owned = mask;
    if (i == index2) owned = mask2;
    FUZZ_CHECK(((before[i] ^ after[i]) & ~owned) == 0);
  }
}

// A read of count bits at bit position pos of an n-byte buffer works when it starts inside the
// buffer and ends at or before its last bit; it moves the position by count. Otherwise it gives
// 0 (the preset) and moves nothing.
unsigned long long ModelRead(const std::vector<unsigned char>& bytes, long long& pos, int count) {
  const long long bits = static_cast<long long>(bytes.size()) * 8;
  if (pos >= bits || pos + count > bits) return 0;
  const unsigned long long value = fuzzsupport::ExtractBits(bytes, pos, count);
  pos += count;
  return value;
}

void CheckPcr(FuzzedDataProvider& in) {
  const int lead = in.ConsumeIntegralInRange(0, 7);
  std::vector<unsigned char> bytes =
      in.ConsumeBytes<unsigned char>(in.ConsumeIntegralInRange(0, 12));
  const int size = static_cast<int>(bytes.size());
  // Reset reads the first byte even of an empty buffer; a copy holds it, the model sees none.
  std::vector<unsigned char> buffer = bytes;
  if (buffer.empty()) buffer.push_back(0);

  fuzzsupport::BitReaderProbe reader;
  reader.Reset(buffer.data(), size);
  long long pos = 0;
  if (lead > 0) {
    unsigned int skipped = 0;
    reader.GetBits(lead, skipped);
    ModelRead(bytes, pos, lead);
  }
  FUZZ_CHECK(reader.BitPos() == pos);

  const unsigned long long high = ModelRead(bytes, pos, 1);
  const unsigned long long low = ModelRead(bytes, pos, 32);
  const unsigned long long reserved = ModelRead(bytes, pos, 6);
  const unsigned long long extension = ModelRead(bytes, pos, 6);
  const unsigned long long expected = reserved == 0x3F ? ((high << 32) | low) * 300 + extension : 0;
  FUZZ_CHECK(IPacketProcessor::ReadPcrField(reader) == expected);
  FUZZ_CHECK(reader.BitPos() == pos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  const int pid = in.ConsumeIntegral<int>();
  int counter = in.ConsumeIntegral<int>();
  Packet packet;
  for (int i = 0; i < Packet::Size(); ++i) packet[i] = in.ConsumeIntegral<unsigned char>();

  Packet before = packet;
  IPacketProcessor::ChangePid(packet, pid);
  CheckOnlyOwnedBits(before, packet, 1, 0x1F, 2, 0xFF);
  FUZZ_CHECK(packet[2] == (pid & 0xFF));
  FUZZ_CHECK((packet[1] & 0x1F) == ((pid >> 8) & 0x1F));

  before = packet;
  IPacketProcessor::IncreaseCounter(packet);
  CheckOnlyOwnedBits(before, packet, 3, 0x0F);
  FUZZ_CHECK((packet[3] & 0x0F) == ((before[3] + 1) & 0x0F));

  before = packet;
  const int oldCounter = counter;
  IPacketProcessor::UpdateCounter(packet, counter);
  CheckOnlyOwnedBits(before, packet, 3, 0x0F);
  FUZZ_CHECK(counter == (((oldCounter & 0xFF) + 1) & 0x0F));
  FUZZ_CHECK((packet[3] & 0x0F) == counter);

  CheckPcr(in);
  return 0;
}
