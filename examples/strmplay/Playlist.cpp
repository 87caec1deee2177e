#include "Playlist.h"

#include <sstream>

#include "Attr.h"
#include "gurl.h"

namespace strmplay {

namespace {

// Lines without their line ends and surrounding blanks; empty lines dropped.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    const auto first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos) continue;
    const auto last = line.find_last_not_of(" \t\r");
    lines.push_back(line.substr(first, last - first + 1));
  }
  return lines;
}

bool StartsWith(const std::string& s, const char* prefix, std::string* rest = nullptr) {
  const std::string p(prefix);
  if (s.compare(0, p.size(), p) != 0) return false;
  if (rest) *rest = s.substr(p.size());
  return true;
}

bool CheckHeader(const std::vector<std::string>& lines, std::string& error) {
  if (lines.empty() || lines[0].compare(0, 7, "#EXTM3U") != 0) {
    error = "not a playlist: the first line is not #EXTM3U";
    return false;
  }
  return true;
}

}  // namespace

bool KeyInfo::Clear() const { return method.empty() || AttrEquals(method, "NONE"); }

bool KeyInfo::Encrypted() const { return AttrEquals(method, "AES-128"); }

std::string Segment::RangeText() const {
  if (rangeLength < 0) return std::string();
  return std::to_string(rangeOffset) + "-" + std::to_string(rangeOffset + rangeLength - 1);
}

double MediaPlaylist::TotalDuration() const {
  double total = 0.0;
  for (const auto& s : segments) total += s.duration;
  return total;
}

std::map<std::string, std::string> ParseAttributeList(const std::string& text) {
  std::map<std::string, std::string> attrs;
  std::string::size_type i = 0;
  while (i < text.size()) {
    while (i < text.size() && (text[i] == ' ' || text[i] == ',')) ++i;
    const auto eq = text.find('=', i);
    if (eq == std::string::npos) break;
    std::string key = text.substr(i, eq - i);
    while (!key.empty() && key.back() == ' ') key.pop_back();
    std::string value;
    i = eq + 1;
    if (i < text.size() && text[i] == '"') {
      const auto close = text.find('"', i + 1);
      if (close == std::string::npos) {
        value = text.substr(i + 1);
        i = text.size();
      } else {
        value = text.substr(i + 1, close - i - 1);
        i = close + 1;
      }
    } else {
      const auto comma = text.find(',', i);
      const auto end = comma == std::string::npos ? text.size() : comma;
      value = text.substr(i, end - i);
      i = end;
    }
    attrs[key] = value;
  }
  return attrs;
}

bool IsAudioOnlyCodecs(const std::string& codecs) {
  // Sample entry names of the video codecs an HLS variant can carry.
  static constexpr const char* kVideoCodecs[] = {"avc1", "avc3", "hvc1", "hev1", "dvh1",
                                                 "dvhe", "vp08", "vp09", "av01", "mp4v"};
  bool any = false;
  std::istringstream in(codecs);
  std::string codec;
  while (std::getline(in, codec, ',')) {
    const auto first = codec.find_first_not_of(' ');
    if (first == std::string::npos) continue;
    any = true;
    for (const char* video : kVideoCodecs) {
      if (codec.compare(first, 4, video) == 0) return false;
    }
  }
  return any;
}

bool IsMasterPlaylist(const std::string& text) {
  return text.find("#EXT-X-STREAM-INF") != std::string::npos;
}

bool ParseMasterPlaylist(const std::string& text, MasterPlaylist& out, std::string& error) {
  out = MasterPlaylist();
  const auto lines = Lines(text);
  if (!CheckHeader(lines, error)) return false;
  bool pending = false;
  Variant variant;
  for (std::size_t n = 1; n < lines.size(); ++n) {
    const std::string& line = lines[n];
    std::string rest;
    if (StartsWith(line, "#EXT-X-STREAM-INF:", &rest)) {
      const auto attrs = ParseAttributeList(rest);
      variant = Variant();
      auto it = attrs.find("BANDWIDTH");
      if (it != attrs.end()) variant.bandwidth = AttrInt(it->second);
      it = attrs.find("AVERAGE-BANDWIDTH");
      if (it != attrs.end()) variant.averageBandwidth = AttrInt(it->second);
      it = attrs.find("RESOLUTION");
      if (it != attrs.end()) {
        const auto x = it->second.find_first_of("xX");
        if (x != std::string::npos) {
          variant.width = AttrInt(it->second.substr(0, x));
          variant.height = AttrInt(it->second.substr(x + 1));
        }
      }
      it = attrs.find("CODECS");
      if (it != attrs.end()) variant.codecs = it->second;
      pending = true;
    } else if (StartsWith(line, "#EXT-X-MEDIA:", &rest)) {
      const auto attrs = ParseAttributeList(rest);
      Rendition rendition;
      auto it = attrs.find("TYPE");
      if (it != attrs.end()) rendition.type = it->second;
      it = attrs.find("GROUP-ID");
      if (it != attrs.end()) rendition.groupId = it->second;
      it = attrs.find("NAME");
      if (it != attrs.end()) rendition.name = it->second;
      it = attrs.find("URI");
      if (it != attrs.end()) rendition.uri = it->second;
      out.renditions.push_back(rendition);
    } else if (line[0] != '#' && pending) {
      variant.uri = line;
      out.variants.push_back(variant);
      pending = false;
    }
  }
  if (out.variants.empty()) {
    error = "master playlist without variants";
    return false;
  }
  return true;
}

bool ParseMediaPlaylist(const std::string& text, MediaPlaylist& out, std::string& error) {
  out = MediaPlaylist();
  const auto lines = Lines(text);
  if (!CheckHeader(lines, error)) return false;
  KeyInfo key;
  key.method = "NONE";
  Segment next;
  bool haveInf = false;
  long long nextDateTime = 0;  // date-time of the next segment, carried forward by durations
  unsigned int sequence = 0;
  bool sequenceSet = false;
  std::string lastRangeUri;  // a byte range without offset continues the previous one
  long long lastRangeEnd = 0;
  unsigned int discontinuitySequence = 0;
  for (std::size_t n = 1; n < lines.size(); ++n) {
    const std::string& line = lines[n];
    std::string rest;
    if (StartsWith(line, "#EXTINF:", &rest)) {
      const auto comma = rest.find(',');
      next.duration = AttrDouble(rest.substr(0, comma));
      next.title = comma == std::string::npos ? std::string() : rest.substr(comma + 1);
      haveInf = true;
    } else if (StartsWith(line, "#EXT-X-MEDIA-SEQUENCE:", &rest)) {
      out.mediaSequence = AttrUInt(rest);
      if (!sequenceSet) sequence = out.mediaSequence;
    } else if (StartsWith(line, "#EXT-X-TARGETDURATION:", &rest)) {
      out.targetDuration = AttrDouble(rest);
    } else if (StartsWith(line, "#EXT-X-VERSION:", &rest)) {
      out.version = AttrInt(rest);
    } else if (StartsWith(line, "#EXT-X-PLAYLIST-TYPE:", &rest)) {
      out.playlistType = rest;
    } else if (StartsWith(line, "#EXT-X-ENDLIST")) {
      out.endList = true;
    } else if (StartsWith(line, "#EXT-X-DISCONTINUITY-SEQUENCE:", &rest)) {
      discontinuitySequence = AttrUInt(rest);
    } else if (StartsWith(line, "#EXT-X-DISCONTINUITY")) {
      next.discontinuity = true;
      ++discontinuitySequence;
    } else if (StartsWith(line, "#EXT-X-MAP:", &rest)) {
      const auto attrs = ParseAttributeList(rest);
      const auto it = attrs.find("URI");
      out.mapUri = it == attrs.end() ? std::string("(no URI)") : it->second;
    } else if (StartsWith(line, "#EXT-X-KEY:", &rest)) {
      const auto attrs = ParseAttributeList(rest);
      key = KeyInfo();
      auto it = attrs.find("METHOD");
      key.method = it == attrs.end() ? "NONE" : it->second;
      it = attrs.find("URI");
      if (it != attrs.end()) key.uri = it->second;
      it = attrs.find("IV");
      if (it != attrs.end()) key.iv = it->second;
    } else if (StartsWith(line, "#EXT-X-BYTERANGE:", &rest)) {
      const auto at = rest.find('@');
      next.rangeLength = AttrInt(rest.substr(0, at));
      next.rangeOffset = at == std::string::npos ? -1 : AttrInt(rest.substr(at + 1));
    } else if (StartsWith(line, "#EXT-X-PROGRAM-DATE-TIME:", &rest)) {
      nextDateTime = AttrDateTime(rest);
    } else if (StartsWith(line, "#EXT-X-SERVER-CONTROL:", &rest)) {
      const auto attrs = ParseAttributeList(rest);
      out.serverControl.present = true;
      auto it = attrs.find("CAN-BLOCK-RELOAD");
      if (it != attrs.end()) out.serverControl.canBlockReload = AttrYes(it->second);
      it = attrs.find("CAN-SKIP-UNTIL");
      if (it != attrs.end()) out.serverControl.canSkipUntil = AttrDouble(it->second);
      it = attrs.find("HOLD-BACK");
      if (it != attrs.end()) out.serverControl.holdBack = AttrDouble(it->second);
      it = attrs.find("PART-HOLD-BACK");
      if (it != attrs.end()) out.serverControl.partHoldBack = AttrDouble(it->second);
    } else if (StartsWith(line, "#EXT-X-PART-INF:", &rest)) {
      const auto attrs = ParseAttributeList(rest);
      out.hasPartInf = true;
      auto it = attrs.find("PART-TARGET");
      if (it != attrs.end()) out.partTarget = AttrDouble(it->second);
    } else if (line[0] != '#') {
      if (!haveInf) continue;  // a URI without EXTINF is not a segment
      sequenceSet = true;
      next.uri = line;
      if (next.rangeLength >= 0) {
        if (next.rangeOffset < 0) next.rangeOffset = next.uri == lastRangeUri ? lastRangeEnd : 0;
        lastRangeUri = next.uri;
        lastRangeEnd = next.rangeOffset + next.rangeLength;
      }
      next.sequence = sequence++;
      next.discontinuitySequence = discontinuitySequence;
      next.key = key;
      next.programDateTime = nextDateTime;
      if (nextDateTime != 0) nextDateTime += static_cast<long long>(next.duration * 1000.0 + 0.5);
      out.segments.push_back(next);
      next = Segment();
      haveInf = false;
    }
  }
  if (out.segments.empty()) {
    error = "media playlist without segments";
    return false;
  }
  return true;
}

std::string ResolveUri(const std::string& base, const std::string& reference) {
  const GURL resolved = GURL(base).Resolve(reference);
  return resolved.is_valid() ? resolved.spec() : reference;
}

}  // namespace strmplay
