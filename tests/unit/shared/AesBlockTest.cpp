// The block cipher: schedules, single blocks and many, on every path.

#include "AesFixture.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <memory>

using aes::bytes;
using aes::decrypted;
using aes::encrypted;
using testing::Each;
using testing::ElementsAre;

namespace {

// The keys of FIPS-197's appendices A and C.
const std::string kKey128 = bytes("2b7e151628aed2a6abf7158809cf4f3c");
const std::string kKey192 = bytes("8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b");
const std::string kKey256 = bytes("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
const std::string kCountingKey = bytes("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
const std::string kCountingText = bytes("00112233445566778899aabbccddeeff");

std::vector<std::uint32_t> words(const aes::Schedule& schedule, std::size_t first, std::size_t count) {
    return {schedule.words.begin() + static_cast<std::ptrdiff_t>(first),
            schedule.words.begin() + static_cast<std::ptrdiff_t>(first + count)};
}

} // namespace

TEST(AesBlock, TellsTheNumberOfRounds) {
    for (const std::size_t size : {16, 24, 32}) {
        const auto key = kCountingKey.substr(0, size);
        const int rounds = static_cast<int>(size / 4 + 6);
        EXPECT_EQ(aes::encryptionSchedule(key).rounds, rounds);
        EXPECT_EQ(aes::decryptionSchedule(key).rounds, rounds);
    }
}

TEST(AesBlock, ExpandsAKeyOf128Bits) {
    const auto schedule = aes::encryptionSchedule(kKey128);
    EXPECT_THAT(words(schedule, 0, 4), ElementsAre(0x2b7e1516, 0x28aed2a6, 0xabf71588, 0x09cf4f3c));
    EXPECT_THAT(words(schedule, 4, 4), ElementsAre(0xa0fafe17, 0x88542cb1, 0x23a33939, 0x2a6c7605));
    EXPECT_THAT(words(schedule, 40, 4), ElementsAre(0xd014f9a8, 0xc9ee2589, 0xe13f0cc8, 0xb6630ca6));
}

TEST(AesBlock, ExpandsAKeyOf192Bits) {
    const auto schedule = aes::encryptionSchedule(kKey192);
    EXPECT_THAT(words(schedule, 6, 4), ElementsAre(0xfe0c91f7, 0x2402f5a5, 0xec12068e, 0x6c827f6b));
    EXPECT_THAT(words(schedule, 48, 4), ElementsAre(0xe98ba06f, 0x448c773c, 0x8ecc7204, 0x01002202));
}

TEST(AesBlock, ExpandsAKeyOf256Bits) {
    const auto schedule = aes::encryptionSchedule(kKey256);
    EXPECT_THAT(words(schedule, 8, 8), ElementsAre(0x9ba35411, 0x8e6925af, 0xa51a8b5f, 0x2067fcde, 0xa8b09c1a,
                                                   0x93d194cd, 0xbe49846e, 0xb75d5b9a));
    EXPECT_THAT(words(schedule, 56, 4), ElementsAre(0xfe4890d1, 0xe6188d0b, 0x046df344, 0x706c631e));
}

// FIPS-197's appendix C.1 shows the round keys of the equivalent inverse cipher.
TEST(AesBlock, ExpandsAKeyForTheEquivalentInverseCipher) {
    const auto schedule = aes::decryptionSchedule(kCountingKey.substr(0, 16));
    EXPECT_THAT(words(schedule, 40, 4), ElementsAre(0x13111d7f, 0xe3944a17, 0xf307a78b, 0x4d2b30c5));
    EXPECT_THAT(words(schedule, 36, 4), ElementsAre(0x13aa29be, 0x9c8faff6, 0xf770f580, 0x00f7bf03));
    EXPECT_THAT(words(schedule, 4, 4), ElementsAre(0x8c56dff0, 0x825dd3f9, 0x805ad3fc, 0x8659d7fd));
    EXPECT_THAT(words(schedule, 0, 4), ElementsAre(0x00010203, 0x04050607, 0x08090a0b, 0x0c0d0e0f));
}

TEST(AesBlock, RefusesOtherKeyLengths) {
    for (const int bits : {-128, 0, 1, 64, 127, 129, 160, 224, 255, 257, 512}) {
        std::array<std::uint32_t, kAesLargestSchedule> schedule{};
        schedule.fill(7);
        EXPECT_EQ(rijndaelSetupEncrypt(schedule.data(), nullptr, bits), 0) << bits;
        EXPECT_EQ(rijndaelSetupDecrypt(schedule.data(), nullptr, bits), 0) << bits;
        EXPECT_THAT(schedule, Each(7U)) << bits;
    }
}

TEST(AesBlock, EncryptsAndDecryptsOneBlock) {
    const auto encryption = aes::encryptionSchedule(kCountingKey);
    const auto decryption = aes::decryptionSchedule(kCountingKey);
    std::string block(kAesBlockSize, '\0');
    rijndaelEncrypt(encryption.words.data(), encryption.rounds, aes::in(kCountingText), aes::out(block));
    EXPECT_EQ(block, bytes("8ea2b7ca516745bfeafc49904b496089"));
    rijndaelDecrypt(decryption.words.data(), decryption.rounds, aes::in(block), aes::out(block));
    EXPECT_EQ(block, kCountingText);
}

TEST(AesBlock, EncryptsAndDecryptsManyBlocks) {
    const auto text = aes::randomBytes(100 * kAesBlockSize, 1);
    const auto encryption = aes::encryptionSchedule(kKey256);
    const auto decryption = aes::decryptionSchedule(kKey256);
    auto blocks = text;
    rijndaelEncryptBlocks(encryption.words.data(), encryption.rounds, aes::in(blocks), aes::out(blocks), 100);
    EXPECT_EQ(blocks, aes::encryptedByOpenSsl(kKey256, text));
    rijndaelDecryptBlocks(decryption.words.data(), decryption.rounds, aes::in(blocks), aes::out(blocks), 100);
    EXPECT_EQ(blocks, text);
}

TEST(AesPath, BeginsWithThePortableOne) {
    ASSERT_FALSE(aesPaths().empty());
    EXPECT_STREQ(aesPaths().front().name, "portable");
    EXPECT_TRUE(aesPaths().front().isSupported);
}

TEST(AesPath, ChoosesTheLastThatIsSupported) {
    EXPECT_TRUE(fastestAesPath().isSupported);
    for (const AesPath* path = &fastestAesPath() + 1; path != aesPaths().data() + aesPaths().size(); ++path) {
        EXPECT_FALSE(path->isSupported) << path->name;
    }
}

#if defined(__x86_64__) && !defined(__clang__) // older ones of which know no VAES
// The compiler's own look at the processor is the judge.
TEST(AesPath, KnowsWhatTheProcessorHas) {
    __builtin_cpu_init();
    const bool hasAesNi = __builtin_cpu_supports("aes") && __builtin_cpu_supports("ssse3");
    const bool hasVaes = hasAesNi && __builtin_cpu_supports("vaes");
    ASSERT_EQ(aesPaths().size(), 4U);
    EXPECT_EQ(aesPaths()[1].isSupported, hasAesNi);
    EXPECT_EQ(aesPaths()[2].isSupported, hasVaes && __builtin_cpu_supports("avx2"));
    EXPECT_EQ(aesPaths()[3].isSupported, hasVaes && __builtin_cpu_supports("avx512f"));
}
#endif

class AesOnEachPath : public aes::OnEachPath {};
INSTANTIATE_TEST_SUITE_P(Paths, AesOnEachPath, testing::ValuesIn(aesPaths().begin(), aesPaths().end()),
                         aes::testName);

// FIPS-197, appendix B.
TEST_P(AesOnEachPath, GivesTheCipherExample) {
    const auto plaintext = bytes("3243f6a8885a308d313198a2e0370734");
    const auto ciphertext = bytes("3925841d02dc09fbdc118597196a0b32");
    EXPECT_EQ(encrypted(GetParam(), kKey128, plaintext), ciphertext);
    EXPECT_EQ(decrypted(GetParam(), kKey128, ciphertext), plaintext);
}

// FIPS-197, appendix C.
TEST_P(AesOnEachPath, GivesTheExampleVectors) {
    const std::array<std::string, 3> ciphertexts{bytes("69c4e0d86a7b0430d8cdb78070b4c55a"),
                                                 bytes("dda97ca4864cdfe06eaf70a0ec0d7191"),
                                                 bytes("8ea2b7ca516745bfeafc49904b496089")};
    for (std::size_t index = 0; index < ciphertexts.size(); ++index) {
        const auto key = kCountingKey.substr(0, 16 + 8 * index);
        EXPECT_EQ(encrypted(GetParam(), key, kCountingText), ciphertexts[index]) << key.size();
        EXPECT_EQ(decrypted(GetParam(), key, ciphertexts[index]), kCountingText) << key.size();
    }
}

TEST_P(AesOnEachPath, AgreesWithOpenSslOnAMillionBlocks) {
    constexpr std::size_t kKeys = 250;
    constexpr std::size_t kBlocks = 4'000;
    for (std::uint32_t number = 0; number < kKeys; ++number) {
        const auto key = aes::randomBytes(32, 2 * number);
        const auto blocks = aes::randomBytes(kBlocks * kAesBlockSize, 2 * number + 1);
        ASSERT_TRUE(encrypted(GetParam(), key, blocks) == aes::encryptedByOpenSsl(key, blocks)) << number;
        ASSERT_TRUE(decrypted(GetParam(), key, blocks) == aes::decryptedByOpenSsl(key, blocks)) << number;
    }
}

// Whole batches, a part of one, and none.
TEST_P(AesOnEachPath, TakesAnyNumberOfBlocks) {
    for (const std::size_t keySize : {16, 24, 32}) {
        const auto key = kCountingKey.substr(0, keySize);
        for (std::size_t blocks = 0; blocks <= 130; ++blocks) {
            const auto text = aes::randomBytes(blocks * kAesBlockSize, static_cast<std::uint32_t>(blocks));
            ASSERT_TRUE(encrypted(GetParam(), key, text) == aes::encryptedByOpenSsl(key, text)) << blocks;
            ASSERT_TRUE(decrypted(GetParam(), key, text) == aes::decryptedByOpenSsl(key, text)) << blocks;
        }
    }
}

// The buffers lie anywhere in memory, and nothing beside them is written.
TEST_P(AesOnEachPath, TakesBuffersOfAnyAlignment) {
    constexpr std::size_t kSize = 71 * kAesBlockSize;
    const auto text = aes::randomBytes(kSize, 5);
    const auto expected = aes::encryptedByOpenSsl(kKey256, text);
    const auto [words, rounds] = aes::encryptionSchedule(kKey256);
    for (std::size_t offset = 0; offset < 64; ++offset) {
        const auto input = std::string(offset, 'i') + text;
        std::string output(kSize + 128, 'o');
        GetParam().encrypt(words.data(), rounds, aes::in(input) + offset, aes::out(output) + 63 - offset,
                           kSize / kAesBlockSize);
        ASSERT_TRUE(output == std::string(63 - offset, 'o') + expected + std::string(65 + offset, 'o'))
            << offset;
    }
}

// What is too large for the caches is written past them, where the buffer's place allows it.
TEST_P(AesOnEachPath, TakesLargeBuffersOfAnyAlignment) {
    constexpr std::size_t kSize = (std::size_t{16} << 20) + 76 * kAesBlockSize;
    const auto text = aes::randomBytes(kSize, 7);
    const auto expected = aes::encryptedByOpenSsl(kKey256, text);
    const auto [words, rounds] = aes::encryptionSchedule(kKey256);
    const std::unique_ptr<std::uint8_t, decltype(&std::free)> memory(
        static_cast<std::uint8_t*>(std::aligned_alloc(64, kSize + 128)), std::free);
    for (const std::size_t offset : {0, 1, 16, 48}) {
        auto* output = memory.get() + offset;
        std::memset(memory.get(), 'o', kSize + 128);
        GetParam().encrypt(words.data(), rounds, aes::in(text), output, kSize / kAesBlockSize);
        ASSERT_EQ(std::memcmp(output, expected.data(), kSize), 0) << offset;
        ASSERT_EQ(std::string(memory.get(), output), std::string(offset, 'o'));
        ASSERT_EQ(output[kSize], 'o') << offset;
    }
    ASSERT_TRUE(decrypted(GetParam(), kKey256, expected) == text);
}

TEST_P(AesOnEachPath, WorksInPlace) {
    const auto text = aes::randomBytes(77 * kAesBlockSize, 6);
    const auto encryption = aes::encryptionSchedule(kKey192);
    const auto decryption = aes::decryptionSchedule(kKey192);
    auto blocks = text;
    GetParam().encrypt(encryption.words.data(), encryption.rounds, aes::in(blocks), aes::out(blocks), 77);
    EXPECT_EQ(blocks, aes::encryptedByOpenSsl(kKey192, text));
    GetParam().decrypt(decryption.words.data(), decryption.rounds, aes::in(blocks), aes::out(blocks), 77);
    EXPECT_EQ(blocks, text);
}
