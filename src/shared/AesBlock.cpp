#include "AesBlock.h"

#include "AesPath.h"
#include "AesStack.h"
#include "AesSubstitution.h"

#include <algorithm>
#include <bit>

namespace {

constexpr std::uint32_t kEachByte = 0x01010101U;

// Four bytes at once: the circuit works on bits that stay where they are, eight apart.
[[gnu::noinline]] std::uint32_t substituteWord(std::uint32_t word) {
    std::array<std::uint32_t, 8> slices{};
    for (std::size_t bit = 0; bit < slices.size(); ++bit) {
        slices[bit] = (word >> bit) & kEachByte;
    }
    slices = aesSubstitute(slices);
    std::uint32_t result = kAesSubstitutionConstant * kEachByte;
    for (std::size_t bit = 0; bit < slices.size(); ++bit) {
        result ^= slices[bit] << bit;
    }
    return result;
}

// Each of the four bytes doubled in the field of AES.
std::uint32_t doubled(std::uint32_t word) {
    return ((word & (0x7f * kEachByte)) << 1) ^ (((word >> 7) & kEachByte) * 0x1b);
}

std::uint32_t inverseMixedColumn(std::uint32_t column) {
    const std::uint32_t twice = doubled(column);
    const std::uint32_t fourfold = doubled(twice);
    const std::uint32_t eightfold = doubled(fourfold);
    const std::uint32_t ninefold = eightfold ^ column;
    return (eightfold ^ fourfold ^ twice) ^ std::rotl(ninefold ^ twice, 8) ^
           std::rotl(ninefold ^ fourfold, 16) ^ std::rotl(ninefold, 24);
}

} // namespace

int rijndaelSetupEncrypt(std::uint32_t* roundKeys, const std::uint8_t* key, int keyBits) {
    if (keyBits != 128 && keyBits != 192 && keyBits != 256) {
        return 0;
    }
    const int keyWords = keyBits / 32;
    for (int index = 0; index < keyWords; ++index, key += 4) {
        roundKeys[index] = std::uint32_t{key[0]} << 24 | std::uint32_t{key[1]} << 16 |
                           std::uint32_t{key[2]} << 8 | std::uint32_t{key[3]};
    }
    std::uint32_t roundConstant = 0x01;
    for (int index = keyWords; index < keyBits / 8 + 28; ++index) {
        std::uint32_t word = roundKeys[index - 1];
        if (index % keyWords == 0) {
            word = substituteWord(std::rotl(word, 8)) ^ (roundConstant << 24);
            roundConstant = doubled(roundConstant);
        } else if (keyWords > 6 && index % keyWords == 4) {
            word = substituteWord(word);
        }
        roundKeys[index] = roundKeys[index - keyWords] ^ word;
    }
    wipeFramesOfCallees();
    return keyWords + 6;
}

int rijndaelSetupDecrypt(std::uint32_t* roundKeys, const std::uint8_t* key, int keyBits) {
    const int rounds = rijndaelSetupEncrypt(roundKeys, key, keyBits);
    for (int index = 4; index < 4 * rounds; ++index) {
        roundKeys[index] = inverseMixedColumn(roundKeys[index]);
    }
    return rounds;
}

void rijndaelEncrypt(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* plaintext,
                     std::uint8_t* ciphertext) {
    rijndaelEncryptBlocks(roundKeys, rounds, plaintext, ciphertext, 1);
}

void rijndaelDecrypt(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* ciphertext,
                     std::uint8_t* plaintext) {
    rijndaelDecryptBlocks(roundKeys, rounds, ciphertext, plaintext, 1);
}

void rijndaelEncryptBlocks(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* plaintext,
                           std::uint8_t* ciphertext, std::size_t blocks) {
    fastestAesPath().encrypt(roundKeys, rounds, plaintext, ciphertext, blocks);
}

void rijndaelDecryptBlocks(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* ciphertext,
                           std::uint8_t* plaintext, std::size_t blocks) {
    fastestAesPath().decrypt(roundKeys, rounds, ciphertext, plaintext, blocks);
}
