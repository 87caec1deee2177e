// The switching ladder of a master playlist: its video variants in ascending order of BANDWIDTH.
// Variants that carry audio only (an alternative audio rendition listed as a variant of its own)
// stay out of it, since switching to one would lose the picture.
#pragma once

#include <vector>

#include "Playlist.h"

namespace strmplay {

struct Ladder {
  std::vector<Variant> variants;   // the ladder, ascending BANDWIDTH, playlist order among equals
  std::vector<Variant> audioOnly;  // kept out: audio-only variants, in playlist order
  std::vector<Rendition> audio;    // EXT-X-MEDIA TYPE=AUDIO renditions, not played
};

Ladder BuildLadder(const MasterPlaylist& master);

}  // namespace strmplay
