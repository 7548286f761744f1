#include "AesFixture.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <memory>
#include <openssl/evp.h>
#include <random>
#include <stdexcept>
#include <vector>

namespace aes {

std::string bytes(std::string_view digits) {
    std::string result;
    for (std::size_t place = 0; place < digits.size(); place += 2) {
        const auto pair = digits.substr(place, 2);
        unsigned char byte = 0;
        const auto [end, error] = std::from_chars(pair.data(), pair.data() + pair.size(), byte, 16);
        if (error != std::errc() || pair.size() != 2 || end != pair.data() + 2) {
            throw std::invalid_argument("not hexadecimal: " + std::string(digits));
        }
        result.push_back(static_cast<char>(byte));
    }
    return result;
}

std::string randomBytes(std::size_t size, std::uint32_t seed) {
    std::mt19937 numbers(seed);
    std::string result(size, '\0');
    std::ranges::generate(result, [&numbers] { return static_cast<char>(numbers() >> 24); });
    return result;
}

namespace {

Schedule schedule(const std::string& key, decltype(rijndaelSetupEncrypt) setUp) {
    Schedule result{std::vector<std::uint32_t>(key.size() + 28), 0};
    result.rounds = setUp(result.words.data(), in(key), static_cast<int>(8 * key.size()));
    return result;
}

std::string byOpenSsl(const std::string& key, const std::string& input, int encrypts) {
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  EVP_CIPHER_CTX_free);
    const EVP_CIPHER* cipher = key.size() == 16   ? EVP_aes_128_ecb()
                               : key.size() == 24 ? EVP_aes_192_ecb()
                                                  : EVP_aes_256_ecb();
    std::string output(input.size(), '\0');
    int written = 0;
    int rest = 0;
    if (EVP_CipherInit_ex(context.get(), cipher, nullptr, in(key), nullptr, encrypts) != 1 ||
        EVP_CIPHER_CTX_set_padding(context.get(), 0) != 1 ||
        EVP_CipherUpdate(context.get(), out(output), &written, in(input), static_cast<int>(input.size())) !=
            1 ||
        EVP_CipherFinal_ex(context.get(), out(output) + written, &rest) != 1 ||
        static_cast<std::size_t>(written) + static_cast<std::size_t>(rest) != input.size()) {
        throw std::runtime_error("OpenSSL failed");
    }
    return output;
}

} // namespace

Schedule encryptionSchedule(const std::string& key) {
    return schedule(key, rijndaelSetupEncrypt);
}

Schedule decryptionSchedule(const std::string& key) {
    return schedule(key, rijndaelSetupDecrypt);
}

std::string encrypted(const AesPath& path, const std::string& key, const std::string& plaintext) {
    const auto [words, rounds] = encryptionSchedule(key);
    std::string ciphertext(plaintext.size(), '\0');
    path.encrypt(words.data(), rounds, in(plaintext), out(ciphertext), plaintext.size() / kAesBlockSize);
    return ciphertext;
}

std::string decrypted(const AesPath& path, const std::string& key, const std::string& ciphertext) {
    const auto [words, rounds] = decryptionSchedule(key);
    std::string plaintext(ciphertext.size(), '\0');
    path.decrypt(words.data(), rounds, in(ciphertext), out(plaintext), ciphertext.size() / kAesBlockSize);
    return plaintext;
}

std::string encryptedByOpenSsl(const std::string& key, const std::string& plaintext) {
    return byOpenSsl(key, plaintext, 1);
}

std::string decryptedByOpenSsl(const std::string& key, const std::string& ciphertext) {
    return byOpenSsl(key, ciphertext, 0);
}

std::string testName(const testing::TestParamInfo<AesPath>& info) {
    std::string name = info.param.name;
    std::erase_if(name, [](unsigned char character) { return !std::isalnum(character); });
    return name;
}

} // namespace aes
