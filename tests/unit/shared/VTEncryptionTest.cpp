#include "VTEncryption.h"

#include "AesFixture.h"

#include <gmock/gmock.h>

namespace {

const std::string kPassphrase = "a passphrase of 32 bytes exactly";

std::string encrypt(const std::string& data, std::optional<std::string_view> words = kPassphrase) {
    return VTEncryption::AESEncryptData(data, words);
}
std::string decrypt(const std::string& data, std::optional<std::string_view> words = kPassphrase) {
    return VTEncryption::AESDecryptData(data, words);
}

std::string padded(std::string data) {
    data.resize((data.size() + 15) / 16 * 16, ' ');
    return data;
}

// The passphrase's bytes and zeros.
std::string keyOf(std::string text) {
    text.resize(32, '\0');
    return text;
}

} // namespace

TEST(VTEncryption, MakesWholeBlocks) {
    EXPECT_EQ(encrypt("").size(), 0U);
    EXPECT_EQ(encrypt("1").size(), 16U);
    EXPECT_EQ(encrypt(std::string(15, 'x')).size(), 16U);
    EXPECT_EQ(encrypt(std::string(16, 'x')).size(), 16U);
    EXPECT_EQ(encrypt(std::string(17, 'x')).size(), 32U);
    EXPECT_EQ(encrypt(std::string(32, 'x')).size(), 32U);
}

TEST(VTEncryption, DecryptsNothingToNothing) {
    EXPECT_EQ(decrypt(""), "");
}

TEST(VTEncryption, KeepsThePadding) {
    const std::string text = "seventeen bytes !";
    ASSERT_EQ(text.size(), 17U);
    EXPECT_EQ(decrypt(encrypt(text)), text + std::string(15, ' '));
}

TEST(VTEncryption, AddsNoBlockToWholeOnes) {
    const std::string text = "thirty-two bytes make two blocks";
    ASSERT_EQ(text.size(), 32U);
    EXPECT_EQ(decrypt(encrypt(text)), text);
}

TEST(VTEncryption, PadsWithSpaces) {
    EXPECT_EQ(encrypt("padded"), encrypt("padded          "));
    EXPECT_NE(encrypt("padded"), encrypt(std::string("padded\0\0\0\0\0\0\0\0\0\0", 16)));
}

TEST(VTEncryption, EncryptsEqualBlocksEqually) {
    const std::string block = "sixteen bytes...";
    const auto ciphertext = encrypt(block + "something between, " + std::string(13, '.') + block);
    ASSERT_EQ(ciphertext.size(), 64U);
    EXPECT_EQ(ciphertext.substr(0, 16), ciphertext.substr(48));
    EXPECT_NE(ciphertext.substr(0, 16), ciphertext.substr(16, 16));
}

// Through pieces, batches and the last block, with an independent judge.
TEST(VTEncryption, AgreesWithOpenSslForEveryLength) {
    const auto text = aes::randomBytes(4096, 1);
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const auto data = text.substr(0, length);
        const auto ciphertext = encrypt(data);
        ASSERT_TRUE(ciphertext == aes::encryptedByOpenSsl(kPassphrase, padded(data))) << length;
        ASSERT_TRUE(decrypt(ciphertext) == padded(data)) << length;
    }
}

TEST(VTEncryption, AgreesWithOpenSslForLongData) {
    for (const std::size_t length : {16'383, 16'384, 16'385, 32'768, 100'003, 1'000'000}) {
        const auto data = aes::randomBytes(length, 2);
        const auto ciphertext = encrypt(data);
        ASSERT_TRUE(ciphertext == aes::encryptedByOpenSsl(kPassphrase, padded(data))) << length;
        ASSERT_TRUE(decrypt(ciphertext) == padded(data)) << length;
    }
}

TEST(VTEncryption, AllocatesTheOutputOnce) {
    for (const std::size_t length : {17, 1000, 100'003}) {
        const auto data = aes::randomBytes(length, 3);
        const auto ciphertext = encrypt(data);
        EXPECT_EQ(ciphertext.capacity(), ciphertext.size());
        EXPECT_EQ(decrypt(ciphertext).capacity(), ciphertext.size());
    }
}

TEST(VTEncryption, TakesAnyBytes) {
    std::string every;
    for (int byte = 0; byte < 256; ++byte) {
        every.push_back(static_cast<char>(byte));
    }
    EXPECT_EQ(decrypt(encrypt(every)), every);
}

TEST(VTEncryption, CutsThePassphraseAfter32Bytes) {
    const std::string words = "forty bytes of a passphrase, counted out";
    ASSERT_EQ(words.size(), 40U);
    EXPECT_EQ(encrypt("text", words), encrypt("text", words.substr(0, 32)));
    EXPECT_NE(encrypt("text", words), encrypt("text", words.substr(0, 31)));
    EXPECT_EQ(decrypt(encrypt("text", words), words.substr(0, 32)), padded("text"));
}

// A character of several bytes may be cut through.
TEST(VTEncryption, CountsThePassphraseInBytes) {
    const std::string words = std::string(31, 'x') + "\u00e9";
    EXPECT_EQ(encrypt("text", words), aes::encryptedByOpenSsl(std::string(31, 'x') + "\xc3", padded("text")));
}

TEST(VTEncryption, FillsAShortPassphraseWithZeros) {
    for (const std::string words : {"s", "secret", "a passphrase of only 31 bytes.."}) {
        EXPECT_EQ(encrypt("text", words), aes::encryptedByOpenSsl(keyOf(words), padded("text"))) << words;
    }
}

TEST(VTEncryption, HasAKeyOfZerosWithoutPassphrase) {
    const auto expected = aes::encryptedByOpenSsl(std::string(32, '\0'), padded("text"));
    EXPECT_EQ(encrypt("text", std::nullopt), expected);
    EXPECT_EQ(encrypt("text", ""), expected);
    EXPECT_EQ(decrypt(expected, std::nullopt), padded("text"));
}

// Zero bytes in the passphrase are bytes like others.
TEST(VTEncryption, ReadsThePassphraseToItsEnd) {
    const std::string words("zero\0inside", 11);
    EXPECT_EQ(encrypt("text", words), aes::encryptedByOpenSsl(keyOf(words), padded("text")));
    EXPECT_NE(encrypt("text", words), encrypt("text", "zero"));
}

TEST(VTEncryption, GivesMeaninglessBlocksForAWrongPassphrase) {
    const std::string text = "sixteen bytes...and sixteen more";
    const auto ciphertext = encrypt(text, "right");
    const auto result = decrypt(ciphertext, "wrong");
    EXPECT_EQ(result, aes::decryptedByOpenSsl(keyOf("wrong"), ciphertext));
    EXPECT_EQ(result.size(), 32U);
    EXPECT_NE(result.substr(0, 16), text.substr(0, 16));
    EXPECT_NE(result.substr(16), text.substr(16));
}

// Nothing tells: what is changed, exchanged or left out changes its own blocks alone.
TEST(VTEncryption, NoticesNoDamage) {
    const std::string text = "the first block.the second one..the third of them";
    auto ciphertext = encrypt(text);
    ASSERT_EQ(ciphertext.size(), 64U);
    EXPECT_EQ(decrypt(ciphertext.substr(16, 16) + ciphertext.substr(0, 16)),
              "the second one..the first block.");
    ciphertext[20] ^= 1;
    const auto result = decrypt(ciphertext);
    EXPECT_EQ(result.substr(0, 16), "the first block.");
    EXPECT_NE(result.substr(16, 16), "the second one..");
    EXPECT_EQ(result.substr(32), padded("the third of them"));
}

// The missing bytes are those of the block before.
TEST(VTEncryption, DecryptsAShortLastPieceWithWhatWasLeft) {
    const auto ciphertext = aes::randomBytes(48, 4);
    for (std::size_t length = 33; length < 48; ++length) {
        const auto completed = ciphertext.substr(0, length) + ciphertext.substr(length - 16, 48 - length);
        ASSERT_EQ(completed.size(), 48U);
        EXPECT_EQ(decrypt(ciphertext.substr(0, length)), aes::decryptedByOpenSsl(kPassphrase, completed))
            << length;
    }
}

TEST(VTEncryption, DecryptsAShortOnlyPieceWithZeros) {
    const auto ciphertext = aes::randomBytes(16, 5);
    for (std::size_t length = 1; length < 16; ++length) {
        auto completed = ciphertext.substr(0, length);
        completed.resize(16, '\0');
        EXPECT_EQ(decrypt(ciphertext.substr(0, length)), aes::decryptedByOpenSsl(kPassphrase, completed))
            << length;
    }
}

TEST(VTEncryption, DecryptsDamagedDataOfEveryLength) {
    const auto ciphertext = aes::randomBytes(4096, 6);
    for (std::size_t length = 17; length <= ciphertext.size(); ++length) {
        auto completed = ciphertext.substr(0, length);
        const auto rest = length % 16;
        if (rest > 0) {
            completed += ciphertext.substr(length - 16, 16 - rest);
        }
        ASSERT_TRUE(decrypt(ciphertext.substr(0, length)) == aes::decryptedByOpenSsl(kPassphrase, completed))
            << length;
    }
}
