// The cipher, random and private-file services of the platform seam. The same
// known answers hold for OpenSSL and for CNG.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include "common/scratch_dir.h"
#include "platform/aes_gcm.h"
#include "platform/files.h"
#include "platform/private_file.h"
#include "platform/secure_random.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Hex(const std::string& digits) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

struct Vector {
  const char* name;
  std::string key, nonce, plain, associated, cipher, tag;
};

// AES-256 cases 13 to 16 of the GCM definition published with NIST SP 800-38D:
// empty input, one zero block, four blocks, and a partial block with
// associated data.
const Vector kVectors[] = {
    {"13", std::string(64, '0'), std::string(24, '0'), "", "", "",
     "530f8afbc74536b9a963b4f1c4cb738b"},
    {"14", std::string(64, '0'), std::string(24, '0'), std::string(32, '0'), "",
     "cea7403d4d606b6e074ec5d3baf39d18", "d0d1c8a799996bf0265b98b5d48ab919"},
    {"15", "feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308",
     "cafebabefacedbaddecaf888",
     "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
     "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b391aafd255",
     "",
     "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
     "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662898015ad",
     "b094dac5d93471bdec1a502270e3cc6c"},
    {"16", "feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308",
     "cafebabefacedbaddecaf888",
     "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
     "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b39",
     "feedfacedeadbeeffeedfacedeadbeefabaddad2",
     "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
     "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662",
     "76fc6ece0f4e1768cddf8853bb2d551b"},
};

struct Case {
  Bytes key, nonce, plain, associated, cipher, tag;
  explicit Case(const Vector& v)
      : key(Hex(v.key)),
        nonce(Hex(v.nonce)),
        plain(Hex(v.plain)),
        associated(Hex(v.associated)),
        cipher(Hex(v.cipher)),
        tag(Hex(v.tag)) {}
  int Decrypt(Bytes* out) const {
    out->assign(cipher.size(), 0xAA);
    return platform::AesGcmDecrypt(std::span<const uint8_t, 32>(key),
                                   std::span<const uint8_t, 12>(nonce), associated, cipher,
                                   std::span<const uint8_t, 16>(tag), *out);
  }
};

TEST(AesGcmTest, KnownAnswers) {
  for (const Vector& v : kVectors) {
    const Case c(v);
    Bytes cipher(c.plain.size()), tag(16);
    ASSERT_EQ(platform::AesGcmEncrypt(std::span<const uint8_t, 32>(c.key),
                                      std::span<const uint8_t, 12>(c.nonce), c.associated, c.plain,
                                      cipher, std::span<uint8_t, 16>(tag)),
              platform::kAesGcmOk)
        << v.name;
    EXPECT_EQ(cipher, c.cipher) << v.name;
    EXPECT_EQ(tag, c.tag) << v.name;
    Bytes plain;
    ASSERT_EQ(c.Decrypt(&plain), platform::kAesGcmOk) << v.name;
    EXPECT_EQ(plain, c.plain) << v.name;
  }
}

TEST(AesGcmTest, AnyAlteredInputFailsTheTagAndYieldsNoPlainText) {
  const Case original(kVectors[3]);
  const auto alter = [&](auto field) {
    Case c = original;
    (c.*field)[0] ^= 0x01;
    return c;
  };
  for (const Case& c : {alter(&Case::key), alter(&Case::nonce), alter(&Case::associated),
                        alter(&Case::cipher), alter(&Case::tag)}) {
    Bytes plain;
    EXPECT_EQ(c.Decrypt(&plain), platform::kAesGcmBadTag);
    EXPECT_EQ(plain, Bytes(plain.size(), 0));
  }
  Case dropped = original;
  dropped.associated.clear();
  Bytes plain;
  EXPECT_EQ(dropped.Decrypt(&plain), platform::kAesGcmBadTag);
}

TEST(SecureRandomTest, DrawsDiffer) {
  Bytes first(32), second(32);
  ASSERT_EQ(platform::SecureRandomBytes(first.data(), first.size()), 0);
  ASSERT_EQ(platform::SecureRandomBytes(second.data(), second.size()), 0);
  EXPECT_NE(first, second);
  EXPECT_NE(first, Bytes(32, 0));
}

TEST(PrivateFileTest, CreatesOnceAndNeverReplaces) {
  sqxa_test::ScratchDir dir;
  const std::string path = dir.File("secret.key");
  ASSERT_EQ(platform::CreatePrivateFile(path, "first\n"), 0);
  std::string contents;
  ASSERT_EQ(platform::ReadFileContents(path, &contents), 0);
  EXPECT_EQ(contents, "first\n");

  EXPECT_EQ(platform::CreatePrivateFile(path, "second\n"), EEXIST);
  ASSERT_EQ(platform::ReadFileContents(path, &contents), 0);
  EXPECT_EQ(contents, "first\n");
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"secret.key"});  // no temporaries left

  EXPECT_EQ(platform::CreatePrivateFile(dir.File("missing") + "/secret.key", "x"), ENOENT);
}

}  // namespace
