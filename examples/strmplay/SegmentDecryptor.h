// Decryption of AES-128 segments: the key from the key URI (fetched once and kept), the IV from
// the IV attribute or from the media sequence number, the cipher from Aes128.h.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Playlist.h"

namespace strmplay {

class SegmentDecryptor {
 public:
  // Fetches the key at the URL: true with its bytes, or false with a reason in words.
  using KeyFetch = std::function<bool(const std::string& url, std::vector<std::uint8_t>& key,
                                      std::string& error)>;

  explicit SegmentDecryptor(KeyFetch fetchKey);

  // Turns the segment's body into its clear bytes, in place. A clear segment stays as it is.
  // prefix: the body is only the first bytes of the segment (a probe), so padding is not looked
  // for. False with a reason in words when the key method is not AES-128, the key cannot be had,
  // or the bytes do not decrypt. keyUrlBase: the URL the playlist came from.
  bool Decrypt(const std::string& keyUrlBase, const Segment& segment, bool prefix,
               std::vector<std::uint8_t>& body, std::string& error);

  // Segments decrypted so far (prefixes not counted).
  int Decrypted() const { return m_decrypted; }

 private:
  KeyFetch m_fetchKey;
  std::map<std::string, std::vector<std::uint8_t>> m_keys;  // by key URL
  int m_decrypted = 0;
};

}  // namespace strmplay
