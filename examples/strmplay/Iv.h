// The 16-byte IV of an AES-128 segment: from the key tag's IV attribute, or from the media
// sequence number when the tag has none.
#pragma once

#include <string>

namespace strmplay {

void IvFromSequence(unsigned int sequence, unsigned char iv[16]);
void IvFromText(const std::string& hex, unsigned char iv[16]);

}  // namespace strmplay
