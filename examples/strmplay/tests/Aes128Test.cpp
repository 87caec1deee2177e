#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>

#include "Aes128.h"

namespace strmplay {
namespace {

std::vector<std::uint8_t> Encrypt(const std::uint8_t key[16], const std::uint8_t iv[16],
                                  const std::vector<std::uint8_t>& plain) {
  EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
  std::vector<std::uint8_t> out(plain.size() + 16);
  int n1 = 0, n2 = 0;
  EVP_EncryptInit_ex(ctx, EVP_aes_128_cbc(), nullptr, key, iv);
  EVP_EncryptUpdate(ctx, out.data(), &n1, plain.data(), static_cast<int>(plain.size()));
  EVP_EncryptFinal_ex(ctx, out.data() + n1, &n2);
  EVP_CIPHER_CTX_free(ctx);
  out.resize(static_cast<std::size_t>(n1 + n2));
  return out;
}

const std::uint8_t kKey[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
const std::uint8_t kIv[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 100};

TEST(DecryptAes128Cbc, RecoversThePlainTextAndStripsThePadding) {
  std::vector<std::uint8_t> plain(188 * 3);
  for (std::size_t i = 0; i < plain.size(); ++i) plain[i] = static_cast<std::uint8_t>(i * 7);
  const auto cipher = Encrypt(kKey, kIv, plain);
  ASSERT_EQ(cipher.size() % 16, 0u);
  std::vector<std::uint8_t> out;
  ASSERT_TRUE(DecryptAes128Cbc(kKey, kIv, cipher, out));
  EXPECT_EQ(out, plain);
}

TEST(DecryptAes128Cbc, WrongIvCorruptsOnlyTheFirstBlock) {
  std::vector<std::uint8_t> plain(64, 0x47);
  const auto cipher = Encrypt(kKey, kIv, plain);
  std::uint8_t otherIv[16] = {};
  std::vector<std::uint8_t> out;
  ASSERT_TRUE(DecryptAes128Cbc(kKey, otherIv, cipher, out));
  ASSERT_EQ(out.size(), plain.size());
  EXPECT_NE(std::vector<std::uint8_t>(out.begin(), out.begin() + 16),
            std::vector<std::uint8_t>(plain.begin(), plain.begin() + 16));
  EXPECT_EQ(std::vector<std::uint8_t>(out.begin() + 16, out.end()),
            std::vector<std::uint8_t>(plain.begin() + 16, plain.end()));
}

TEST(DecryptAes128Cbc, RefusesDataThatIsNotWholeBlocks) {
  std::vector<std::uint8_t> out;
  EXPECT_FALSE(DecryptAes128Cbc(kKey, kIv, std::vector<std::uint8_t>(17, 1), out));
  EXPECT_FALSE(DecryptAes128Cbc(kKey, kIv, {}, out));
  EXPECT_TRUE(out.empty());
}

TEST(DecryptAes128Cbc, RefusesDataWhosePaddingDoesNotCheckOut) {
  // Whole blocks encrypted without padding, the last byte 0: no valid PKCS#7 ending.
  std::vector<std::uint8_t> plain(32, 0x47);
  plain.back() = 0;
  EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
  std::vector<std::uint8_t> cipher(plain.size());
  int n = 0;
  EVP_EncryptInit_ex(ctx, EVP_aes_128_cbc(), nullptr, kKey, kIv);
  EVP_CIPHER_CTX_set_padding(ctx, 0);
  EVP_EncryptUpdate(ctx, cipher.data(), &n, plain.data(), static_cast<int>(plain.size()));
  EVP_CIPHER_CTX_free(ctx);
  std::vector<std::uint8_t> out;
  EXPECT_FALSE(DecryptAes128Cbc(kKey, kIv, cipher, out));
  EXPECT_TRUE(out.empty());
}

TEST(DecryptAes128CbcPrefix, DecryptsTheWholeBlocksOfTheStartOfASegmentWithoutPadding) {
  std::vector<std::uint8_t> plain(188 * 20);
  for (std::size_t i = 0; i < plain.size(); ++i) plain[i] = static_cast<std::uint8_t>(i * 11);
  const auto cipher = Encrypt(kKey, kIv, plain);
  const std::vector<std::uint8_t> start(cipher.begin(), cipher.begin() + 1000);
  std::vector<std::uint8_t> out;
  ASSERT_TRUE(DecryptAes128CbcPrefix(kKey, kIv, start, out));
  ASSERT_EQ(out.size(), 992u);  // 62 whole blocks
  EXPECT_TRUE(std::equal(out.begin(), out.end(), plain.begin()));
  EXPECT_FALSE(DecryptAes128CbcPrefix(kKey, kIv, std::vector<std::uint8_t>(15), out));
}

}  // namespace
}  // namespace strmplay
