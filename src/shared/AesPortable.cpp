// AES without help from the processor and without secrets in addresses: 32 blocks at a time, sliced into
// bits. Slice 8 * row + bit holds one bit of one row of all blocks: a lane of 32 bits for each column, a bit
// of the lane for each block. In this layout ShiftRows turns lanes, and MixColumns adds slices.

#include "AesBlock.h"
#include "AesPath.h"
#include "AesStack.h"
#include "AesSubstitution.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

static_assert(std::endian::native == std::endian::little, "the bytes of a column are rows 0 to 3");

using Slice [[gnu::vector_size(16)]] = std::uint32_t;

constexpr std::size_t kBatch = 32; // blocks
constexpr int kSlices = 32;

struct State {
    Slice slices[kSlices];
};

using Row = std::array<Slice, 8>;

// Exchanges bits of words `Distance` apart, so that after the distances 16, 8, 4, 2 and 1 bit i of word j
// has changed places with bit j of word i.
template <int Distance>
void exchange(State& state) {
    constexpr std::uint32_t kMask = 0xffffffffU / ((1U << Distance) + 1);
    for (int word = 0; word < kSlices; ++word) {
        if (word & Distance) {
            continue;
        }
        Slice& low = state.slices[word];
        Slice& high = state.slices[word + Distance];
        const Slice difference = ((low >> Distance) ^ high) & kMask;
        high ^= difference;
        low ^= difference << Distance;
    }
}

// From blocks to slices and back.
void transpose(State& state) {
    exchange<16>(state);
    exchange<8>(state);
    exchange<4>(state);
    exchange<2>(state);
    exchange<1>(state);
}

void addRoundKey(State& state, const State& key) {
    for (int index = 0; index < kSlices; ++index) {
        state.slices[index] ^= key.slices[index];
    }
}

// ShiftRows: column c is now what column c + Distance was.
template <int Distance>
Slice turned(Slice slice) {
    return __builtin_shufflevector(slice, slice, Distance, Distance + 1, Distance + 2, Distance + 3);
}

template <int Number, bool IsInverse>
void substituteAndShiftRow(State& state) {
    Slice* slices = state.slices + std::ptrdiff_t{8} * Number;
    Row row;
    std::copy_n(slices, 8, row.begin());
    row = IsInverse ? aesSubstituteInverse(row) : aesSubstitute(row);
    constexpr int kDistance = IsInverse ? (4 - Number) % 4 : Number;
    for (const Slice& slice : row) {
        *slices++ = turned<kDistance>(slice);
    }
}

template <bool IsInverse>
void substituteAndShift(State& state) {
    substituteAndShiftRow<0, IsInverse>(state);
    substituteAndShiftRow<1, IsInverse>(state);
    substituteAndShiftRow<2, IsInverse>(state);
    substituteAndShiftRow<3, IsInverse>(state);
}

// The column a, b, c, d becomes 2(a + b) + b + (c + d) and so on downwards.
void mixColumns(State& state) {
    auto slice = [&state](int row, int bit) -> Slice& { return state.slices[8 * (row % 4) + bit]; };
    Slice carry[4]; // comes back as 0x1b
    Slice doubled[4];
    for (int row = 0; row < 4; ++row) {
        carry[row] = slice(row, 7) ^ slice(row + 1, 7);
        doubled[row] = carry[row];
    }
    for (int bit = 0; bit < 8; ++bit) {
        Slice sum[4];
        Slice mixed[4];
        for (int row = 0; row < 4; ++row) {
            sum[row] = slice(row, bit) ^ slice(row + 1, bit);
        }
        for (int row = 0; row < 4; ++row) {
            mixed[row] = doubled[row] ^ slice(row + 1, bit) ^ sum[(row + 2) % 4];
            if (bit == 1 || bit == 3 || bit == 4) {
                mixed[row] ^= carry[row];
            }
        }
        for (int row = 0; row < 4; ++row) {
            slice(row, bit) = mixed[row];
            doubled[row] = sum[row];
        }
    }
}

// With 4(a + c) added to a and c, and 4(b + d) to b and d, `mixColumns` does the rest.
void prepareInverseMix(State& state) {
    for (int row = 0; row < 2; ++row) {
        Slice* upper = state.slices + std::ptrdiff_t{8} * row;
        Slice* lower = upper + 16;
        Row sum;
        for (std::size_t bit = 0; bit < 8; ++bit) {
            sum[bit] = upper[bit] ^ lower[bit];
        }
        const Slice carries = sum[6] ^ sum[7];
        const Row quadrupled{sum[6],           carries,         sum[0] ^ sum[7], sum[1] ^ sum[6],
                             sum[2] ^ carries, sum[3] ^ sum[7], sum[4],          sum[5]};
        for (std::size_t bit = 0; bit < 8; ++bit) {
            upper[bit] ^= quadrupled[bit];
            lower[bit] ^= quadrupled[bit];
        }
    }
}

// A slice is all ones or all zeros in each lane. The keys after the first bring the constant of the S-box,
// which MixColumns leaves as it is, to the substitution before them, or to the inverse one after them.
struct KeySlices {
    State rounds[kAesMostRounds + 1]{};

    KeySlices(const std::uint32_t* words, int count) {
        for (int round = 0; round <= count; ++round, words += 4) {
            const std::uint32_t constant = round == 0 ? 0 : kAesSubstitutionConstant * 0x01010101U;
            const Slice columns = Slice{words[0], words[1], words[2], words[3]} ^ constant;
            for (int row = 0; row < 4; ++row) {
                for (int bit = 0; bit < 8; ++bit) {
                    rounds[round].slices[8 * row + bit] = -((columns >> (24 - 8 * row + bit)) & 1U);
                }
            }
        }
    }
    ~KeySlices() { ::explicit_bzero(this, sizeof *this); }
    KeySlices(const KeySlices&) = delete;
    KeySlices& operator=(const KeySlices&) = delete;
};

[[gnu::flatten, gnu::noinline]] void encryptBatch(const KeySlices& keys, int rounds, State& state) {
    transpose(state);
    addRoundKey(state, keys.rounds[0]);
    for (int round = 1; round < rounds; ++round) {
        substituteAndShift<false>(state);
        mixColumns(state);
        addRoundKey(state, keys.rounds[round]);
    }
    substituteAndShift<false>(state);
    addRoundKey(state, keys.rounds[rounds]);
    transpose(state);
}

[[gnu::flatten, gnu::noinline]] void decryptBatch(const KeySlices& keys, int rounds, State& state) {
    transpose(state);
    addRoundKey(state, keys.rounds[rounds]);
    for (int round = rounds - 1; round > 0; --round) {
        substituteAndShift<true>(state);
        prepareInverseMix(state);
        mixColumns(state);
        addRoundKey(state, keys.rounds[round]);
    }
    substituteAndShift<true>(state);
    addRoundKey(state, keys.rounds[0]);
    transpose(state);
}

// `batch` is one of the two above. A last batch may be a part of one.
template <typename Batch>
void inBatches(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input, std::uint8_t* output,
               std::size_t blocks, Batch batch) {
    const KeySlices keys(roundKeys, rounds);
    State state{};
    while (blocks > 0) {
        const std::size_t taken = std::min(blocks, kBatch);
        std::memcpy(&state, input, taken * kAesBlockSize);
        batch(keys, rounds, state);
        std::memcpy(output, &state, taken * kAesBlockSize);
        input += taken * kAesBlockSize;
        output += taken * kAesBlockSize;
        blocks -= taken;
    }
    ::explicit_bzero(&state, sizeof state);
    wipeFramesOfCallees();
}

} // namespace

void aesEncryptPortable(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                        std::uint8_t* output, std::size_t blocks) {
    inBatches(roundKeys, rounds, input, output, blocks, encryptBatch);
}

void aesDecryptPortable(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                        std::uint8_t* output, std::size_t blocks) {
    inBatches(roundKeys, rounds, input, output, blocks, decryptBatch);
}
