// AES with the instructions of VAES on the vectors of AVX-512, four blocks to a vector.

#include "AesLanes.h"
#include "AesPath.h"

namespace {

struct Lanes {
    using Vector = __m512i;
    static constexpr std::size_t kInFlight = 4;
    static constexpr bool kHasManyRegisters = true;

    static Vector load(const std::uint8_t* from) { return _mm512_loadu_si512(from); }
    static void store(std::uint8_t* to, Vector vector) { _mm512_storeu_si512(to, vector); }
    static void stream(std::uint8_t* to, Vector vector) {
        _mm512_stream_si512(reinterpret_cast<__m512i*>(to), vector);
    }
    static Vector broadcast(__m128i key) {
        // The plain form makes g++ 12 warn of its own header.
        return _mm512_maskz_broadcast_i32x4(0xffff, key);
    }
    static Vector add(Vector vector, Vector key) { return _mm512_xor_si512(vector, key); }
    static Vector encrypt(Vector vector, Vector key) { return _mm512_aesenc_epi128(vector, key); }
    static Vector encryptLast(Vector vector, Vector key) { return _mm512_aesenclast_epi128(vector, key); }
    static Vector decrypt(Vector vector, Vector key) { return _mm512_aesdec_epi128(vector, key); }
    static Vector decryptLast(Vector vector, Vector key) { return _mm512_aesdeclast_epi128(vector, key); }
};

} // namespace

void aesEncryptVaes512(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                       std::uint8_t* output, std::size_t blocks) {
    runBlocks<Lanes, false>(roundKeys, rounds, input, output, blocks);
}

void aesDecryptVaes512(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                       std::uint8_t* output, std::size_t blocks) {
    runBlocks<Lanes, true>(roundKeys, rounds, input, output, blocks);
}
