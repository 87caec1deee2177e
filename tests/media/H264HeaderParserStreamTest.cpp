// The SPS parser on real x264 streams, checked against ffprobe's figures and against a small
// independent SPS decoder written from the H.264 syntax tables.
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "H264_SyntaxReader.h"
#include "MediaSamples.h"

using strmcommon::H264HeaderParser;
using strmcommon::H264SequenceSetParse;

namespace {

// ---- independent SPS decoder ----

// RBSP of a NAL payload: every 03 that follows two zero bytes is dropped.
std::vector<unsigned char> ToRbsp(const unsigned char* data, size_t size) {
  std::vector<unsigned char> rbsp;
  int zeros = 0;
  for (size_t i = 0; i < size; ++i) {
    if (zeros >= 2 && data[i] == 3) {
      zeros = 0;
      continue;
    }
    zeros = data[i] == 0 ? zeros + 1 : 0;
    rbsp.push_back(data[i]);
  }
  return rbsp;
}

class BitReader {
 public:
  explicit BitReader(const std::vector<unsigned char>& bytes) : m_bytes(bytes) {}
  bool ok() const { return m_ok; }
  uint32_t u(int n) {
    uint32_t v = 0;
    for (int i = 0; i < n; ++i) v = (v << 1) | bit();
    return v;
  }
  uint32_t ue() {
    int zeros = 0;
    while (m_ok && bit() == 0) ++zeros;
    if (zeros == 0) return 0;
    uint32_t suffix = u(zeros);
    return (1u << (zeros & 31)) + suffix - 1;  // as wide as the parser's 32-bit arithmetic
  }
  int32_t se() {
    uint32_t k = ue();
    return (k & 1) ? static_cast<int32_t>((k >> 1) + 1) : -static_cast<int32_t>(k >> 1);
  }

 private:
  uint32_t bit() {
    if (m_pos >= m_bytes.size() * 8) {
      m_ok = false;
      return 0;
    }
    uint32_t b = (m_bytes[m_pos / 8] >> (7 - m_pos % 8)) & 1;
    ++m_pos;
    return b;
  }
  const std::vector<unsigned char>& m_bytes;
  size_t m_pos = 0;
  bool m_ok = true;
};

struct DecodedSps {
  bool ok = false;
  unsigned int profile = 0;
  unsigned int chromaFormat = 1;
  bool scalingMatrix = false;
  int scalingListsGiven = 0;    // lists present with entries of their own
  int scalingListsDefault = 0;  // lists present that only say "use the default"
  H264SequenceSetParse fields{};
  int width = 0;  // with the crop units of the real chroma format
  int height = 0;
};

// The profiles that carry chroma format, bit depths and scaling matrices in the standard.
const std::set<unsigned int> kStandardHighProfiles = {100, 110, 122, 244, 44,  83, 86,
                                                      118, 128, 138, 139, 134, 135};
// The ones the library's parser recognises.
const std::set<unsigned int> kParserHighProfiles = {100, 110, 122, 144};

DecodedSps DecodeSps(const unsigned char* payload, size_t size,
                     const std::set<unsigned int>& highProfiles, bool twelveListsFor444) {
  std::vector<unsigned char> rbsp = ToRbsp(payload, size);
  BitReader r(rbsp);
  DecodedSps d;
  H264SequenceSetParse& s = d.fields;
  d.profile = r.u(8);
  r.u(8);  // constraint flags and reserved bits
  r.u(8);  // level_idc
  s.seq_parameter_set_id = r.ue();
  if (highProfiles.count(d.profile)) {
    d.chromaFormat = r.ue();
    if (d.chromaFormat == 3) r.u(1);
    r.ue();
    r.ue();
    r.u(1);
    if (r.u(1)) {
      d.scalingMatrix = true;
      int lists = (twelveListsFor444 && d.chromaFormat == 3) ? 12 : 8;
      for (int i = 0; i < lists && r.ok(); ++i) {
        if (!r.u(1)) continue;
        int last = 8, next = 8;
        for (int j = 0; j < (i < 6 ? 16 : 64) && r.ok(); ++j) {
          if (next != 0) {
            next = (last + r.se() + 256) % 256;
            if (j == 0) ++(next == 0 ? d.scalingListsDefault : d.scalingListsGiven);
          }
          if (next != 0) last = next;
        }
      }
    }
  }
  s.log2_max_frame_num_minus4 = r.ue();
  s.pic_order_cnt_type = r.ue();
  if (s.pic_order_cnt_type == 0) {
    s.log2_max_pic_order_cnt_lsb_minus4 = r.ue();
  } else if (s.pic_order_cnt_type == 1) {
    s.delta_pic_order_always_zero_flag = r.u(1);
    r.se();
    r.se();
    uint32_t cycle = r.ue();
    for (uint32_t i = 0; i < cycle && r.ok(); ++i) r.se();
  }
  r.ue();
  r.u(1);
  s.pic_width_in_mbs_minus1 = r.ue();
  s.pic_height_in_map_units_minus1 = r.ue();
  s.frame_mbs_only_flag = r.u(1);
  if (!s.frame_mbs_only_flag) r.u(1);
  r.u(1);
  s.frame_cropping_flag = r.u(1);
  if (s.frame_cropping_flag) {
    s.frame_crop_left_offset = r.ue();
    s.frame_crop_right_offset = r.ue();
    s.frame_crop_top_offset = r.ue();
    s.frame_crop_bottom_offset = r.ue();
  }
  d.ok = r.ok();
  int subWidth = d.chromaFormat == 3 ? 1 : 2;
  int subHeight = d.chromaFormat == 1 ? 2 : 1;
  int cropUnitX = d.chromaFormat == 0 ? 1 : subWidth;
  int cropUnitY = (d.chromaFormat == 0 ? 1 : subHeight) * (2 - s.frame_mbs_only_flag);
  d.width = static_cast<int>((s.pic_width_in_mbs_minus1 + 1) * 16) -
            cropUnitX * static_cast<int>(s.frame_crop_left_offset + s.frame_crop_right_offset);
  d.height =
      static_cast<int>((s.pic_height_in_map_units_minus1 + 1) * 16 * (2 - s.frame_mbs_only_flag)) -
      cropUnitY * static_cast<int>(s.frame_crop_top_offset + s.frame_crop_bottom_offset);
  return d;
}

void ExpectSameFields(const H264SequenceSetParse& a, const H264SequenceSetParse& b) {
  EXPECT_EQ(a.seq_parameter_set_id, b.seq_parameter_set_id);
  EXPECT_EQ(a.pic_order_cnt_type, b.pic_order_cnt_type);
  EXPECT_EQ(a.frame_mbs_only_flag, b.frame_mbs_only_flag);
  EXPECT_EQ(a.delta_pic_order_always_zero_flag, b.delta_pic_order_always_zero_flag);
  EXPECT_EQ(a.log2_max_frame_num_minus4, b.log2_max_frame_num_minus4);
  EXPECT_EQ(a.log2_max_pic_order_cnt_lsb_minus4, b.log2_max_pic_order_cnt_lsb_minus4);
  EXPECT_EQ(a.pic_width_in_mbs_minus1, b.pic_width_in_mbs_minus1);
  EXPECT_EQ(a.pic_height_in_map_units_minus1, b.pic_height_in_map_units_minus1);
  EXPECT_EQ(a.frame_cropping_flag, b.frame_cropping_flag);
  EXPECT_EQ(a.frame_crop_left_offset, b.frame_crop_left_offset);
  EXPECT_EQ(a.frame_crop_right_offset, b.frame_crop_right_offset);
  EXPECT_EQ(a.frame_crop_top_offset, b.frame_crop_top_offset);
  EXPECT_EQ(a.frame_crop_bottom_offset, b.frame_crop_bottom_offset);
}

// ---- locating the SPS without the parser ----

// Index of the NAL header byte of the first SPS (after 00 00 01), or -1.
int FindSpsHeader(const std::vector<unsigned char>& s) {
  for (size_t i = 3; i < s.size(); ++i) {
    if (s[i - 3] == 0 && s[i - 2] == 0 && s[i - 1] == 1 && (s[i] & 0x1F) == 7) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

// End of the NAL unit that starts at from: the next 00 00 00 or 00 00 01, or the end.
size_t NalEnd(const std::vector<unsigned char>& s, size_t from) {
  for (size_t i = from; i + 2 < s.size(); ++i) {
    if (s[i] == 0 && s[i + 1] == 0 && s[i + 2] <= 1) return i;
  }
  return s.size();
}

// Scans the stream chunk by chunk as the engine does, and gives the absolute SPS offset.
int ScanForSps(const std::vector<unsigned char>& stream, size_t chunk, int* result) {
  H264HeaderParser parser;
  parser.Reset();
  for (size_t at = 0; at < stream.size(); at += chunk) {
    size_t n = std::min(chunk, stream.size() - at);
    int r = parser.ParseHeader(const_cast<unsigned char*>(stream.data() + at), static_cast<int>(n));
    if (r != 0) {
      *result = r;
      return r == 1 ? static_cast<int>(at) + parser.GetSpsOffet() : -1;
    }
  }
  *result = 0;
  return -1;
}

struct Sample {
  const char* name;
  int ffprobeProfileIdc;
};

class H264Stream : public ::testing::TestWithParam<Sample> {};

// ---- streams whose size the parser gets right ----

const Sample kReadRight[] = {
    {"baseline_1280x720", 66},        {"baseline_176x144", 66}, {"main_640x360_bframes", 77},
    {"main_350x198_aud", 77},         {"high_1920x1080", 100},  {"high_1920x1080_interlaced", 100},
    {"high_720x576_interlaced", 100}, {"high_854x480", 100},    {"high_1366x766", 100},
    {"high_640x480_cqm", 100},        {"high10_640x360", 110},  {"high422_320x240", 122},
};

TEST_P(H264Stream, ParseHeaderFindsTheSpsAndCalcResolutionMatchesFfprobe) {
  const Sample& sample = GetParam();
  std::vector<unsigned char> stream = mediatest::ReadSample(std::string(sample.name) + ".264");
  ASSERT_FALSE(stream.empty()) << sample.name;
  auto probe = mediatest::ReadProbe(sample.name);
  ASSERT_EQ(probe["codec_name"], "h264");

  int expectedOffset = FindSpsHeader(stream);
  ASSERT_GE(expectedOffset, 0);
  for (size_t chunk : {stream.size(), size_t{188}, size_t{7}, size_t{1}}) {
    int result = 0;
    EXPECT_EQ(ScanForSps(stream, chunk, &result), expectedOffset) << "chunk " << chunk;
    EXPECT_EQ(result, 1);
  }

  const unsigned char* payload = stream.data() + expectedOffset + 1;
  size_t payloadSize = NalEnd(stream, expectedOffset + 1) - (expectedOffset + 1);
  EXPECT_EQ(payload[0], sample.ffprobeProfileIdc);

  H264HeaderParser parser;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(
      parser.ParseSPS(const_cast<unsigned char*>(payload), static_cast<int>(payloadSize), sps));
  int width = 0, height = 0;
  ASSERT_TRUE(parser.CalcResolution(sps, width, height));
  EXPECT_EQ(std::to_string(width), probe["width"]);
  EXPECT_EQ(std::to_string(height), probe["height"]);

  DecodedSps reference = DecodeSps(payload, payloadSize, kStandardHighProfiles, true);
  ASSERT_TRUE(reference.ok);
  EXPECT_EQ(std::to_string(reference.width), probe["width"]);
  EXPECT_EQ(std::to_string(reference.height), probe["height"]);
  ExpectSameFields(sps, reference.fields);

  bool interlaced = probe["field_order"] != "progressive";
  EXPECT_EQ(sps.frame_mbs_only_flag, interlaced ? 0u : 1u);
}

INSTANTIATE_TEST_SUITE_P(Samples, H264Stream, ::testing::ValuesIn(kReadRight),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(H264StreamSamples, CoverBottomCropInterlacingOddSizesAndAScalingMatrix) {
  // Guards the sample set itself, so that a regenerated set keeps the cases this file is for.
  auto sps = [](const char* name) {
    std::vector<unsigned char> s = mediatest::ReadSample(std::string(name) + ".264");
    int at = FindSpsHeader(s);
    return DecodeSps(s.data() + at + 1, NalEnd(s, at + 1) - (at + 1), kStandardHighProfiles, true);
  };
  EXPECT_EQ(sps("high_1920x1080").fields.frame_crop_bottom_offset, 4u);
  EXPECT_EQ(sps("high_1920x1080_interlaced").fields.pic_height_in_map_units_minus1, 33u);
  EXPECT_EQ(sps("high_1920x1080_interlaced").fields.frame_crop_bottom_offset, 2u);
  EXPECT_NE(sps("high_854x480").fields.frame_crop_right_offset, 0u);
  EXPECT_NE(sps("main_350x198_aud").fields.frame_crop_bottom_offset, 0u);
  DecodedSps cqm = sps("high_640x480_cqm");
  EXPECT_TRUE(cqm.scalingMatrix);
  EXPECT_GT(cqm.scalingListsGiven, 0);
  EXPECT_GT(cqm.scalingListsDefault, 0);
  EXPECT_TRUE(sps("high444_320x240_cqm").scalingMatrix);
  std::vector<unsigned char> aud = mediatest::ReadSample("main_350x198_aud.264");
  EXPECT_EQ(aud[4] & 0x1F, 9);  // an access unit delimiter before the SPS
}

// ---- streams where the parser's result deliberately differs from ffprobe ----

TEST(H264Stream, OneMacroblockWideStreamCountsAsNoPicture) {
  // ffprobe reports 16x48. Intended: a picture one macroblock wide is taken for no picture, so
  // CalcResolution refuses it.
  std::vector<unsigned char> stream = mediatest::ReadSample("baseline_16x48.264");
  auto probe = mediatest::ReadProbe("baseline_16x48");
  ASSERT_EQ(probe["width"], "16");
  ASSERT_EQ(probe["height"], "48");
  int at = FindSpsHeader(stream);
  ASSERT_GE(at, 0);
  H264HeaderParser parser;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(parser.ParseSPS(stream.data() + at + 1,
                              static_cast<int>(NalEnd(stream, at + 1) - (at + 1)), sps));
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 0u);
  EXPECT_EQ(sps.pic_height_in_map_units_minus1, 2u);
  int width = -1, height = -1;
  EXPECT_FALSE(parser.CalcResolution(sps, width, height));
  EXPECT_EQ(width, -1);
  EXPECT_EQ(height, -1);
}

TEST(H264Stream, VerticalCropOfA422StreamIsTakenInFourTwoZeroUnits) {
  // ffprobe reports 640x360: 4:2:2 crops one line per unit. Intended: the parser keeps no chroma
  // format and always uses the 4:2:0 units, two lines per unit, so the 8 units of bottom crop
  // take 16 lines and the height comes out as 352. The fields themselves are read right.
  std::vector<unsigned char> stream = mediatest::ReadSample("high422_640x360.264");
  auto probe = mediatest::ReadProbe("high422_640x360");
  ASSERT_EQ(probe["pix_fmt"], "yuv422p");
  ASSERT_EQ(probe["height"], "360");
  int at = FindSpsHeader(stream);
  ASSERT_GE(at, 0);
  const unsigned char* payload = stream.data() + at + 1;
  size_t payloadSize = NalEnd(stream, at + 1) - (at + 1);
  ASSERT_EQ(payload[0], 122);
  DecodedSps reference = DecodeSps(payload, payloadSize, kStandardHighProfiles, true);
  ASSERT_TRUE(reference.ok);
  EXPECT_EQ(reference.height, 360);
  H264HeaderParser parser;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(
      parser.ParseSPS(const_cast<unsigned char*>(payload), static_cast<int>(payloadSize), sps));
  ExpectSameFields(sps, reference.fields);
  ASSERT_EQ(sps.frame_crop_bottom_offset, 8u);
  int width = 0, height = 0;
  ASSERT_TRUE(parser.CalcResolution(sps, width, height));
  EXPECT_EQ(std::to_string(width), probe["width"]);
  EXPECT_EQ(height, 368 - 2 * 8);
}

class H264High444Stream : public ::testing::TestWithParam<const char*> {};

TEST_P(H264High444Stream, ProfileOutsideTheFourIsMisreadAsThoughItHadNoHighProfileFields) {
  // ffprobe reads these High 4:4:4 Predictive (profile 244) streams right. Intended: the parser
  // reads chroma format, bit depths and scaling matrices only for profiles 100, 110, 122 and 144,
  // so for 244 it takes those bits for the fields that follow. Its result must be exactly that of
  // a decoder that skips the high-profile fields, and not ffprobe's.
  const char* name = GetParam();
  std::vector<unsigned char> stream = mediatest::ReadSample(std::string(name) + ".264");
  auto probe = mediatest::ReadProbe(name);
  ASSERT_EQ(probe["profile"], "High 4:4:4 Predictive");
  int at = FindSpsHeader(stream);
  ASSERT_GE(at, 0);
  const unsigned char* payload = stream.data() + at + 1;
  size_t payloadSize = NalEnd(stream, at + 1) - (at + 1);
  ASSERT_EQ(payload[0], 244);

  DecodedSps standard = DecodeSps(payload, payloadSize, kStandardHighProfiles, true);
  ASSERT_TRUE(standard.ok);
  EXPECT_EQ(std::to_string(standard.width), probe["width"]);
  EXPECT_EQ(std::to_string(standard.height), probe["height"]);

  DecodedSps asParsed = DecodeSps(payload, payloadSize, kParserHighProfiles, false);
  H264HeaderParser parser;
  H264SequenceSetParse sps{};
  bool parsed =
      parser.ParseSPS(const_cast<unsigned char*>(payload), static_cast<int>(payloadSize), sps);
  EXPECT_EQ(parsed, asParsed.ok);
  if (parsed) ExpectSameFields(sps, asParsed.fields);
  int width = 0, height = 0;
  bool sized = parsed && parser.CalcResolution(sps, width, height);
  EXPECT_FALSE(sized && std::to_string(width) == probe["width"] &&
               std::to_string(height) == probe["height"]);
}

INSTANTIATE_TEST_SUITE_P(Samples, H264High444Stream,
                         ::testing::Values("high444_640x480", "high444_320x240_cqm"));

TEST(H264Stream, SliceBeforeAnySpsGivesTwo) {
  // The stream cut just after its first SPS/PPS: a later access unit starts with a non-IDR slice.
  std::vector<unsigned char> stream = mediatest::ReadSample("baseline_176x144.264");
  int at = FindSpsHeader(stream);
  ASSERT_GE(at, 0);
  // Find the second access unit's slice (type 1) and scan from a little before it.
  size_t sliceAt = 0;
  for (size_t i = 3; i < stream.size(); ++i) {
    if (stream[i - 3] == 0 && stream[i - 2] == 0 && stream[i - 1] == 1 && (stream[i] & 0x1F) == 1) {
      sliceAt = i;
      break;
    }
  }
  ASSERT_GT(sliceAt, 0u);
  H264HeaderParser parser;
  EXPECT_EQ(parser.ParseHeader(stream.data() + sliceAt - 3, 8), 2);
}

}  // namespace
