#pragma once

#include "AesBlock.h"

#include <cstring>
#include <immintrin.h>

// What the hardware paths have in common. They differ in the vector type, which each describes as Lanes:
//
//   Vector                        one or several blocks beside each other
//   load(from), store(to, vector) without alignment
//   broadcast(key)                a round key for each block
//   add(vector, key)              exclusive or
//   encrypt, encryptLast, decrypt, decryptLast (vector, key)    a round, with its key at the end
//   kHasManyRegisters             for all round keys beside the vectors in flight
//
// Everything here is local to the source file that includes it, and nothing of the standard library is used:
// a function with external linkage, compiled for instructions that not every processor has, could be what the
// linker keeps for the whole program.
namespace {

inline constexpr std::size_t kInFlight = 8; // vectors, so that no round waits for the one before
inline constexpr std::size_t kAhead = 256;  // bytes

// In the order in which they are used. Wiped at the end.
template <typename Lanes, bool IsDecryption>
struct RoundKeys {
    typename Lanes::Vector rounds[kAesMostRounds + 1];

    RoundKeys(const std::uint32_t* words, int count) {
        const __m128i bytes = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
        for (int round = 0; round <= count; ++round) {
            const std::uint32_t* from = words + std::ptrdiff_t{4} * (IsDecryption ? count - round : round);
            const __m128i key = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
            rounds[round] = Lanes::broadcast(_mm_shuffle_epi8(key, bytes));
        }
    }
    ~RoundKeys() { ::explicit_bzero(this, sizeof *this); }
    RoundKeys(const RoundKeys&) = delete;
    RoundKeys& operator=(const RoundKeys&) = delete;
};

template <typename Lanes, bool IsDecryption, std::size_t Count>
void runVectors(const RoundKeys<Lanes, IsDecryption>& keys, int rounds, const std::uint8_t* input,
                std::uint8_t* output) {
    using Vector = typename Lanes::Vector;
    if (!Lanes::kHasManyRegisters) {
        // Round keys are to be read anew: else the compiler keeps copies of some on the stack, where nobody
        // wipes them.
        __asm__ volatile("" : : : "memory");
    }
    Vector vectors[Count];
    for (std::size_t index = 0; index < Count; ++index) {
        vectors[index] = Lanes::add(Lanes::load(input + index * sizeof(Vector)), keys.rounds[0]);
    }
    for (int round = 1; round < rounds; ++round) {
        const Vector key = keys.rounds[round];
        for (Vector& vector : vectors) {
            vector = IsDecryption ? Lanes::decrypt(vector, key) : Lanes::encrypt(vector, key);
        }
    }
    const Vector last = keys.rounds[rounds];
    for (std::size_t index = 0; index < Count; ++index) {
        Lanes::store(output + index * sizeof(Vector), IsDecryption
                                                          ? Lanes::decryptLast(vectors[index], last)
                                                          : Lanes::encryptLast(vectors[index], last));
    }
}

template <typename Lanes, bool IsDecryption>
void runBlocks(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input, std::uint8_t* output,
               std::size_t blocks) {
    constexpr std::size_t kVector = sizeof(typename Lanes::Vector);
    constexpr std::size_t kBatch = kInFlight * kVector;
    const RoundKeys<Lanes, IsDecryption> keys(roundKeys, rounds);
    std::size_t bytes = blocks * kAesBlockSize;
    for (; bytes >= kBatch; bytes -= kBatch) {
        // What the processor fetches by itself is late where a page of memory ends.
        const std::uint8_t* ahead = input + (bytes >= kBatch + kAhead ? kAhead : 0);
        for (std::size_t line = 0; line < kBatch; line += 64) {
            _mm_prefetch(reinterpret_cast<const char*>(ahead + line), _MM_HINT_T0);
        }
        runVectors<Lanes, IsDecryption, kInFlight>(keys, rounds, input, output);
        input += kBatch;
        output += kBatch;
    }
    for (; bytes >= kVector; bytes -= kVector) {
        runVectors<Lanes, IsDecryption, 1>(keys, rounds, input, output);
        input += kVector;
        output += kVector;
    }
    if (bytes > 0) { // fewer blocks than a vector has
        std::uint8_t last[kVector] = {};
        ::memcpy(last, input, bytes);
        runVectors<Lanes, IsDecryption, 1>(keys, rounds, last, last);
        ::memcpy(output, last, bytes);
        ::explicit_bzero(last, sizeof last);
    }
}

} // namespace
