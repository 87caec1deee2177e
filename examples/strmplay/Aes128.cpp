#include "Aes128.h"

#include <openssl/evp.h>

#include <memory>

namespace strmplay {

namespace {

constexpr std::size_t kBlock = 16;

bool Decrypt(const std::uint8_t key[16], const std::uint8_t iv[16], const std::uint8_t* in,
             std::size_t size, bool padded, std::vector<std::uint8_t>& out) {
  out.clear();
  if (size == 0 || size % kBlock != 0) return false;
  std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                      &EVP_CIPHER_CTX_free);
  if (!ctx || EVP_DecryptInit_ex(ctx.get(), EVP_aes_128_cbc(), nullptr, key, iv) != 1 ||
      EVP_CIPHER_CTX_set_padding(ctx.get(), padded ? 1 : 0) != 1) {
    return false;
  }
  out.resize(size + kBlock);
  int n1 = 0;
  int n2 = 0;
  if (EVP_DecryptUpdate(ctx.get(), out.data(), &n1, in, static_cast<int>(size)) != 1 ||
      EVP_DecryptFinal_ex(ctx.get(), out.data() + n1, &n2) != 1) {
    out.clear();
    return false;
  }
  out.resize(static_cast<std::size_t>(n1 + n2));
  return true;
}

}  // namespace

bool DecryptAes128Cbc(const std::uint8_t key[16], const std::uint8_t iv[16],
                      const std::vector<std::uint8_t>& in, std::vector<std::uint8_t>& out) {
  return Decrypt(key, iv, in.data(), in.size(), true, out);
}

bool DecryptAes128CbcPrefix(const std::uint8_t key[16], const std::uint8_t iv[16],
                            const std::vector<std::uint8_t>& in, std::vector<std::uint8_t>& out) {
  return Decrypt(key, iv, in.data(), in.size() - in.size() % kBlock, false, out);
}

}  // namespace strmplay
