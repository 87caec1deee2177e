// A producer and a consumer thread moving packets through a small ring.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include "CTSPacketBuffer.h"

using strmcommon::CTSPacketBuffer;

namespace {

constexpr unsigned int kPkt = 188;

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

// Gives up when the deadline passes, so that a hang fails the test instead of stalling it.
bool PastDeadline(std::chrono::steady_clock::time_point deadline, RunState& run) {
  if (std::chrono::steady_clock::now() < deadline) return false;
  run.stop = true;
  return true;
}

}  // namespace

TEST(CTSPacketBufferThreads, MillionSinglePacketsArriveInOrderAndIntact) {
  constexpr unsigned int kCount = 1000000;
  CTSPacketBuffer ring(32 * kPkt);
  RunState run;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(240);

  std::thread producer([&] {
    unsigned char packet[kPkt];
    for (unsigned int seq = 0; seq < kCount && !run.stop; ++seq) {
      MakePacket(seq, packet);
      while (!ring.PushBackPacket(packet)) {
        if (run.stop || PastDeadline(deadline, run)) return;
        std::this_thread::yield();
      }
    }
  });
  std::thread consumer([&] {
    unsigned char expected[kPkt];
    unsigned char got[kPkt];
    for (unsigned int seq = 0; seq < kCount && !run.stop; ++seq) {
      while (!ring.GetFront(got)) {
        if (run.stop || PastDeadline(deadline, run)) return;
        std::this_thread::yield();
      }
      ring.PopFront();
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
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(240);

  std::thread producer([&] {
    std::vector<unsigned char> chunk(kChunk * kPkt);
    for (unsigned int c = 0; c < kChunks && !run.stop; ++c) {
      for (unsigned int k = 0; k < kChunk; ++k) MakePacket(c * kChunk + k, &chunk[k * kPkt]);
      while (!ring.PushBack(chunk.data(), kChunk * kPkt)) {
        if (run.stop || PastDeadline(deadline, run)) return;
        std::this_thread::yield();
      }
    }
  });
  std::thread consumer([&] {
    std::vector<unsigned char> got(kChunk * kPkt);
    unsigned char expected[kPkt];
    for (unsigned int c = 0; c < kChunks && !run.stop; ++c) {
      while (!ring.PopFront(kChunk * kPkt, got.data())) {
        if (run.stop || PastDeadline(deadline, run)) return;
        std::this_thread::yield();
      }
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
