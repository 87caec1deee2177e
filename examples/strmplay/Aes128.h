// AES-128-CBC decryption of HLS segments (PKCS#7 padding), through OpenSSL's EVP interface.
#pragma once

#include <cstdint>
#include <vector>

namespace strmplay {

// Decrypts `in` with the 16-byte key and IV. False when the data or its padding is not valid.
bool DecryptAes128Cbc(const std::uint8_t key[16], const std::uint8_t iv[16],
                      const std::vector<std::uint8_t>& in, std::vector<std::uint8_t>& out);

// Decrypts the whole 16-byte blocks at the start of `in`, without looking for padding: for the
// first bytes of a segment. False when there is not one whole block.
bool DecryptAes128CbcPrefix(const std::uint8_t key[16], const std::uint8_t iv[16],
                            const std::vector<std::uint8_t>& in, std::vector<std::uint8_t>& out);

}  // namespace strmplay
