#pragma once

#include "AesBlock.h"
#include "AesPath.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

// For messages of GoogleTest.
inline std::ostream& operator<<(std::ostream& stream, const AesPath& path) {
    return stream << path.name;
}

// What the tests of the cipher share. Bytes are strings.
namespace aes {

// Bytes from hexadecimal digits; throws when they are none.
std::string bytes(std::string_view digits);

// Always the same, different for each seed.
std::string randomBytes(std::size_t size, std::uint32_t seed);

inline const std::uint8_t* in(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}
inline std::uint8_t* out(std::string& text) {
    return reinterpret_cast<std::uint8_t*>(text.data());
}

// A schedule with as many words as its key asks for, so that a sanitizer sees one word too many.
struct Schedule {
    std::vector<std::uint32_t> words;
    int rounds = 0;
};
Schedule encryptionSchedule(const std::string& key);
Schedule decryptionSchedule(const std::string& key);

// Whole blocks on one path, each with a key's schedule.
std::string encrypted(const AesPath& path, const std::string& key, const std::string& plaintext);
std::string decrypted(const AesPath& path, const std::string& key, const std::string& ciphertext);

// The same by OpenSSL: electronic codebook, no padding.
std::string encryptedByOpenSsl(const std::string& key, const std::string& plaintext);
std::string decryptedByOpenSsl(const std::string& key, const std::string& ciphertext);

// A test that runs on each path. One that the processor lacks is skipped.
class OnEachPath : public testing::TestWithParam<AesPath> {
protected:
    void SetUp() override {
        if (!GetParam().isSupported) {
            GTEST_SKIP() << "this processor has no " << GetParam().name;
        }
    }
};

// The path's name as a test's name may be.
std::string testName(const testing::TestParamInfo<AesPath>& info);

} // namespace aes
