#include "H264_SyntaxReader.h"

#include "Portability.h"

namespace strmcommon {

namespace {

constexpr int kEndOfData = -9;

constexpr unsigned int kNalSlice = 1;
constexpr unsigned int kNalSps = 7;

// Profiles whose SPS carries chroma format, bit depths and scaling matrices.
bool HasHighProfileFields(unsigned int profileIdc) {
  return profileIdc == 100 || profileIdc == 110 || profileIdc == 122 || profileIdc == 144;
}

// Reads and drops the chroma format, bit depths and scaling matrices; false when the data ran
// out. Eight scaling lists, also for 4:4:4.
bool SkipHighProfileFields(H264_SyntaxReader& reader) {
  unsigned int value = 0;
  unsigned int chromaFormatIdc = 0;
  if (reader.ReadUE(chromaFormatIdc) != 0) return false;
  if (chromaFormatIdc == 3 && reader.ReadU(1, value) != 0) return false;
  if (reader.ReadUE(value) != 0) return false;    // bit_depth_luma_minus8
  if (reader.ReadUE(value) != 0) return false;    // bit_depth_chroma_minus8
  if (reader.ReadU(1, value) != 0) return false;  // qpprime_y_zero_transform_bypass_flag
  unsigned int matrixPresent = 0;
  if (reader.ReadU(1, matrixPresent) != 0) return false;
  if (!matrixPresent) return true;
  for (int i = 0; i < 8; ++i) {
    unsigned int listPresent = 0;
    if (reader.ReadU(1, listPresent) != 0) return false;
    if (listPresent && !read_scaling_list(reader, i < 6 ? 16 : 64)) return false;
  }
  return true;
}

// pic_order_cnt_type and what its value brings; only the fields of the record are kept.
bool ReadPicOrderCount(H264_SyntaxReader& reader, H264SequenceSetParse& sps) {
  if (reader.ReadUE(sps.pic_order_cnt_type) != 0) return false;
  if (sps.pic_order_cnt_type == 0) {
    return reader.ReadUE(sps.log2_max_pic_order_cnt_lsb_minus4) == 0;
  }
  if (sps.pic_order_cnt_type != 1) return true;
  int signedValue = 0;
  if (reader.ReadU(1, sps.delta_pic_order_always_zero_flag) != 0) return false;
  if (reader.ReadSE(signedValue) != 0) return false;  // offset_for_non_ref_pic
  if (reader.ReadSE(signedValue) != 0) return false;  // offset_for_top_to_bottom_field
  unsigned int cycle = 0;
  if (reader.ReadUE(cycle) != 0) return false;
  for (unsigned int i = 0; i < cycle; ++i) {
    if (reader.ReadSE(signedValue) != 0) return false;  // offset_for_ref_frame
  }
  return true;
}

}  // namespace

H264_SyntaxReader::H264_SyntaxReader(Packet* packet)
    : m_packet(packet), m_zeroRun(0), m_reserved(0), m_bitPos(8), m_curByte(0) {}

H264_SyntaxReader::~H264_SyntaxReader() {}

int H264_SyntaxReader::Increment(unsigned char& out) {
  out = 0;
  if (m_packet->GetDataSize() == 0) return kEndOfData;
  unsigned char b = *m_packet->GetDataPtr();
  if (b == 0) {
    // Intended: a third zero in a row starts the count again instead of holding it at two.
    m_zeroRun = (m_zeroRun + 1) % 3;
  } else if (b == 3 && m_zeroRun == 2) {
    m_packet->MoveDataPos(1);
    if (m_packet->GetDataSize() < 1) return kEndOfData;
    b = *m_packet->GetDataPtr();
    // Intended: the byte after an emulation prevention byte is never counted, even a zero.
    m_zeroRun = 0;
  } else {
    m_zeroRun = 0;
  }
  out = b;
  m_packet->MoveDataPos(1);
  return 0;
}

int H264_SyntaxReader::LoadByte() {
  if (m_bitPos < 8) return 0;
  int result = Increment(m_curByte);
  if (result != 0) return result;
  m_bitPos = 0;
  return 0;
}

int H264_SyntaxReader::GetBitIncrement() {
  int bit = (m_curByte >> (7 - m_bitPos)) & 1;
  ++m_bitPos;
  return bit;
}

int H264_SyntaxReader::CountGolombLength(int& zeros) {
  int count = 0;
  for (;;) {
    if (LoadByte() != 0) return -1;
    if (GetBitIncrement() != 0) break;
    ++count;
  }
  zeros = count;
  return 0;
}

int H264_SyntaxReader::ReadU(unsigned int bits, unsigned int& value) {
  if (static_cast<int>(bits) <= 0) {
    value = 0;
    return 0;
  }
  unsigned int result = 0;
  for (unsigned int i = 0; i < bits; ++i) {
    if (LoadByte() != 0) return -1;
    result = (result << 1) | static_cast<unsigned int>(GetBitIncrement());
  }
  value = result;
  return 0;
}

int H264_SyntaxReader::ReadUE(unsigned int& value) {
  value = 0;
  int zeros = 0;
  if (CountGolombLength(zeros) != 0) return -1;
  if (zeros == 0) return 0;
  unsigned int suffix = 0;
  if (ReadU(static_cast<unsigned int>(zeros), suffix) != 0) return -1;
  value = (1u << (zeros & 31)) + suffix - 1;
  return 0;
}

int H264_SyntaxReader::ReadSE(int& value) {
  unsigned int code = 0;
  if (ReadUE(code) != 0) return -1;
  if (code & 1) {
    value = static_cast<int>((code >> 1) + 1);
  } else {
    value = -static_cast<int>(code >> 1);
  }
  return 0;
}

H264HeaderParser::H264HeaderParser() : m_zeroCount(0), m_startCode(false), m_spsOffset(0) {
  Reset();
}

void H264HeaderParser::Reset() {
  m_zeroCount = 0;
  m_startCode = false;
}

int H264HeaderParser::GetSpsOffet() { return m_spsOffset; }

int H264HeaderParser::ParseHeader(unsigned char* data, int size) {
  if (size < 1) return 0;
  for (int i = 0; i < size; ++i) {
    unsigned char b = data[i];
    if (b == 0) {
      ++m_zeroCount;
      continue;
    }
    if (m_zeroCount >= 2 && m_startCode) {
      unsigned int nalType = b & 0x1F;
      if (nalType == kNalSlice) return 2;
      if (nalType == kNalSps) {
        m_spsOffset = i;
        return 1;
      }
      m_zeroCount = 0;
      m_startCode = false;
      continue;
    }
    if (b == 1 && !m_startCode) {
      // Intended: blind to order; the zeros may come before or after the 0x01.
      m_startCode = true;
      continue;
    }
    m_zeroCount = 0;
    m_startCode = false;
  }
  return 0;
}

bool H264HeaderParser::ParseSPS(unsigned char* data, int size, H264SequenceSetParse& sps) {
  if (m_packet.PtrResize(static_cast<unsigned int>(size)) != 0) return false;
  // The reader needs a stable view of its own, so the bytes are copied.
  if (size > 0) vas_memcpy_s(m_packet.GetPtr(), size, data, size);
  m_packet.ResetPos();
  m_packet.SetDataPos(0);
  H264_SyntaxReader reader(&m_packet);

  unsigned int value = 0;
  unsigned int profileIdc = 0;
  if (reader.ReadU(8, profileIdc) != 0) return false;
  for (int i = 0; i < 4; ++i) {
    if (reader.ReadU(1, value) != 0) return false;  // constraint_set0..3_flag
  }
  if (reader.ReadU(4, value) != 0) return false;  // the rest of the constraint byte
  if (reader.ReadU(8, value) != 0) return false;  // level_idc
  if (reader.ReadUE(sps.seq_parameter_set_id) != 0) return false;

  // Intended: only these four profiles read the high-profile fields; others, 244 among them,
  // go straight on and misread such a stream.
  if (HasHighProfileFields(profileIdc) && !SkipHighProfileFields(reader)) return false;
  if (reader.ReadUE(sps.log2_max_frame_num_minus4) != 0) return false;
  if (!ReadPicOrderCount(reader, sps)) return false;
  if (reader.ReadUE(value) != 0) return false;    // max_num_ref_frames
  if (reader.ReadU(1, value) != 0) return false;  // gaps_in_frame_num_value_allowed_flag
  if (reader.ReadUE(sps.pic_width_in_mbs_minus1) != 0) return false;
  if (reader.ReadUE(sps.pic_height_in_map_units_minus1) != 0) return false;
  if (reader.ReadU(1, sps.frame_mbs_only_flag) != 0) return false;
  if (sps.frame_mbs_only_flag == 0 && reader.ReadU(1, value) != 0) return false;
  if (reader.ReadU(1, value) != 0) return false;  // direct_8x8_inference_flag
  if (reader.ReadU(1, sps.frame_cropping_flag) != 0) return false;
  if (sps.frame_cropping_flag) {
    if (reader.ReadUE(sps.frame_crop_left_offset) != 0) return false;
    if (reader.ReadUE(sps.frame_crop_right_offset) != 0) return false;
    if (reader.ReadUE(sps.frame_crop_top_offset) != 0) return false;
    if (reader.ReadUE(sps.frame_crop_bottom_offset) != 0) return false;
  }
  return true;
}

bool H264HeaderParser::CalcResolution(const H264SequenceSetParse& sps, int& width, int& height) {
  // Intended: a picture one macroblock wide or high counts as no picture.
  if (sps.pic_width_in_mbs_minus1 == 0 || sps.pic_height_in_map_units_minus1 == 0) return false;
  // 4:2:0 crop units whatever the chroma format, and the offsets are used whether or not
  // frame_cropping_flag is set.
  width = static_cast<int>(((sps.pic_width_in_mbs_minus1 * 8 + 8) - sps.frame_crop_right_offset -
                            sps.frame_crop_left_offset) *
                           2);
  unsigned int f = 2 - sps.frame_mbs_only_flag;
  height = static_cast<int>(((sps.pic_height_in_map_units_minus1 + 1) * f * 8 -
                             (sps.frame_crop_top_offset + sps.frame_crop_bottom_offset) * f) *
                            2);
  return width > 0 && height > 0;
}

}  // namespace strmcommon

bool read_scaling_list(strmcommon::H264_SyntaxReader& reader, unsigned int size) {
  int lastScale = 8;
  int nextScale = 8;
  for (unsigned int i = 0; i < size; ++i) {
    if (nextScale != 0) {
      int delta = 0;
      if (reader.ReadSE(delta) != 0) return false;
      // 32-bit wrap-around as in plain int arithmetic, without its undefined overflow; the
      // remainder takes the sign of the dividend.
      int sum = static_cast<int>(static_cast<unsigned int>(lastScale) +
                                 static_cast<unsigned int>(delta) + 256u);
      nextScale = sum % 256;
    }
    if (nextScale != 0) lastScale = nextScale;
  }
  return true;
}
