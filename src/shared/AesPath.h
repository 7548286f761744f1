#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Encrypts or decrypts many blocks, as `rijndaelEncryptBlocks` and `rijndaelDecryptBlocks` do.
using AesBlocksFunction = void (*)(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                                   std::uint8_t* output, std::size_t blocks);

// One way to run the cipher. All give the same bytes.
struct AesPath {
    const char* name;
    bool isSupported; // by processor and operating system; else the functions must not be called
    AesBlocksFunction encrypt;
    AesBlocksFunction decrypt;
};

// All that were built, the slowest first. The first is portable and always supported.
std::span<const AesPath> aesPaths();

// The last that is supported: chosen once, used by all functions of `AesBlock.h`.
const AesPath& fastestAesPath();

// The functions of each path, one source file for each.
void aesEncryptPortable(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
void aesDecryptPortable(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
void aesEncryptAesNi(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
void aesDecryptAesNi(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
void aesEncryptVaes256(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
void aesDecryptVaes256(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
void aesEncryptVaes512(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
void aesDecryptVaes512(const std::uint32_t*, int, const std::uint8_t*, std::uint8_t*, std::size_t);
