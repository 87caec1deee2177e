#include "Ladder.h"

#include <algorithm>

#include "Attr.h"

namespace strmplay {

Ladder BuildLadder(const MasterPlaylist& master) {
  Ladder ladder;
  for (const auto& r : master.renditions) {
    if (AttrEquals(r.type, "AUDIO")) ladder.audio.push_back(r);
  }
  for (const auto& v : master.variants) {
    const bool renditionUri = std::any_of(ladder.audio.begin(), ladder.audio.end(),
                                          [&](const Rendition& r) { return r.uri == v.uri; });
    if (IsAudioOnlyCodecs(v.codecs) || (renditionUri && v.width == 0)) {
      ladder.audioOnly.push_back(v);
    } else {
      ladder.variants.push_back(v);
    }
  }
  // The switcher walks its table from the top down: ascending bandwidth.
  std::stable_sort(ladder.variants.begin(), ladder.variants.end(),
                   [](const Variant& a, const Variant& b) { return a.bandwidth < b.bandwidth; });
  return ladder;
}

}  // namespace strmplay
