// H.264 syntax elements from a NAL unit payload, and the sequence parameter set scan and parse
// that give the picture size of an Annex B stream.
#pragma once

#include "Bitstream.h"

namespace strmcommon {

// The part of a sequence parameter set that decides the picture size. ParseSPS writes only the
// fields it meets, so the caller zeroes the record first.
struct H264SequenceSetParse {
  unsigned int seq_parameter_set_id;
  unsigned int pic_order_cnt_type;
  unsigned int frame_mbs_only_flag;
  unsigned int delta_pic_order_always_zero_flag;
  unsigned int log2_max_frame_num_minus4;
  unsigned int log2_max_pic_order_cnt_lsb_minus4;
  unsigned int pic_width_in_mbs_minus1;
  unsigned int pic_height_in_map_units_minus1;
  unsigned int frame_cropping_flag;
  unsigned int frame_crop_left_offset;
  unsigned int frame_crop_right_offset;
  unsigned int frame_crop_top_offset;
  unsigned int frame_crop_bottom_offset;
};

// Reads fixed-width and Exp-Golomb elements from the data cursor of a packet, dropping emulation
// prevention bytes on the way.
class H264_SyntaxReader {
 public:
  explicit H264_SyntaxReader(Packet* packet);
  virtual ~H264_SyntaxReader();

  // Next payload byte: 0, or -9 at the end of the data.
  int Increment(unsigned char& out);
  int LoadByte();
  int GetBitIncrement();
  // Reads up to and including the first 1 bit; zeros is the count of 0 bits before it.
  int CountGolombLength(int& zeros);
  int ReadU(unsigned int bits, unsigned int& value);
  int ReadUE(unsigned int& value);
  int ReadSE(int& value);

 protected:
  Packet* m_packet;
  int m_zeroRun;          // zero bytes just passed: 0, 1 or 2
  int m_reserved;         // zeroed by the constructor, otherwise unused; keeps the record layout
  unsigned int m_bitPos;  // next bit of m_curByte from the top; 8 fetches a new byte
  unsigned char m_curByte;
};

// Finds the sequence parameter set in an Annex B stream, buffer by buffer, and computes the
// picture size from it.
class H264HeaderParser {
 public:
  H264HeaderParser();

  void Reset();
  // 0: nothing decided yet; 1: an SPS NAL header was found; 2: a non-IDR slice came first.
  int ParseHeader(unsigned char* data, int size);
  // Index of the SPS NAL header byte in the buffer of the call that returned 1.
  int GetSpsOffet();
  // data starts after the NAL header byte, at profile_idc.
  bool ParseSPS(unsigned char* data, int size, H264SequenceSetParse& sps);
  bool CalcResolution(const H264SequenceSetParse& sps, int& width, int& height);

 protected:
  int m_zeroCount;
  bool m_startCode;
  int m_spsOffset;
  Packet m_packet;
};

}  // namespace strmcommon

// Consumes the bits of one scaling list and stores nothing.
bool read_scaling_list(strmcommon::H264_SyntaxReader& reader, unsigned int size);
