/// \file
/// H.264 syntax elements from a NAL unit payload, and the sequence parameter set scan and parse
/// that give the picture size of an Annex B stream. No logs, no locks: a reader or parser belongs
/// to one thread at a time.
#pragma once

#include "Bitstream.h"

namespace strmcommon {

/// The part of a sequence parameter set that decides the picture size, fields named as in the
/// standard. ParseSPS writes only the fields it meets, so the caller zeroes the record first.
struct H264SequenceSetParse {
  unsigned int seq_parameter_set_id;               ///< always written
  unsigned int pic_order_cnt_type;                 ///< always written
  unsigned int frame_mbs_only_flag;                ///< always written
  unsigned int delta_pic_order_always_zero_flag;   ///< written when pic_order_cnt_type is 1
  unsigned int log2_max_frame_num_minus4;          ///< always written
  unsigned int log2_max_pic_order_cnt_lsb_minus4;  ///< written when pic_order_cnt_type is 0
  unsigned int pic_width_in_mbs_minus1;            ///< always written
  unsigned int pic_height_in_map_units_minus1;     ///< always written
  unsigned int frame_cropping_flag;                ///< always written
  unsigned int frame_crop_left_offset;             ///< written when frame_cropping_flag is set
  unsigned int frame_crop_right_offset;            ///< written when frame_cropping_flag is set
  unsigned int frame_crop_top_offset;              ///< written when frame_cropping_flag is set
  unsigned int frame_crop_bottom_offset;           ///< written when frame_cropping_flag is set
};

/// Reads fixed-width and Exp-Golomb elements from the data cursor of a packet, dropping emulation
/// prevention bytes on the way. The end of the data is the only failure it knows: a read then
/// returns -1 (-9 from Increment) and leaves its output unwritten.
class H264_SyntaxReader {
 public:
  /// Reads from `packet`'s data cursor; the packet is not owned.
  explicit H264_SyntaxReader(Packet* packet);
  /// Nothing to release.
  virtual ~H264_SyntaxReader();

  /// The next payload byte into `out` (0 first): 0, or -9 at the end of the data. A 03 after two
  /// zero bytes is stepped over. Kept: a third zero in a row starts the count of zeros again, and
  /// a zero right after a stepped-over 03 is not counted.
  int Increment(unsigned char& out);
  /// Fetches the next byte when the current one is used up; else 0 and nothing done.
  int LoadByte();
  /// The next bit of the current byte (0 or 1).
  int GetBitIncrement();
  /// Reads up to and including the first 1 bit; `zeros` is the count of 0 bits before it. 0, or
  /// -1 when the data ran out. No upper bound on the count.
  int CountGolombLength(int& zeros);
  /// u(n): `bits` bits, most significant first; 0 bits (or a count negative as signed) give 0.
  /// 0, or -1 when the data ran out.
  int ReadU(unsigned int bits, unsigned int& value);
  /// ue(v): `value` is set to 0 first; the shift is taken modulo 32. 0, or -1.
  int ReadUE(unsigned int& value);
  /// se(v): codes 1, 2, 3, 4 give 1, -1, 2, -2. 0, or -1.
  int ReadSE(int& value);

 protected:
  Packet* m_packet;         ///< the source, not owned
  int m_zeroRun;            ///< zero bytes just passed: 0, 1 or 2
  int m_reserved;           ///< zeroed by the constructor, otherwise unused; keeps the layout
  unsigned int m_bitPos;    ///< next bit of m_curByte from the top; 8 fetches a new byte
  unsigned char m_curByte;  ///< the current byte
};

/// Finds the sequence parameter set in an Annex B stream, buffer by buffer, and computes the
/// picture size from it. Calling order: Reset; ParseHeader over the stream until it returns
/// non-zero; on 1, GetSpsOffet; ParseSPS on the bytes after the NAL header byte; CalcResolution.
class H264HeaderParser {
 public:
  /// A parser ready to scan.
  H264HeaderParser();

  /// Forgets a start code seen in part; call it before scanning again.
  void Reset();
  /// Scans `size` bytes for a start code and the NAL type behind it, carrying its state over to
  /// the next buffer. 0: nothing decided yet; 1: an SPS NAL header was found (GetSpsOffet);
  /// 2: a non-IDR slice came first. Kept: blind to order, so "01 00 00 67" counts as a start code
  /// just like "00 00 01 67".
  int ParseHeader(unsigned char* data, int size);
  /// Index of the SPS NAL header byte in the buffer of the call that returned 1. The name is
  /// spelled so.
  int GetSpsOffet();
  /// Parses an SPS up to the cropping fields (`data` starts at profile_idc, behind the NAL header
  /// byte) into `sps`, which the caller zeroed; the bytes are copied first. False when the data
  /// ran out, with `sps` partly filled. Kept: only profiles 100, 110, 122 and 144 read the
  /// high-profile fields; others, 244 among them, misread such a stream.
  bool ParseSPS(unsigned char* data, int size, H264SequenceSetParse& sps);
  /// Width and height in pixels: 16 per macroblock, less the crop offsets at 4:2:0 units (whatever
  /// the chroma format, and whether or not the cropping flag is set), height doubled for field
  /// coding. False, writing nothing, for a picture one macroblock wide or high; else true when
  /// both are positive.
  bool CalcResolution(const H264SequenceSetParse& sps, int& width, int& height);

 protected:
  int m_zeroCount;   ///< zero bytes passed by the start-code scan
  bool m_startCode;  ///< a 01 byte was passed; a NAL header is awaited
  int m_spsOffset;   ///< where the latest scan found the SPS
  Packet m_packet;   ///< a copy of the SPS bytes, reused from call to call
};

}  // namespace strmcommon

/// Consumes the bits of one scaling list of `size` entries and stores nothing; false when the data
/// ran out.
bool read_scaling_list(strmcommon::H264_SyntaxReader& reader, unsigned int size);
