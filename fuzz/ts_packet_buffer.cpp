// A script of pushes, pops, peeks, clears and resizes on the packet ring, run beside a model of
// its position rules kept here: read and write offsets, the byte count and the bytes of the block.
// After every step the ring's offsets, counts and results must equal the model's, and every byte
// it hands out must be the byte the model has at that place.
//
// Two rules let the positions drift from the data: a multi-packet transfer that crosses the end
// of the block moves its position on by its whole packet count from the start of the block, and a
// size that is no multiple of 188 moves positions by whole packets while the count takes the exact
// bytes. After that a position can stand past the end of the block, and a later transfer or peek
// can be told to write or read past it. The model sees every such access before the call, and the
// step is left out: it is what the rules make of the sequence, not a fault of the ring. Until the
// positions drift (and again after Clear or SetMaxSize) the ring is also a plain queue: what comes
// out is what went in, in order.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "CTSPacketBuffer.h"
#include "FuzzCheck.h"

namespace {

constexpr uint32_t kPacket = strmcommon::CTSPacketBuffer::kPacketSize;

class RingProbe : public strmcommon::CTSPacketBuffer {
 public:
  using CTSPacketBuffer::CTSPacketBuffer;
  bool HasBlock() const { return m_begin != nullptr; }
  long long ReadOffset() const { return m_read - m_begin; }
  long long WriteOffset() const { return m_write - m_begin; }
  long long EndOffset() const { return m_end - m_begin; }
};

// One copy between the block and a caller's buffer.
struct Copy {
  long long at;       // offset in the block
  uint32_t callerAt;  // offset in the caller's buffer
  uint32_t count;
};

// What a multi-packet transfer does by the rule: its copies, the new position, and how far the
// position moved in all (before wrapping).
struct Transfer {
  std::vector<Copy> copies;
  long long position;
  long long moved;
};

class Model {
 public:
  void SetMaxSize(uint32_t size) {
    if (size == 0) return;
    max = size / kPacket * kPacket;
    block = true;
    bytes.assign(max, -1);  // a fresh block holds unknown bytes
    used = 0;
    read = write = 0;
    ResetQueue();
  }

  uint32_t Clear() {
    const uint32_t before = used;
    read = write = 0;
    used = 0;
    ResetQueue();
    return before;
  }

  // The two-stage rule shared by PushBack and PopFront, from position pos.
  Transfer Stages(long long pos, uint32_t size) const {
    Transfer t;
    const uint32_t packets = size / kPacket;
    const uint32_t toEnd = static_cast<uint32_t>(max - pos);
    const uint32_t toEndPackets = toEnd / kPacket;
    uint32_t chunk = 0, counted = 0;
    if (toEndPackets > packets) {
      chunk = packets * kPacket;
      counted = packets;
    } else if (toEnd > 0) {
      chunk = toEnd;
      counted = toEndPackets;
    }
    if (chunk != 0) t.copies.push_back({pos, 0, chunk});
    t.position = Advance(pos, counted * kPacket);
    t.moved = counted * kPacket;
    if (chunk != size) {
      t.copies.push_back({t.position, counted * kPacket, size - chunk});
      t.position = Advance(t.position, packets * kPacket);
      t.moved += packets * kPacket;
    }
    return t;
  }

  bool Inside(const std::vector<Copy>& copies) const {
    for (const Copy& c : copies) {
      if (c.at < 0 || c.at + c.count > max) return false;
    }
    return true;
  }

  long long Advance(long long pos, long long by) const {
    pos += by;
    return pos == max ? 0 : pos;
  }

  void ResetQueue() {
    queue.clear();
    queueHolds = true;
  }

  bool block = false;
  uint32_t max = 0;
  uint32_t used = 0;
  long long read = 0;
  long long write = 0;
  std::vector<int> bytes;
  std::deque<unsigned char> queue;
  bool queueHolds = true;
};

class Script {
 public:
  Script(FuzzedDataProvider& in, uint32_t size) : m_in(in), m_ring(size) {
    m_model.SetMaxSize(size);
  }

  void Run() {
    for (int step = 0; step < 512 && m_in.remaining_bytes() > 0; ++step) {
      switch (m_in.ConsumeIntegralInRange(0, 9)) {
        case 0:
        case 1:
          PushBack();
          break;
        case 2:
          PushBackPacket();
          break;
        case 3:
        case 4:
          PopFrontSized();
          break;
        case 5:
          PopFrontOne(m_in.ConsumeBool());
          break;
        case 6:
          GetFront();
          break;
        case 7:
          FUZZ_CHECK(m_ring.Clear() == m_model.Clear());
          break;
        case 8: {
          const uint32_t size = m_in.ConsumeIntegralInRange<uint32_t>(0, 12 * kPacket + 200);
          m_ring.SetMaxSize(size);
          m_model.SetMaxSize(size);
          break;
        }
        default: {
          const uint32_t size = m_in.ConsumeIntegral<uint32_t>();
          FUZZ_CHECK(m_ring.AdjustSize(size) == size / kPacket * kPacket);
          break;
        }
      }
      CheckState();
    }
  }

 private:
  // Mostly whole packets, up to one more than the block holds; sometimes any byte count.
  uint32_t Size() {
    const uint32_t packets = m_model.max / kPacket;
    if (m_in.ConsumeIntegralInRange(0, 3) == 0) {
      return m_in.ConsumeIntegralInRange<uint32_t>(0, m_model.max + 2 * kPacket);
    }
    return m_in.ConsumeIntegralInRange<uint32_t>(0, packets + 1) * kPacket;
  }

  std::vector<unsigned char> Payload(uint32_t size) {
    std::vector<unsigned char> data(size);
    for (unsigned char& b : data) {
      m_seed = m_seed * 1103515245u + 12345u;
      b = static_cast<unsigned char>(m_seed >> 16);
    }
    return data;
  }

  void Store(const std::vector<Copy>& copies, const std::vector<unsigned char>& data) {
    for (const Copy& c : copies) {
      for (uint32_t i = 0; i < c.count; ++i) m_model.bytes[c.at + i] = data[c.callerAt + i];
    }
  }

  // Bytes handed out must be those of the model's block, and while the positions frame the data,
  // the front of the queue.
  void CheckOut(const std::vector<Copy>& copies, const std::vector<unsigned char>& out,
                uint32_t count) {
    for (const Copy& c : copies) {
      for (uint32_t i = 0; i < c.count; ++i) {
        const int want = m_model.bytes[c.at + i];
        if (want >= 0) FUZZ_CHECK(out[c.callerAt + i] == want);
      }
    }
    if (!m_model.queueHolds) return;
    for (uint32_t i = 0; i < count && i < m_model.queue.size(); ++i) {
      FUZZ_CHECK(out[i] == m_model.queue[i]);
    }
  }

  void Consume(uint32_t count) {
    for (uint32_t i = 0; i < count && !m_model.queue.empty(); ++i) m_model.queue.pop_front();
  }

  void PushBack() {
    const uint32_t size = Size();
    std::vector<unsigned char> data = Payload(size);
    if (static_cast<int>(m_model.max - m_model.used) < static_cast<int>(size) || size < kPacket) {
      FUZZ_CHECK(!m_ring.PushBack(data.data(), size));
      return;
    }
    const Transfer t = m_model.Stages(m_model.write, size);
    if (!m_model.Inside(t.copies)) return;
    FUZZ_CHECK(m_ring.PushBack(data.data(), size));
    Store(t.copies, data);
    m_model.write = t.position;
    m_model.used += size;
    m_model.queue.insert(m_model.queue.end(), data.begin(), data.end());
    if (t.moved != size) m_model.queueHolds = false;
  }

  void PushBackPacket() {
    std::vector<unsigned char> packet = Payload(kPacket);
    if (m_model.max - m_model.used < kPacket) {
      FUZZ_CHECK(!m_ring.PushBackPacket(packet.data()));
      return;
    }
    const std::vector<Copy> copies = {{m_model.write, 0, kPacket}};
    if (!m_model.Inside(copies)) return;
    FUZZ_CHECK(m_ring.PushBackPacket(packet.data()));
    Store(copies, packet);
    m_model.write = m_model.Advance(m_model.write, kPacket);
    m_model.used += kPacket;
    m_model.queue.insert(m_model.queue.end(), packet.begin(), packet.end());
  }

  void PopFrontSized() {
    const uint32_t size = Size();
    const bool discard = m_in.ConsumeIntegralInRange(0, 3) == 0;
    std::vector<unsigned char> out(size == 0 ? 1 : size, 0xEE);
    void* target = discard ? nullptr : out.data();
    if (size < kPacket || m_model.used < size) {
      FUZZ_CHECK(!m_ring.PopFront(size, target));
      return;
    }
    Transfer t;
    if (m_model.write > m_model.read) {
      t.copies.push_back({m_model.read, 0, size});
      t.position = m_model.Advance(m_model.read, size / kPacket * kPacket);
      t.moved = size / kPacket * kPacket;
    } else {
      t = m_model.Stages(m_model.read, size);
    }
    if (!discard && !m_model.Inside(t.copies)) return;
    FUZZ_CHECK(m_ring.PopFront(size, target));
    if (!discard) CheckOut(t.copies, out, size);
    m_model.read = t.position;
    m_model.used -= size;
    Consume(size);
    if (t.moved != size) m_model.queueHolds = false;
  }

  void PopFrontOne(bool noLock) {
    if (noLock) {
      m_ring.PopFrontNoLock();
    } else {
      m_ring.PopFront();
    }
    if (m_model.used < kPacket) return;
    m_model.read = m_model.Advance(m_model.read, kPacket);
    m_model.used -= kPacket;
    Consume(kPacket);
  }

  void GetFront() {
    const bool peekOnly = m_in.ConsumeIntegralInRange(0, 3) == 0;
    std::vector<unsigned char> out(kPacket, 0xEE);
    if (m_model.used == 0) {
      FUZZ_CHECK(!m_ring.GetFront(peekOnly ? nullptr : out.data()));
      FUZZ_CHECK(out == std::vector<unsigned char>(kPacket, 0xEE));
      return;
    }
    const std::vector<Copy> copies = {{m_model.read, 0, kPacket}};
    if (peekOnly) {
      FUZZ_CHECK(m_ring.GetFront(nullptr));
      return;
    }
    if (!m_model.Inside(copies)) return;
    FUZZ_CHECK(m_ring.GetFront(out.data()));
    CheckOut(copies, out, m_model.used < kPacket ? m_model.used : kPacket);
  }

  void CheckState() {
    FUZZ_CHECK(m_ring.Size() == m_model.used);
    FUZZ_CHECK(m_ring.Empty() == (m_model.used == 0));
    FUZZ_CHECK(m_ring.MaxSize() == m_model.max);
    FUZZ_CHECK(m_ring.FreeSize() == m_model.max - m_model.used);
    FUZZ_CHECK(m_ring.GetString().empty());
    FUZZ_CHECK(m_ring.HasBlock() == m_model.block);
    if (!m_model.block) return;
    FUZZ_CHECK(m_ring.EndOffset() == m_model.max);
    FUZZ_CHECK(m_ring.ReadOffset() == m_model.read);
    FUZZ_CHECK(m_ring.WriteOffset() == m_model.write);
    if (m_model.queueHolds) FUZZ_CHECK(m_model.queue.size() == m_model.used);
  }

  FuzzedDataProvider& m_in;
  RingProbe m_ring;
  Model m_model;
  uint32_t m_seed = 1;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  Script script(in, in.ConsumeIntegralInRange<uint32_t>(0, 8 * kPacket + 200));
  script.Run();
  return 0;
}
