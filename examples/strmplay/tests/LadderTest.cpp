#include <gtest/gtest.h>

#include "Ladder.h"

namespace strmplay {
namespace {

// The shape ffmpeg's HLS muxer writes for a video variant with an audio group: the audio
// rendition is also listed as a variant of its own.
constexpr const char* kMasterWithAudioGroup =
    "#EXTM3U\n"
    "#EXT-X-VERSION:3\n"
    "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"group_aud\",NAME=\"audio_1\",DEFAULT=YES,URI=\"p1.m3u8\"\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=35200,RESOLUTION=160x90,CODECS=\"avc1.42c00b,mp4a.40.2\","
    "AUDIO=\"group_aud\"\n"
    "p0.m3u8\n"
    "\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=35200,CODECS=\"mp4a.40.2\",AUDIO=\"group_aud\"\n"
    "p1.m3u8\n";

TEST(Ladder, AnAudioOnlyVariantStaysOutOfTheLadder) {
  MasterPlaylist master;
  std::string error;
  ASSERT_TRUE(ParseMasterPlaylist(kMasterWithAudioGroup, master, error)) << error;
  const Ladder ladder = BuildLadder(master);
  ASSERT_EQ(ladder.variants.size(), 1u);
  EXPECT_EQ(ladder.variants[0].uri, "p0.m3u8");
  ASSERT_EQ(ladder.audioOnly.size(), 1u);
  EXPECT_EQ(ladder.audioOnly[0].uri, "p1.m3u8");
  ASSERT_EQ(ladder.audio.size(), 1u);
  EXPECT_EQ(ladder.audio[0].groupId, "group_aud");
}

TEST(Ladder, AVariantWithoutCodecsThatIsAnAudioRenditionStaysOutToo) {
  MasterPlaylist master;
  master.renditions.push_back({"AUDIO", "a", "English", "audio/en.m3u8"});
  Variant video;
  video.bandwidth = 800000;
  video.width = 640;
  video.height = 360;
  video.uri = "video.m3u8";
  Variant audio;
  audio.bandwidth = 64000;
  audio.uri = "audio/en.m3u8";
  master.variants = {video, audio};
  const Ladder ladder = BuildLadder(master);
  ASSERT_EQ(ladder.variants.size(), 1u);
  EXPECT_EQ(ladder.variants[0].uri, "video.m3u8");
  EXPECT_EQ(ladder.audioOnly.size(), 1u);
}

TEST(Ladder, VideoVariantsGoInAscendingBandwidthKeepingPlaylistOrderAmongEquals) {
  MasterPlaylist master;
  for (const auto& [bw, uri] : {std::pair<int, const char*>{3000000, "hi"},
                                {400000, "lo"},
                                {1200000, "mid-a"},
                                {1200000, "mid-b"}}) {
    Variant v;
    v.bandwidth = bw;
    v.uri = uri;
    master.variants.push_back(v);
  }
  const Ladder ladder = BuildLadder(master);
  ASSERT_EQ(ladder.variants.size(), 4u);
  EXPECT_EQ(ladder.variants[0].uri, "lo");
  EXPECT_EQ(ladder.variants[1].uri, "mid-a");
  EXPECT_EQ(ladder.variants[2].uri, "mid-b");
  EXPECT_EQ(ladder.variants[3].uri, "hi");
  EXPECT_TRUE(ladder.audioOnly.empty());
  EXPECT_TRUE(ladder.audio.empty());
}

TEST(Ladder, CodecListsAreAudioOnlyWhenNoVideoCodecIsAmongThem) {
  struct Row {
    const char* codecs;
    bool audioOnly;
  } rows[] = {
      {"mp4a.40.2", true},
      {"mp4a.40.2,ac-3", true},
      {"ec-3", true},
      {"avc1.42c00b,mp4a.40.2", false},
      {"hvc1.1.6.L93.90", false},
      {" mp4a.40.5, avc3.64001f", false},
      {"", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.codecs);
    EXPECT_EQ(IsAudioOnlyCodecs(row.codecs), row.audioOnly);
  }
}

}  // namespace
}  // namespace strmplay
