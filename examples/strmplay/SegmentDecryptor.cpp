#include "SegmentDecryptor.h"

#include "Aes128.h"
#include "Drm_Common.h"

namespace strmplay {

namespace {

constexpr std::size_t kKeyBytes = 16;

}  // namespace

SegmentDecryptor::SegmentDecryptor(KeyFetch fetchKey) : m_fetchKey(std::move(fetchKey)) {}

bool SegmentDecryptor::Decrypt(const std::string& keyUrlBase, const Segment& segment, bool prefix,
                               std::vector<std::uint8_t>& body, std::string& error) {
  if (segment.key.Clear()) return true;
  if (!segment.key.Encrypted()) {
    error = "key method " + segment.key.method + " is not supported (AES-128 only)";
    return false;
  }
  const std::string keyUrl = ResolveUri(keyUrlBase, segment.key.uri);
  auto it = m_keys.find(keyUrl);
  if (it == m_keys.end()) {
    std::vector<std::uint8_t> key;
    std::string why;
    if (!m_fetchKey(keyUrl, key, why)) {
      error = "key " + keyUrl + ": " + why;
      return false;
    }
    if (key.size() != kKeyBytes) {
      error = "key " + keyUrl + ": " + std::to_string(key.size()) + " bytes, not 16";
      return false;
    }
    it = m_keys.emplace(keyUrl, key).first;
  }
  unsigned char iv[kKeyBytes];
  if (!segment.key.iv.empty()) {
    stringToiv(segment.key.iv, iv, sizeof iv);
  } else {
    sequenceToiv(segment.sequence, iv, sizeof iv);
  }
  std::vector<std::uint8_t> plain;
  const bool ok = prefix ? DecryptAes128CbcPrefix(it->second.data(), iv, body, plain)
                         : DecryptAes128Cbc(it->second.data(), iv, body, plain);
  if (!ok) {
    error = "AES-128 decryption failed (wrong key, or not a whole number of blocks)";
    return false;
  }
  if (!prefix) ++m_decrypted;
  body.swap(plain);
  return true;
}

}  // namespace strmplay
