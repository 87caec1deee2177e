#include <gtest/gtest.h>

#include "Playlist.h"

namespace strmplay {
namespace {

TEST(ParseAttributeList, SplitsPlainAndQuotedValuesKeepingCommasInsideQuotes) {
  const auto attrs =
      ParseAttributeList(R"(BANDWIDTH=1200000,CODECS="avc1.4d401f,mp4a.40.2",RESOLUTION=854x480)");
  ASSERT_EQ(attrs.size(), 3u);
  EXPECT_EQ(attrs.at("BANDWIDTH"), "1200000");
  EXPECT_EQ(attrs.at("CODECS"), "avc1.4d401f,mp4a.40.2");
  EXPECT_EQ(attrs.at("RESOLUTION"), "854x480");
}

TEST(ParseAttributeList, UnterminatedQuoteTakesTheRestOfTheLine) {
  const auto attrs = ParseAttributeList(R"(METHOD=AES-128,URI="key.bin)");
  EXPECT_EQ(attrs.at("METHOD"), "AES-128");
  EXPECT_EQ(attrs.at("URI"), "key.bin");
}

TEST(ParseAttributeList, EmptyTextGivesNoAttributes) {
  EXPECT_TRUE(ParseAttributeList("").empty());
}

constexpr const char* kMaster =
    "#EXTM3U\n"
    "#EXT-X-VERSION:3\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=3000000,AVERAGE-BANDWIDTH=1054203,RESOLUTION=1280x720,"
    "CODECS=\"avc1.4d401f,mp4a.40.2\"\n"
    "hi/index.m3u8\n"
    "\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=400000,RESOLUTION=416x234\r\n"
    "lo/index.m3u8\r\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=1200000\n"
    "http://other.example/mid.m3u8\n";

TEST(ParseMasterPlaylist, ReadsVariantsInPlaylistOrderWithBandwidthAndResolution) {
  MasterPlaylist master;
  std::string error;
  ASSERT_TRUE(ParseMasterPlaylist(kMaster, master, error)) << error;
  ASSERT_EQ(master.variants.size(), 3u);
  EXPECT_EQ(master.variants[0].bandwidth, 3000000);
  EXPECT_EQ(master.variants[0].averageBandwidth, 1054203);
  EXPECT_EQ(master.variants[0].width, 1280);
  EXPECT_EQ(master.variants[0].height, 720);
  EXPECT_EQ(master.variants[0].codecs, "avc1.4d401f,mp4a.40.2");
  EXPECT_EQ(master.variants[0].uri, "hi/index.m3u8");
  EXPECT_EQ(master.variants[1].bandwidth, 400000);
  EXPECT_EQ(master.variants[1].width, 416);
  EXPECT_EQ(master.variants[1].height, 234);
  EXPECT_EQ(master.variants[1].uri, "lo/index.m3u8");
  EXPECT_EQ(master.variants[2].width, 0);
  EXPECT_EQ(master.variants[2].height, 0);
  EXPECT_EQ(master.variants[2].uri, "http://other.example/mid.m3u8");
}

TEST(ParseMasterPlaylist, RefusesTextWithoutHeader) {
  MasterPlaylist master;
  std::string error;
  EXPECT_FALSE(ParseMasterPlaylist("#EXT-X-STREAM-INF:BANDWIDTH=1\na.m3u8\n", master, error));
  EXPECT_NE(error.find("#EXTM3U"), std::string::npos);
}

TEST(ParseMasterPlaylist, RefusesPlaylistWithoutVariants) {
  MasterPlaylist master;
  std::string error;
  EXPECT_FALSE(ParseMasterPlaylist("#EXTM3U\n#EXT-X-VERSION:3\n", master, error));
}

TEST(IsMasterPlaylist, TellsMasterFromMedia) {
  EXPECT_TRUE(IsMasterPlaylist(kMaster));
  EXPECT_FALSE(IsMasterPlaylist("#EXTM3U\n#EXTINF:2,\na.ts\n"));
}

constexpr const char* kMedia =
    "#EXTM3U\n"
    "#EXT-X-VERSION:3\n"
    "#EXT-X-TARGETDURATION:2\n"
    "#EXT-X-MEDIA-SEQUENCE:100\n"
    "#EXT-X-PLAYLIST-TYPE:VOD\n"
    "#EXT-X-KEY:METHOD=AES-128,URI=\"key1.bin\"\n"
    "#EXT-X-PROGRAM-DATE-TIME:2024-01-01T00:00:00.000Z\n"
    "#EXTINF:2.000000,\n"
    "seg100.ts\n"
    "#EXTINF:1.5,title\n"
    "seg101.ts\n"
    "#EXT-X-KEY:METHOD=AES-128,URI=\"key2.bin\",IV=0x14b3bb944d0b862d976c12da494ebf52\n"
    "#EXTINF:2,\n"
    "seg102.ts\n"
    "#EXT-X-KEY:METHOD=NONE\n"
    "#EXTINF:2,\n"
    "seg103.ts\n"
    "#EXT-X-ENDLIST\n";

TEST(ParseMediaPlaylist, NumbersSegmentsFromTheMediaSequence) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist(kMedia, pl, error)) << error;
  EXPECT_EQ(pl.version, 3);
  EXPECT_DOUBLE_EQ(pl.targetDuration, 2.0);
  EXPECT_EQ(pl.mediaSequence, 100u);
  EXPECT_EQ(pl.playlistType, "VOD");
  EXPECT_TRUE(pl.endList);
  ASSERT_EQ(pl.segments.size(), 4u);
  EXPECT_EQ(pl.segments[0].sequence, 100u);
  EXPECT_EQ(pl.segments[3].sequence, 103u);
  EXPECT_EQ(pl.segments[1].uri, "seg101.ts");
  EXPECT_EQ(pl.segments[1].title, "title");
  EXPECT_DOUBLE_EQ(pl.segments[1].duration, 1.5);
  EXPECT_DOUBLE_EQ(pl.TotalDuration(), 7.5);
}

TEST(ParseMediaPlaylist, KeyAppliesUntilTheNextKeyTag) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist(kMedia, pl, error)) << error;
  EXPECT_TRUE(pl.segments[0].key.Encrypted());
  EXPECT_EQ(pl.segments[0].key.uri, "key1.bin");
  EXPECT_TRUE(pl.segments[0].key.iv.empty());
  EXPECT_EQ(pl.segments[1].key.uri, "key1.bin");
  EXPECT_EQ(pl.segments[2].key.uri, "key2.bin");
  EXPECT_EQ(pl.segments[2].key.iv, "0x14b3bb944d0b862d976c12da494ebf52");
  EXPECT_FALSE(pl.segments[3].key.Encrypted());
  EXPECT_EQ(pl.segments[3].key.method, "NONE");
}

TEST(ParseMediaPlaylist, ProgramDateTimeIsCarriedForwardByDurations) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist(kMedia, pl, error)) << error;
  const long long base = 1704067200000LL;  // 2024-01-01T00:00:00Z
  EXPECT_EQ(pl.segments[0].programDateTime, base);
  EXPECT_EQ(pl.segments[1].programDateTime, base + 2000);
  EXPECT_EQ(pl.segments[2].programDateTime, base + 3500);
}

TEST(ParseMediaPlaylist, SegmentsBeforeAnyDateTimeHaveNone) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist("#EXTM3U\n#EXTINF:2,\na.ts\n", pl, error));
  EXPECT_EQ(pl.segments[0].programDateTime, 0);
  EXPECT_FALSE(pl.segments[0].key.Encrypted());
  EXPECT_FALSE(pl.endList);
}

TEST(ParseMediaPlaylist, ReadsLowLatencyServerControlAndPartTarget) {
  const char* text =
      "#EXTM3U\n"
      "#EXT-X-TARGETDURATION:4\n"
      "#EXT-X-SERVER-CONTROL:CAN-BLOCK-RELOAD=YES,CAN-SKIP-UNTIL=24.0,PART-HOLD-BACK=1.002,"
      "HOLD-BACK=12\n"
      "#EXT-X-PART-INF:PART-TARGET=0.33334\n"
      "#EXT-X-MEDIA-SEQUENCE:7\n"
      "#EXTINF:4.0,\n"
      "s7.ts\n";
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist(text, pl, error)) << error;
  EXPECT_TRUE(pl.serverControl.present);
  EXPECT_TRUE(pl.serverControl.canBlockReload);
  EXPECT_DOUBLE_EQ(pl.serverControl.canSkipUntil, 24.0);
  EXPECT_DOUBLE_EQ(pl.serverControl.holdBack, 12.0);
  EXPECT_DOUBLE_EQ(pl.serverControl.partHoldBack, 1.002);
  EXPECT_TRUE(pl.hasPartInf);
  EXPECT_DOUBLE_EQ(pl.partTarget, 0.33334);
  EXPECT_EQ(pl.segments[0].sequence, 7u);
}

TEST(ParseMediaPlaylist, ServerControlWithoutBlockingReloadSaysNo) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist(
      "#EXTM3U\n#EXT-X-SERVER-CONTROL:CAN-BLOCK-RELOAD=NO\n#EXTINF:2,\na.ts\n", pl, error));
  EXPECT_TRUE(pl.serverControl.present);
  EXPECT_FALSE(pl.serverControl.canBlockReload);
  EXPECT_FALSE(pl.hasPartInf);
}

TEST(ParseMediaPlaylist, UriWithoutExtinfIsNotASegment) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist("#EXTM3U\nstray.ts\n#EXTINF:2,\na.ts\n", pl, error));
  ASSERT_EQ(pl.segments.size(), 1u);
  EXPECT_EQ(pl.segments[0].uri, "a.ts");
}

TEST(ParseMediaPlaylist, RefusesPlaylistWithoutSegments) {
  MediaPlaylist pl;
  std::string error;
  EXPECT_FALSE(ParseMediaPlaylist("#EXTM3U\n#EXT-X-ENDLIST\n", pl, error));
  EXPECT_FALSE(error.empty());
}

TEST(ParseMediaPlaylist, ByteRangeWithoutOffsetFollowsThePreviousRangeOfTheSameResource) {
  const char* text =
      "#EXTM3U\n"
      "#EXTINF:2,\n#EXT-X-BYTERANGE:1000@500\nall.ts\n"
      "#EXTINF:2,\n#EXT-X-BYTERANGE:2000\nall.ts\n"
      "#EXTINF:2,\n#EXT-X-BYTERANGE:300\nother.ts\n"
      "#EXTINF:2,\nwhole.ts\n";
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist(text, pl, error)) << error;
  ASSERT_EQ(pl.segments.size(), 4u);
  EXPECT_EQ(pl.segments[0].RangeText(), "500-1499");
  EXPECT_EQ(pl.segments[1].RangeText(), "1500-3499");
  EXPECT_EQ(pl.segments[2].RangeText(), "0-299");
  EXPECT_EQ(pl.segments[3].RangeText(), "");
}

struct ResolveCase {
  const char* base;
  const char* reference;
  const char* expected;
};

TEST(ResolveUri, ResolvesRelativeRootRelativeAndAbsoluteReferences) {
  const ResolveCase cases[] = {
      {"http://h:1/a/master.m3u8", "v0/index.m3u8", "http://h:1/a/v0/index.m3u8"},
      {"http://h:1/a/master.m3u8?x=1", "v0/i.m3u8", "http://h:1/a/v0/i.m3u8"},
      {"http://h:1/a/master.m3u8", "/b/c.ts", "http://h:1/b/c.ts"},
      {"http://h:1/a/master.m3u8", "https://o/x.ts", "https://o/x.ts"},
      {"https://h/a/master.m3u8", "//cdn/x.ts", "https://cdn/x.ts"},
      {"http://h", "x.m3u8", "http://h/x.m3u8"},
      {"http://h/a/b/index.m3u8", "../c/seg.ts", "http://h/a/c/seg.ts"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ResolveUri(c.base, c.reference), c.expected) << c.base << " + " << c.reference;
  }
}

TEST(ResolveUri, AnUnusableBaseLeavesTheReferenceAsItIs) {
  EXPECT_EQ(ResolveUri("not a url", "seg.ts"), "seg.ts");
}

TEST(ParseMasterPlaylist, ReadsAlternativeRenditions) {
  MasterPlaylist master;
  std::string error;
  ASSERT_TRUE(ParseMasterPlaylist(
      "#EXTM3U\n"
      "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"aud\",NAME=\"English\",DEFAULT=YES,URI=\"en.m3u8\"\n"
      "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"subs\",NAME=\"English\"\n"
      "#EXT-X-STREAM-INF:BANDWIDTH=800000,AUDIO=\"aud\"\n"
      "v.m3u8\n",
      master, error))
      << error;
  ASSERT_EQ(master.renditions.size(), 2u);
  EXPECT_EQ(master.renditions[0].type, "AUDIO");
  EXPECT_EQ(master.renditions[0].groupId, "aud");
  EXPECT_EQ(master.renditions[0].name, "English");
  EXPECT_EQ(master.renditions[0].uri, "en.m3u8");
  EXPECT_EQ(master.renditions[1].type, "SUBTITLES");
  EXPECT_EQ(master.renditions[1].uri, "");
  ASSERT_EQ(master.variants.size(), 1u);
}

TEST(ParseMediaPlaylist, MarksDiscontinuitiesAndCountsTheirSequence) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(
      ParseMediaPlaylist("#EXTM3U\n"
                         "#EXT-X-TARGETDURATION:2\n"
                         "#EXT-X-DISCONTINUITY-SEQUENCE:4\n"
                         "#EXTINF:2,\na.ts\n"
                         "#EXT-X-DISCONTINUITY\n"
                         "#EXTINF:2,\nb.ts\n"
                         "#EXTINF:2,\nc.ts\n",
                         pl, error))
      << error;
  ASSERT_EQ(pl.segments.size(), 3u);
  EXPECT_FALSE(pl.segments[0].discontinuity);
  EXPECT_EQ(pl.segments[0].discontinuitySequence, 4u);
  EXPECT_TRUE(pl.segments[1].discontinuity);
  EXPECT_EQ(pl.segments[1].discontinuitySequence, 5u);
  EXPECT_FALSE(pl.segments[2].discontinuity);
  EXPECT_EQ(pl.segments[2].discontinuitySequence, 5u);
}

TEST(ParseMediaPlaylist, KeepsTheInitSectionOfFragmentedMp4) {
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(
      ParseMediaPlaylist("#EXTM3U\n"
                         "#EXT-X-MAP:URI=\"init.mp4\"\n"
                         "#EXTINF:2,\nseg1.m4s\n",
                         pl, error))
      << error;
  EXPECT_EQ(pl.mapUri, "init.mp4");
}

}  // namespace
}  // namespace strmplay
