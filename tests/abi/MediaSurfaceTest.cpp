// The media tools as the engine links them: packets, bit readers and writers, the H.264 header
// parser, transport stream program data, the output buffers and the key and IV helpers.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "EngineViewMedia.h"
#include "Patterned.h"

using abi_probe::Patterned;
using namespace strmcommon;

namespace {

// A baseline sequence parameter set of 1280x720 after its NAL header byte, behind a start code.
const unsigned char kStream[] = {0x00, 0x00, 0x00, 0x01, 0x67, 0x42, 0x00,
                                 0x1F, 0xDA, 0x01, 0x40, 0x16, 0xE8};
constexpr int kSpsHeader = 4;

}  // namespace

TEST(MediaSurface, PacketKeepsItsCursorsInTheDeclaredFields) {
  Patterned<Packet> packet;
  EXPECT_TRUE(packet.TailUntouched());
  EXPECT_EQ(packet->m_size, 0u);
  EXPECT_EQ(packet->m_tag, 0);
  for (double value : packet->m_engineValues) EXPECT_EQ(value, 0.0);
  EXPECT_EQ(packet->m_ptr, nullptr);
  EXPECT_FALSE(packet->m_owned);
  EXPECT_EQ(packet->m_pos, 0u);
  EXPECT_EQ(packet->m_dataPos, 0);

  EXPECT_EQ(packet->PtrAlloc(10), 0);
  EXPECT_TRUE(packet->m_owned);
  EXPECT_EQ(packet->GetSize(), 10u);
  ASSERT_EQ(packet->GetPtr(), packet->m_ptr);
  for (int i = 0; i < 10; ++i) packet->m_ptr[i] = static_cast<unsigned char>(i);
  unsigned char out[2] = {};
  EXPECT_EQ(packet->GetByte(out, 2), 0);
  EXPECT_EQ(out[1], 1);
  EXPECT_EQ(packet->m_pos, 2u);
  packet->UngetByte(1);
  EXPECT_EQ(packet->m_pos, 1u);
  packet->ResetPos();
  EXPECT_EQ(packet->m_pos, 0u);
  packet->SetDataPos(3);
  EXPECT_EQ(packet->m_dataPos, 3);
  EXPECT_EQ(packet->GetDataPtr(), packet->m_ptr + 3);
  EXPECT_EQ(packet->GetDataSize(), 7);
  packet->MoveDataPos(2);
  EXPECT_EQ(packet->GetDataSize(), 5);
  EXPECT_EQ(packet->PtrResize(20), 0);
  EXPECT_EQ(packet->GetSize(), 20u);
  EXPECT_EQ(packet->GetPtr()[9], 9);

  packet->m_tag = 42;
  Packet copy(*packet);
  EXPECT_EQ(copy.m_ptr, packet->m_ptr);
  EXPECT_FALSE(copy.m_owned);
  EXPECT_EQ(copy.m_tag, 42);
  Packet assigned;
  assigned = copy;
  EXPECT_EQ(assigned.GetSize(), 20u);
  unsigned char view[4] = {7, 8, 9, 10};
  assigned.SetPtr(view, 4);
  EXPECT_EQ(assigned.GetPtr(), view);
  assigned.PtrFree();
  EXPECT_EQ(assigned.GetSize(), 0u);
  packet.Destroy();
  EXPECT_TRUE(packet.TailUntouched());
}

TEST(MediaSurface, BitReadersAndWritersWorkOnTheDeclaredRecords) {
  unsigned char bytes[] = {0xAB, 0xCD};
  BitstreamReader reader;
  reader.Reset(bytes, 2);
  EXPECT_EQ(reader.m_start, bytes);
  EXPECT_EQ(reader.m_size, 2);
  EXPECT_EQ(reader.m_cur, bytes);
  EXPECT_EQ(reader.m_curByte, 0xAB);
  EXPECT_EQ(reader.m_bitsLeft, 8);
  int a = -1;
  unsigned int b = 0;
  unsigned long long c = 0;
  reader.GetBits(4, a);
  reader.GetBits(8, b);
  reader.GetBits(4, c);
  EXPECT_EQ(a, 0xA);
  EXPECT_EQ(b, 0xBCu);
  EXPECT_EQ(c, 0xDu);
  reader.Reset(bytes, 2);
  reader.SkipBits(4);
  EXPECT_EQ(reader.m_bitsLeft, 4);
  reader.SkipBytes(1);
  EXPECT_EQ(reader.m_cur, bytes + 1);

  Patterned<BitstreamBuilder> builder;
  EXPECT_TRUE(builder.TailUntouched());
  EXPECT_EQ(builder->m_start, nullptr);
  EXPECT_EQ(builder->m_bitsFree, 8);
  unsigned char written[2] = {0x00, 0xAA};
  builder->Reset(written, 2);
  builder->AddBits(0x3, 2);
  builder->AddBits(0x3F, 6);
  EXPECT_EQ(written[0], 0xFF);
  EXPECT_EQ(builder->m_cur, written + 1);
  EXPECT_EQ(builder->m_accum, 0xAA);
}

TEST(MediaSurface, TheH264ParserFindsAndReadsASequenceParameterSet) {
  Patterned<H264HeaderParser> parser;
  EXPECT_TRUE(parser.TailUntouched());
  EXPECT_EQ(parser->m_zeroCount, 0);
  EXPECT_FALSE(parser->m_startCode);
  EXPECT_EQ(parser->m_packet.m_ptr, nullptr);
  unsigned char stream[sizeof(kStream)];
  std::memcpy(stream, kStream, sizeof(kStream));
  EXPECT_EQ(parser->ParseHeader(stream, sizeof(stream)), 1);
  EXPECT_EQ(parser->m_spsOffset, kSpsHeader);
  EXPECT_EQ(parser->GetSpsOffet(), kSpsHeader);
  H264SequenceSetParse sps = {};
  ASSERT_TRUE(parser->ParseSPS(stream + kSpsHeader + 1, sizeof(stream) - kSpsHeader - 1, sps));
  EXPECT_EQ(sps.pic_order_cnt_type, 2u);
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 79u);
  EXPECT_EQ(sps.pic_height_in_map_units_minus1, 44u);
  EXPECT_EQ(sps.frame_mbs_only_flag, 1u);
  int width = 0, height = 0;
  EXPECT_TRUE(parser->CalcResolution(sps, width, height));
  EXPECT_EQ(width, 1280);
  EXPECT_EQ(height, 720);
  parser->Reset();
  EXPECT_FALSE(parser->m_startCode);
  parser.Destroy();
  EXPECT_TRUE(parser.TailUntouched());
}

TEST(MediaSurface, TheSyntaxReaderWalksThePacketsDataCursor) {
  // se(v) codes 1, 2, 3, 4 as 010 011 00100 00101.
  unsigned char payload[] = {0x4C, 0x85, 0xFF};
  Packet packet;
  packet.SetPtr(payload, sizeof(payload));
  Patterned<H264_SyntaxReader> reader(&packet);
  EXPECT_TRUE(reader.TailUntouched());
  EXPECT_EQ(reader->m_packet, &packet);
  EXPECT_EQ(reader->m_zeroRun, 0);
  EXPECT_EQ(reader->m_unused, 0);
  EXPECT_EQ(reader->m_bitPos, 8u);
  int value = 0;
  const int expected[] = {1, -1, 2, -2};
  for (int want : expected) {
    ASSERT_EQ(reader->ReadSE(value), 0);
    EXPECT_EQ(value, want);
  }
  EXPECT_EQ(packet.m_dataPos, 2);
  unsigned int bits = 0;
  EXPECT_EQ(reader->ReadU(8, bits), 0);
  EXPECT_EQ(bits, 0xFFu);
  EXPECT_EQ(reader->ReadUE(bits), -1);
  EXPECT_EQ(reader->LoadByte(), -9);
  unsigned char next = 1;
  EXPECT_EQ(reader->Increment(next), -9);
  packet.SetDataPos(0);
  reader->m_bitPos = 8;
  EXPECT_EQ(reader->LoadByte(), 0);
  EXPECT_EQ(reader->GetBitIncrement(), 0);
  int zeros = -1;
  EXPECT_EQ(reader->CountGolombLength(zeros), 0);
  EXPECT_EQ(zeros, 0);
  EXPECT_TRUE(read_scaling_list(*reader, 0));
  reader.Destroy();
  EXPECT_TRUE(reader.TailUntouched());
}

TEST(MediaSurface, TransportStreamDataUsesTheDeclaredTableAndPackets) {
  Patterned<TsProcessData> data;
  EXPECT_TRUE(data.TailUntouched());
  ASSERT_EQ(data->m_esTable.size(), 100u);
  for (const TsProcessData::Entry& entry : data->m_esTable) {
    EXPECT_EQ(entry.key, 0xFFFF);
    EXPECT_EQ(entry.info.pid, 0xFFFF);
    EXPECT_EQ(entry.info.pidOrg, -1);
    EXPECT_EQ(entry.info.counter, -1);
    EXPECT_EQ(entry.info.type, kStreamNone);
    EXPECT_FALSE(entry.info.hasPcr);
  }
  EXPECT_EQ(data->m_audioPacket1[0], 0);
  EXPECT_EQ(data->m_audioPacket2[0], 0);
  EXPECT_EQ(data->m_mainPacket1[0], 0);
  EXPECT_EQ(data->m_mainPacket2[0], 0);
  EXPECT_EQ(data->m_audioPmtPid, 0xFFFF);
  EXPECT_EQ(data->m_audioPid, 0xFFFF);
  EXPECT_EQ(data->m_pmtPid, 0xFFFF);
  EXPECT_EQ(data->m_videoPid, 0xFFFF);

  data->UpdateEsInfo(0x100, kStreamVideo, true);
  EXPECT_EQ(data->m_videoPid, 0x100);
  EXPECT_EQ(data->m_esTable[4].key, 0x100);
  EXPECT_EQ(data->GetEsInfo(0x100), &data->m_esTable[4].info);
  data->UpdateEsInfo(0x141, kStreamAudio, kStreamAudio, false);
  EXPECT_EQ(data->m_audioPid, 0x141);
  EXPECT_EQ(data->m_esTable[5].key, 0x141);
  data->SetPmtInfo(0x20);
  EXPECT_EQ(data->m_pmtPid, 0x20);
  data->SetAudioPmtInfo(0x21);
  EXPECT_EQ(data->m_audioPmtPid, 0x21);
  EXPECT_EQ(data->GetEsCounter(0x100), -1);
  data->SetEsCount(0x100, 5);
  EXPECT_EQ(data->GetEsCounter(0x100), 5);
  EXPECT_EQ(data->GetPidOrg(0x123), 0x123);
  EXPECT_TRUE(data->IsElementary(0x100));
  EXPECT_TRUE(data->IsVideo(0x100));
  EXPECT_TRUE(data->IsAudio(0x141));
  EXPECT_TRUE(data->HasPcr(0x100));
  EXPECT_FALSE(data->IsElementary(0x20));
  EsInfo* claimed = data->PutEsInfo(0x300);
  ASSERT_NE(claimed, nullptr);
  data.Destroy();
  EXPECT_TRUE(data.TailUntouched());

  CArray<unsigned char, 188> packet = {};
  packet[1] = 0xE0;
  packet[3] = 0x1F;
  IPacketProcessor::ChangePid(packet, 0x1234);
  EXPECT_EQ(packet[1], 0xE0 | 0x12);
  EXPECT_EQ(packet[2], 0x34);
  IPacketProcessor::IncreaseCounter(packet);
  EXPECT_EQ(packet[3], 0x10);
  int counter = -1;
  IPacketProcessor::UpdateCounter(packet, counter);
  EXPECT_EQ(counter, 0);
  // PCR base 1, reserved bits all set, six extension bits 5.
  unsigned char pcr[] = {0x00, 0x00, 0x00, 0x00, 0xFE, 0x28};
  BitstreamReader reader;
  reader.Reset(pcr, sizeof(pcr));
  EXPECT_EQ(IPacketProcessor::ReadPcrField(reader), 305u);
}

TEST(MediaSurface, StringBufferAnswersThroughTheCombinedTable) {
  Patterned<StringBuffer> buffer(16u);
  EXPECT_TRUE(buffer.TailUntouched());
  EXPECT_GE(buffer->m_buffer.capacity(), 16u);
  IArrayBuffer* queue = buffer.get();
  IOutputBuffer* sink = buffer.get();
  char text[] = "abcd";
  EXPECT_TRUE(sink->PushBack(text, 4));
  EXPECT_FALSE(sink->Empty());
  EXPECT_EQ(sink->Size(), 4u);
  EXPECT_EQ(sink->FreeSize(), 0x200000u - 4);
  EXPECT_EQ(sink->MaxSize(), 0x7FFFFFFu);
  sink->SetMaxSize(1);
  EXPECT_EQ(sink->AdjustSize(5), 0x7FFFFFFu);
  queue->PopFront();
  char out[4] = {};
  EXPECT_TRUE(queue->PopFront(1, out));
  EXPECT_EQ(out[0], 'a');
  EXPECT_FALSE(queue->GetFront(out));
  EXPECT_EQ(queue->GetString(), "bcd");
  EXPECT_EQ(queue->Clear(), 3u);

  StringBuffer& direct = *buffer;
  EXPECT_TRUE(direct.StringBuffer::PushBack(text, 2));
  EXPECT_FALSE(direct.StringBuffer::Empty());
  EXPECT_EQ(direct.StringBuffer::Size(), 2u);
  EXPECT_EQ(direct.StringBuffer::FreeSize(), 0x200000u - 2);
  EXPECT_EQ(direct.StringBuffer::MaxSize(), 0x7FFFFFFu);
  direct.StringBuffer::SetMaxSize(0);
  EXPECT_EQ(direct.StringBuffer::AdjustSize(0), 0x7FFFFFFu);
  direct.StringBuffer::PopFront();
  EXPECT_TRUE(direct.StringBuffer::PopFront(1, out));
  EXPECT_FALSE(direct.StringBuffer::GetFront(out));
  EXPECT_EQ(direct.StringBuffer::GetString(), "b");
  EXPECT_EQ(direct.StringBuffer::Clear(), 1u);
  buffer.Destroy();
  EXPECT_TRUE(buffer.TailUntouched());
}

TEST(MediaSurface, TheTransportPacketRingKeepsItsPositionsInTheDeclaredFields) {
  Patterned<CTSPacketBuffer> ring(1000u);
  EXPECT_TRUE(ring.TailUntouched());
  EXPECT_EQ(ring->m_max, 940u);
  ASSERT_NE(ring->m_begin, nullptr);
  EXPECT_EQ(ring->m_end, ring->m_begin + 940);
  EXPECT_EQ(ring->m_read, ring->m_begin);
  EXPECT_EQ(ring->m_write, ring->m_begin);
  EXPECT_EQ(ring->m_used, 0u);
  IArrayBuffer* queue = ring.get();
  unsigned char packets[376];
  for (unsigned int i = 0; i < sizeof(packets); ++i) packets[i] = static_cast<unsigned char>(i);
  EXPECT_TRUE(ring->PushBackPacket(packets));
  EXPECT_EQ(ring->m_used, 188u);
  EXPECT_EQ(ring->m_write, ring->m_begin + 188);
  unsigned char out[376] = {};
  EXPECT_TRUE(queue->GetFront(out));
  EXPECT_EQ(out[187], packets[187]);
  ring->PopFrontNoLock();
  EXPECT_EQ(ring->m_used, 0u);
  EXPECT_TRUE(queue->Empty());
  EXPECT_TRUE(queue->PushBack(packets, 376));
  EXPECT_EQ(queue->Size(), 376u);
  EXPECT_EQ(queue->FreeSize(), 940u - 376);
  EXPECT_EQ(queue->MaxSize(), 940u);
  EXPECT_EQ(queue->AdjustSize(1000), 940u);
  EXPECT_TRUE(queue->PopFront(188, out));
  EXPECT_EQ(out[0], packets[0]);
  queue->PopFront();
  EXPECT_EQ(queue->Size(), 0u);
  EXPECT_TRUE(queue->PushBack(packets, 376));
  EXPECT_EQ(queue->Clear(), 376u);
  EXPECT_EQ(queue->GetString(), "");
  queue->SetMaxSize(376);
  EXPECT_EQ(ring->m_max, 376u);

  CTSPacketBuffer& direct = *ring;
  EXPECT_TRUE(direct.CTSPacketBuffer::PushBack(packets, 188));
  EXPECT_FALSE(direct.CTSPacketBuffer::Empty());
  EXPECT_EQ(direct.CTSPacketBuffer::Size(), 188u);
  EXPECT_EQ(direct.CTSPacketBuffer::FreeSize(), 188u);
  EXPECT_EQ(direct.CTSPacketBuffer::MaxSize(), 376u);
  EXPECT_EQ(direct.CTSPacketBuffer::AdjustSize(400), 376u);
  EXPECT_TRUE(direct.CTSPacketBuffer::GetFront(nullptr));
  EXPECT_TRUE(direct.CTSPacketBuffer::PopFront(188, nullptr));
  direct.CTSPacketBuffer::PopFront();
  EXPECT_EQ(direct.CTSPacketBuffer::Clear(), 0u);
  EXPECT_EQ(direct.CTSPacketBuffer::GetString(), "");
  direct.CTSPacketBuffer::SetMaxSize(0);
  ring.Destroy();
  EXPECT_TRUE(ring.TailUntouched());
}

TEST(MediaSurface, MemoryHooksAndTheUsedSizeGlobal) {
  unsigned char* block = nullptr;
  unsigned int size = 64;
  GetVasMemory(&block, &size);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(size, 64u);
  FreeVasMemory(block);
  EXPECT_EQ(GetUsedBufSize(), 0u);
  // The engine keeps the figure; the library only reports it.
  g_nMemUsedSize = 1234;
  EXPECT_EQ(GetUsedBufSize(), 1234u);
  g_nMemUsedSize = 0;
}

TEST(MediaSurface, KeyAndIvHelpersAreGlobalFunctions) {
  char bytes[] = {static_cast<char>(0xAB), 0x0C};
  char hex[5] = {'x', 'x', 'x', 'x', 'x'};
  byteToHexString(bytes, hex, 2);
  EXPECT_EQ(std::string(hex, 5), "AB0Cx");
  unsigned char out[2] = {};
  EXPECT_EQ(hexStringToByte("0xAB", out, 2), 1);
  EXPECT_EQ(out[1], 0xAB);
  EXPECT_TRUE(IsLittleEndian());
  EXPECT_EQ(swapByteOrder(0x01020304u), 0x04030201u);
  unsigned char iv[16];
  sequenceToiv(0x01020304u, iv, sizeof(iv));
  EXPECT_EQ(iv[0], 0);
  EXPECT_EQ(iv[12], 1);
  EXPECT_EQ(iv[15], 4);
  EXPECT_EQ(stringToiv("0x0000000000000000000000000000000A", iv, sizeof(iv)), 16);
  EXPECT_EQ(iv[15], 0x0A);
}
