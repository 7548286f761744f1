#pragma once

#include <array>

// The S-box of AES as a circuit of AND and XOR over bit slices, so that no memory access depends on what is
// substituted. A Word holds the same bit of many bytes; slice 0 is the lowest bit.
//
// The inverse in GF(2^8) is taken in the tower GF(((2^2)^2)^2), with the normal bases (W^2, W), (Z^4, Z) and
// (Y^16, Y), where W = 0xBC, Z = 0x5C and Y = 0xFE in the field of AES. The trace of each is 1. The norm of Z
// is W, that of Y is W^2 * Z; these make the scalings cheapest. The changes of basis, with the S-box's own
// linear map in one of them, are written as few XORs as a search found.
namespace aes_substitution {

template <typename Word>
using Slices = std::array<Word, 8>;

// An element of GF(2^2): coefficients of W^2 and W.
template <typename Word>
struct Pair {
    Word high;
    Word low;

    friend Pair operator^(const Pair& a, const Pair& b) { return {a.high ^ b.high, a.low ^ b.low}; }
    friend Pair operator*(const Pair& a, const Pair& b) {
        const Word both = (a.high ^ a.low) & (b.high ^ b.low);
        return {(a.high & b.high) ^ both, (a.low & b.low) ^ both};
    }
    Pair square() const { return {low, high}; } // its inverse, too
    Pair timesW() const { return {high ^ low, high}; }
    Pair timesWSquared() const { return {low, high ^ low}; }
};

// An element of GF(2^4): coefficients of Z^4 and Z.
template <typename Word>
struct Quad {
    Pair<Word> high;
    Pair<Word> low;

    friend Quad operator^(const Quad& a, const Quad& b) { return {a.high ^ b.high, a.low ^ b.low}; }
    friend Quad operator*(const Quad& a, const Quad& b) {
        const Pair<Word> both = ((a.high ^ a.low) * (b.high ^ b.low)).timesW();
        return {(a.high * b.high) ^ both, (a.low * b.low) ^ both};
    }
    Quad inverse() const {
        const Pair<Word> norm = (high ^ low).square().timesW() ^ (high * low);
        const Pair<Word> factor = norm.square();
        return {factor * low, factor * high};
    }
    // The square times the norm of Y.
    Quad scaledSquare() const { return {(high ^ low).square(), low.square().timesWSquared()}; }
};

// The inverse of an element of the tower; zero stays zero.
template <typename Word>
Slices<Word> inverse(const Slices<Word>& element) {
    const Quad<Word> high{{element[7], element[6]}, {element[5], element[4]}};
    const Quad<Word> low{{element[3], element[2]}, {element[1], element[0]}};
    const Quad<Word> factor = ((high ^ low).scaledSquare() ^ (high * low)).inverse();
    const Quad<Word> newHigh = factor * low;
    const Quad<Word> newLow = factor * high;
    return {newLow.low.low,  newLow.low.high,  newLow.high.low,  newLow.high.high,
            newHigh.low.low, newHigh.low.high, newHigh.high.low, newHigh.high.high};
}

// A temporary is called by the slices that it is the sum of.

template <typename Word>
Slices<Word> toTower(const Slices<Word>& x) {
    const Word x06 = x[0] ^ x[6];
    const Word x056 = x[5] ^ x06;
    const Word x13 = x[1] ^ x[3];
    const Word x0156 = x[1] ^ x056;
    const Word x137 = x[7] ^ x13;
    const Word x0136 = x06 ^ x13;
    const Word x01567 = x[7] ^ x0156;
    const Word x0137 = x[0] ^ x137;
    return {x0156, x[7] ^ x056, x[2] ^ x01567, x[4] ^ x056, x056, x[2] ^ x0136, x[4] ^ x0137, x[0]};
}

// Back, and the linear map of the S-box.
template <typename Word>
Slices<Word> fromTowerMapped(const Slices<Word>& x) {
    const Word x06 = x[0] ^ x[6];
    const Word x35 = x[3] ^ x[5];
    const Word x026 = x[2] ^ x06;
    const Word x13 = x[1] ^ x[3];
    const Word x14 = x[1] ^ x[4];
    const Word x067 = x[7] ^ x06;
    return {x[4] ^ x13, x[0] ^ x14, x35 ^ x067, x026 ^ x13, x026, x35, x[2] ^ x[6], x06};
}

// The inverse of that linear map, then to the tower.
template <typename Word>
Slices<Word> toTowerUnmapped(const Slices<Word>& x) {
    const Word x46 = x[4] ^ x[6];
    const Word x01 = x[0] ^ x[1];
    const Word x0146 = x46 ^ x01;
    const Word x47 = x[4] ^ x[7];
    const Word x36 = x[3] ^ x[6];
    const Word x04 = x[0] ^ x[4];
    const Word x25 = x[2] ^ x[5];
    return {x46, x01 ^ x36, x47, x0146, x[3] ^ x04, x[5] ^ x0146, x[7] ^ x46, x[7] ^ x25};
}

template <typename Word>
Slices<Word> fromTower(const Slices<Word>& x) {
    const Word x04 = x[0] ^ x[4];
    const Word x36 = x[3] ^ x[6];
    const Word x356 = x[5] ^ x36;
    const Word x2356 = x[2] ^ x356;
    const Word x014 = x[1] ^ x04;
    const Word x23567 = x[7] ^ x2356;
    const Word x01346 = x36 ^ x014;
    return {x[7], x04, x[2] ^ x014, x[7] ^ x01346, x[3] ^ x[4], x[0] ^ x23567, x04 ^ x2356, x[1] ^ x[4]};
}

} // namespace aes_substitution

// What the S-box adds at its end, and its inverse at the start. The two circuits leave it out: round keys
// can bring it along.
inline constexpr unsigned kAesSubstitutionConstant = 0x63;

// SubBytes, without the constant.
template <typename Word>
std::array<Word, 8> aesSubstitute(const std::array<Word, 8>& bytes) {
    using namespace aes_substitution;
    return fromTowerMapped(inverse(toTower(bytes)));
}

// InvSubBytes of bytes to which the constant has been added.
template <typename Word>
std::array<Word, 8> aesSubstituteInverse(const std::array<Word, 8>& bytes) {
    using namespace aes_substitution;
    return fromTower(inverse(toTowerUnmapped(bytes)));
}
