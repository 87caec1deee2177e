// A producer and a consumer thread moving packets through a small ring.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "CTSPacketBuffer.h"

using strmcommon::CTSPacketBuffer;

namespace {

constexpr unsigned int kPkt = 188;
// Far beyond a run on a loaded machine: a hang fails the test instead of stalling it.
constexpr auto kDeadline = std::chrono::seconds(240);

// Bytes that packet bodies are cut from, at an offset that depends on the packet number.
struct Pattern {
  Pattern() {
    for (unsigned int i = 0; i < sizeof bytes; ++i)
      bytes[i] = static_cast<unsigned char>(i * 31 + 7);
  }
  unsigned char bytes[251 + kPkt];
};
const Pattern kPattern;

// Packet number seq: sync byte, the number in bytes 1..4, then a body that depends on it. Whole
// block copies keep the run short under ThreadSanitizer too.
void MakePacket(unsigned int seq, unsigned char* p) {
  memcpy(p, kPattern.bytes + seq % 251, kPkt);
  p[0] = 0x47;
  p[1] = static_cast<unsigned char>(seq >> 24);
  p[2] = static_cast<unsigned char>(seq >> 16);
  p[3] = static_cast<unsigned char>(seq >> 8);
  p[4] = static_cast<unsigned char>(seq);
}

struct RunState {
  std::atomic<bool> stop{false};
  std::atomic<unsigned int> mismatches{0};
  std::atomic<unsigned int> consumed{0};
};

// Wakes the side that found the ring full or empty once the other side has moved. The ring
// itself never blocks, and yielding in a loop on it stalls for a whole time slice per turn once
// other work shares the cores; so a side that finds no room or no data sleeps until the other
// side rings.
class Doorbell {
 public:
  // Called after each push or pop.
  void Ring() {
    m_rings.fetch_add(1);
    if (m_sleepers.load() == 0) return;
    // Taking the lock once orders this ring against a sleeper between its test and its sleep.
    { std::lock_guard<std::mutex> guard(m_lock); }
    m_rung.notify_all();
  }

  // Retries `attempt` until it succeeds. False once the deadline has passed or the run was
  // stopped.
  template <typename Attempt>
  bool Until(Attempt attempt, std::chrono::steady_clock::time_point deadline, RunState& run) {
    for (;;) {
      const unsigned long seen = m_rings.load();
      if (attempt()) return true;
      if (run.stop) return false;
      // Counted as a sleeper before the last test: a ring after it sees the count and wakes us.
      m_sleepers.fetch_add(1);
      bool rung = false;
      {
        std::unique_lock<std::mutex> lock(m_lock);
        rung = m_rung.wait_until(lock, deadline, [&] { return m_rings.load() != seen; });
      }
      m_sleepers.fetch_sub(1);
      if (!rung) {
        run.stop = true;
        return false;
      }
    }
  }

 private:
  std::atomic<unsigned long> m_rings{0};
  std::atomic<int> m_sleepers{0};
  std::mutex m_lock;
  std::condition_variable m_rung;
};

}  // namespace

TEST(CTSPacketBufferThreads, MillionSinglePacketsArriveInOrderAndIntact) {
  constexpr unsigned int kCount = 1000000;
  CTSPacketBuffer ring(32 * kPkt);
  RunState run;
  Doorbell pushed;
  Doorbell popped;
  const auto deadline = std::chrono::steady_clock::now() + kDeadline;

  std::thread producer([&] {
    unsigned char packet[kPkt];
    for (unsigned int seq = 0; seq < kCount && !run.stop; ++seq) {
      MakePacket(seq, packet);
      if (!popped.Until([&] { return ring.PushBackPacket(packet); }, deadline, run)) return;
      pushed.Ring();
    }
  });
  std::thread consumer([&] {
    unsigned char expected[kPkt];
    unsigned char got[kPkt];
    for (unsigned int seq = 0; seq < kCount && !run.stop; ++seq) {
      if (!pushed.Until([&] { return ring.GetFront(got); }, deadline, run)) return;
      ring.PopFront();
      popped.Ring();
      MakePacket(seq, expected);
      if (memcmp(expected, got, kPkt) != 0 && run.mismatches++ == 0) {
        ADD_FAILURE() << "packet " << seq << " arrived out of order or damaged";
      }
      run.consumed = seq + 1;
    }
  });
  producer.join();
  consumer.join();

  EXPECT_FALSE(run.stop) << "deadline passed after " << run.consumed << " packets";
  EXPECT_EQ(run.consumed, kCount);
  EXPECT_EQ(run.mismatches, 0u);
  EXPECT_TRUE(ring.Empty());
}

TEST(CTSPacketBufferThreads, SevenPacketChunksThroughARingOfWholeChunksArriveIntact) {
  // A ring that holds a whole number of chunks: no transfer crosses the end of the block.
  constexpr unsigned int kChunk = 7;
  constexpr unsigned int kChunks = 20000;
  CTSPacketBuffer ring(4 * kChunk * kPkt);
  RunState run;
  Doorbell pushed;
  Doorbell popped;
  const auto deadline = std::chrono::steady_clock::now() + kDeadline;

  std::thread producer([&] {
    std::vector<unsigned char> chunk(kChunk * kPkt);
    for (unsigned int c = 0; c < kChunks && !run.stop; ++c) {
      for (unsigned int k = 0; k < kChunk; ++k) MakePacket(c * kChunk + k, &chunk[k * kPkt]);
      if (!popped.Until([&] { return ring.PushBack(chunk.data(), kChunk * kPkt); }, deadline, run))
        return;
      pushed.Ring();
    }
  });
  std::thread consumer([&] {
    std::vector<unsigned char> got(kChunk * kPkt);
    unsigned char expected[kPkt];
    for (unsigned int c = 0; c < kChunks && !run.stop; ++c) {
      if (!pushed.Until([&] { return ring.PopFront(kChunk * kPkt, got.data()); }, deadline, run))
        return;
      popped.Ring();
      for (unsigned int k = 0; k < kChunk; ++k) {
        MakePacket(c * kChunk + k, expected);
        if (memcmp(expected, &got[k * kPkt], kPkt) != 0 && run.mismatches++ == 0) {
          ADD_FAILURE() << "chunk " << c << " packet " << k << " damaged";
        }
      }
      run.consumed = c + 1;
    }
  });
  producer.join();
  consumer.join();

  EXPECT_FALSE(run.stop) << "deadline passed after " << run.consumed << " chunks";
  EXPECT_EQ(run.consumed, kChunks);
  EXPECT_EQ(run.mismatches, 0u);
  EXPECT_TRUE(ring.Empty());
}
