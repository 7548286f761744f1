#pragma once

#include "AesBlock.h"

#include <cstring>
#include <immintrin.h>

// What the hardware paths have in common. They differ in the vector type, which each describes as Lanes:
//
//   Vector                        one or several blocks beside each other
//   load(from), store(to, vector) without alignment
//   stream(to, vector)            past the caches, to an address that is a multiple of the vector's size
//   broadcast(key)                a round key for each block
//   add(vector, key)              exclusive or
//   encrypt, encryptLast, decrypt, decryptLast (vector, key)    a round, with its key at the end
//   kInFlight                     vectors at a time, so that no round waits for the one before: eight are
//                                 just enough for vectors of one block, twelve leave no gaps
//   kHasManyRegisters             for all round keys beside the vectors in flight
//
// Everything here is local to the source file that includes it, and nothing of the standard library is used:
// a function with external linkage, compiled for instructions that not every processor has, could be what the
// linker keeps for the whole program.
namespace {

inline constexpr std::size_t kAhead = 2048; // bytes

// Vectors at a time in what whole batches leave.
inline constexpr std::size_t kFew = 4;

// Bytes of output that do not stay in caches anyway. Written past them they need not be read first.
inline constexpr std::size_t kStreamed = 16 << 20;

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

template <bool Streams, std::size_t Count, typename Lanes, bool IsDecryption>
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
        const Vector result = IsDecryption ? Lanes::decryptLast(vectors[index], last)
                                           : Lanes::encryptLast(vectors[index], last);
        if (Streams) {
            Lanes::stream(output + index * sizeof(Vector), result);
        } else {
            Lanes::store(output + index * sizeof(Vector), result);
        }
    }
}

// What is still to be done.
struct Work {
    const std::uint8_t* input;
    std::uint8_t* output;
    std::size_t bytes;

    void advance(std::size_t count) {
        input += count;
        output += count;
        bytes -= count;
    }
};

// Fewer blocks than a vector has.
template <typename Lanes, bool IsDecryption>
void runPart(const RoundKeys<Lanes, IsDecryption>& keys, int rounds, Work& work, std::size_t bytes) {
    std::uint8_t blocks[sizeof(typename Lanes::Vector)] = {};
    ::memcpy(blocks, work.input, bytes);
    runVectors<false, 1>(keys, rounds, blocks, blocks);
    ::memcpy(work.output, blocks, bytes);
    ::explicit_bzero(blocks, sizeof blocks);
    work.advance(bytes);
}

template <bool Streams, typename Lanes, bool IsDecryption>
void runBatches(const RoundKeys<Lanes, IsDecryption>& keys, int rounds, Work& work) {
    constexpr std::size_t kBatch = Lanes::kInFlight * sizeof(typename Lanes::Vector);
    while (work.bytes >= kBatch) {
        // What the processor fetches by itself is late where a page of memory ends.
        const std::uint8_t* ahead = work.input + (work.bytes >= kBatch + kAhead ? kAhead : 0);
        for (std::size_t line = 0; line < kBatch; line += 64) {
            _mm_prefetch(reinterpret_cast<const char*>(ahead + line), _MM_HINT_T0);
        }
        runVectors<Streams, Lanes::kInFlight>(keys, rounds, work.input, work.output);
        work.advance(kBatch);
    }
}

template <typename Lanes, bool IsDecryption>
void runBlocks(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input, std::uint8_t* output,
               std::size_t blocks) {
    constexpr std::size_t kVector = sizeof(typename Lanes::Vector);
    const RoundKeys<Lanes, IsDecryption> keys(roundKeys, rounds);
    Work work{input, output, blocks * kAesBlockSize};
    const auto address = reinterpret_cast<std::uintptr_t>(output);
    if (work.bytes >= kStreamed && input != output && address % kAesBlockSize == 0) {
        if (const std::size_t unaligned = -address % kVector) {
            runPart(keys, rounds, work, unaligned);
        }
        runBatches<true>(keys, rounds, work);
        _mm_sfence();
    } else {
        runBatches<false>(keys, rounds, work);
    }
    if constexpr (Lanes::kInFlight > kFew) {
        while (work.bytes >= kFew * kVector) {
            runVectors<false, kFew>(keys, rounds, work.input, work.output);
            work.advance(kFew * kVector);
        }
    }
    while (work.bytes >= kVector) {
        runVectors<false, 1>(keys, rounds, work.input, work.output);
        work.advance(kVector);
    }
    if (work.bytes > 0) {
        runPart(keys, rounds, work, work.bytes);
    }
}

} // namespace
