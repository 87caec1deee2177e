// A small HLS playlist reader: enough of the master and media playlist syntax for strmplay.
// Attribute values become numbers and dates through the library's converters (see Attr.h).
#pragma once

#include <map>
#include <string>
#include <vector>

namespace strmplay {

// One EXT-X-STREAM-INF entry of a master playlist.
struct Variant {
  int bandwidth = 0;         // BANDWIDTH, bit/s
  int averageBandwidth = 0;  // AVERAGE-BANDWIDTH, bit/s, 0 when absent
  int width = 0;             // RESOLUTION, 0 when absent
  int height = 0;
  std::string codecs;
  std::string uri;  // as written in the playlist (maybe relative)
};

// One EXT-X-MEDIA entry: an alternative rendition (audio, subtitles, ...) of a group.
struct Rendition {
  std::string type;     // AUDIO, VIDEO, SUBTITLES, CLOSED-CAPTIONS
  std::string groupId;  // GROUP-ID
  std::string name;     // NAME
  std::string uri;      // as written, empty when the rendition is carried in the variants
};

struct MasterPlaylist {
  std::vector<Variant> variants;      // in playlist order
  std::vector<Rendition> renditions;  // in playlist order
};

// EXT-X-KEY as it applies to a segment. method "NONE" (or empty) means clear text.
struct KeyInfo {
  std::string method;
  std::string uri;
  std::string iv;  // the IV attribute's text ("0x..."), empty when the IV comes from the sequence
  bool Clear() const;      // no key: method NONE or no key tag
  bool Encrypted() const;  // METHOD=AES-128
};

struct Segment {
  double duration = 0.0;  // EXTINF, seconds
  std::string title;
  std::string uri;
  unsigned int sequence = 0;      // media sequence number
  KeyInfo key;                    // key in force for this segment
  long long programDateTime = 0;  // ms since 1970 of EXT-X-PROGRAM-DATE-TIME, 0 when none known
  long long rangeLength = -1;     // EXT-X-BYTERANGE: bytes of the resource, -1 for all of it
  long long rangeOffset = 0;      // first byte, when rangeLength is not -1
  bool discontinuity = false;     // EXT-X-DISCONTINUITY stands before it
  unsigned int discontinuitySequence = 0;

  // "first-last" for an HTTP Range, empty for the whole resource.
  std::string RangeText() const;
};

// EXT-X-SERVER-CONTROL, in seconds as written.
struct ServerControl {
  bool present = false;
  bool canBlockReload = false;
  double canSkipUntil = 0.0;
  double holdBack = 0.0;
  double partHoldBack = 0.0;
};

struct MediaPlaylist {
  int version = 0;
  double targetDuration = 0.0;
  unsigned int mediaSequence = 0;
  bool endList = false;
  std::string playlistType;
  ServerControl serverControl;
  bool hasPartInf = false;
  double partTarget = 0.0;  // EXT-X-PART-INF PART-TARGET, seconds
  std::string mapUri;       // EXT-X-MAP URI: the segments are fragmented MP4, not TS
  std::vector<Segment> segments;

  double TotalDuration() const;
};

// Splits an attribute list (KEY=VALUE,KEY="quoted, with commas",...) into a map. Quotes are
// removed from quoted values; keys keep their case.
std::map<std::string, std::string> ParseAttributeList(const std::string& text);

// True when the text carries EXT-X-STREAM-INF, i.e. is a master playlist.
bool IsMasterPlaylist(const std::string& text);

// True when a CODECS list names audio codecs only (no video codec among them).
bool IsAudioOnlyCodecs(const std::string& codecs);

// Both return false (with a reason in error) when the text doesn't start with #EXTM3U or holds
// nothing usable.
bool ParseMasterPlaylist(const std::string& text, MasterPlaylist& out, std::string& error);
bool ParseMediaPlaylist(const std::string& text, MediaPlaylist& out, std::string& error);

// Resolves a playlist reference against the URL of the playlist that holds it, with the library's
// URL resolver; a reference that doesn't resolve comes back as it is.
std::string ResolveUri(const std::string& base, const std::string& reference);

}  // namespace strmplay
