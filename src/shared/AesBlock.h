#pragma once

#include <cstddef>
#include <cstdint>

// The AES block cipher of FIPS-197. Plain functions without state, for any thread.
//
// A block cipher alone is not a way to encrypt messages: each block stands for itself, so that equal blocks
// of plaintext are equal blocks of ciphertext, and whoever can change the ciphertext can exchange, repeat
// and leave out blocks without being noticed.
//
// A round-key schedule is an array of (key bits / 8 + 28) words as FIPS-197 writes them, the first byte of
// a word being its most significant: 44, 52 or 60 of them. It tells the key, so callers wipe it after use;
// what the functions make of it they wipe themselves. Neither the time they take nor what memory they touch
// depends on key or data.

inline constexpr std::size_t kAesBlockSize = 16;       // bytes
inline constexpr std::size_t kAesLargestSchedule = 60; // words, for a key of 256 bits
inline constexpr int kAesMostRounds = 14;              // for the same

// Fills `roundKeys` with the schedule for encryption, w of FIPS-197. `key` has `keyBits` / 8 bytes. Returns
// the number of rounds: 10, 12 or 14 for a key of 128, 192 or 256 bits. There are no other keys: 0 is
// returned for them, and nothing is read or written.
int rijndaelSetupEncrypt(std::uint32_t* roundKeys, const std::uint8_t* key, int keyBits);

// The same for decryption: dw of FIPS-197, the schedule of the equivalent inverse cipher, which is read
// from its end.
int rijndaelSetupDecrypt(std::uint32_t* roundKeys, const std::uint8_t* key, int keyBits);

// One block of 16 bytes, with a schedule and the number of rounds from `rijndaelSetupEncrypt`. Both may be
// the same block.
void rijndaelEncrypt(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* plaintext,
                     std::uint8_t* ciphertext);

// The way back, with what `rijndaelSetupDecrypt` gave.
void rijndaelDecrypt(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* ciphertext,
                     std::uint8_t* plaintext);

// Many blocks, each on its own, many times faster than one after the other. The two buffers are the same or
// do not overlap.
void rijndaelEncryptBlocks(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* plaintext,
                           std::uint8_t* ciphertext, std::size_t blocks);
void rijndaelDecryptBlocks(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* ciphertext,
                           std::uint8_t* plaintext, std::size_t blocks);
