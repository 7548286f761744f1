// NIST's known answers for the electronic codebook (AESAVS), on every path. They come with a package of
// Debian; without them these tests fail.

#include "AesFixture.h"

#include <fstream>

namespace {

struct KnownAnswer {
    std::string key;
    std::string plaintext;
    std::string ciphertext;
};

struct KnownAnswers {
    std::vector<KnownAnswer> encryption;
    std::vector<KnownAnswer> decryption;
};

// Sections "[ENCRYPT]" and "[DECRYPT]" of records, each of lines "NAME = VALUE" and begun by its COUNT.
KnownAnswers readKnownAnswers(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot read " + path + ", which python3-cryptography-vectors brings");
    }
    KnownAnswers answers;
    std::vector<KnownAnswer>* section = nullptr;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        const auto sign = line.find(" = ");
        if (line == "[ENCRYPT]") {
            section = &answers.encryption;
        } else if (line == "[DECRYPT]") {
            section = &answers.decryption;
        } else if (section && sign != std::string::npos) {
            const auto name = line.substr(0, sign);
            const auto value = line.substr(sign + 3);
            if (name == "COUNT") {
                section->emplace_back();
            } else if (name == "KEY") {
                section->back().key = aes::bytes(value);
            } else if (name == "PLAINTEXT") {
                section->back().plaintext = aes::bytes(value);
            } else if (name == "CIPHERTEXT") {
                section->back().ciphertext = aes::bytes(value);
            } else {
                throw std::runtime_error("not understood: " + line);
            }
        }
    }
    return answers;
}

void check(const AesPath& path, const std::string& name, std::size_t keyBits, std::size_t count) {
    SCOPED_TRACE(name + std::to_string(keyBits));
    const auto answers = readKnownAnswers(VT_AES_VECTORS "/ECB" + name + std::to_string(keyBits) + ".rsp");
    EXPECT_EQ(answers.encryption.size(), count);
    EXPECT_EQ(answers.decryption.size(), count);
    for (const auto& [key, plaintext, ciphertext] : answers.encryption) {
        ASSERT_EQ(key.size(), keyBits / 8);
        ASSERT_FALSE(plaintext.empty());
        EXPECT_EQ(aes::encrypted(path, key, plaintext), ciphertext);
    }
    for (const auto& [key, plaintext, ciphertext] : answers.decryption) {
        ASSERT_EQ(key.size(), keyBits / 8);
        ASSERT_FALSE(ciphertext.empty());
        EXPECT_EQ(aes::decrypted(path, key, ciphertext), plaintext);
    }
}

class AesVectors : public aes::OnEachPath {};
INSTANTIATE_TEST_SUITE_P(Paths, AesVectors, testing::ValuesIn(aesPaths().begin(), aesPaths().end()),
                         aes::testName);

} // namespace

TEST_P(AesVectors, GFSbox) {
    check(GetParam(), "GFSbox", 128, 7);
    check(GetParam(), "GFSbox", 192, 6);
    check(GetParam(), "GFSbox", 256, 5);
}

TEST_P(AesVectors, KeySbox) {
    check(GetParam(), "KeySbox", 128, 21);
    check(GetParam(), "KeySbox", 192, 24);
    check(GetParam(), "KeySbox", 256, 16);
}

TEST_P(AesVectors, VarTxt) {
    for (const std::size_t keyBits : {128, 192, 256}) {
        check(GetParam(), "VarTxt", keyBits, 128);
    }
}

TEST_P(AesVectors, VarKey) {
    for (const std::size_t keyBits : {128, 192, 256}) {
        check(GetParam(), "VarKey", keyBits, keyBits);
    }
}

TEST_P(AesVectors, MultiblockMessages) {
    for (const std::size_t keyBits : {128, 192, 256}) {
        check(GetParam(), "MMT", keyBits, 10);
    }
}

TEST(AesVectorFiles, AreMissedAloud) {
    EXPECT_THROW(readKnownAnswers("/nonexistent/ECBMMT128.rsp"), std::runtime_error);
}
