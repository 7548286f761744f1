// AES with the instructions of AES-NI, a block to a vector.

#include "AesLanes.h"
#include "AesPath.h"

namespace {

struct Lanes {
    using Vector = __m128i;
    static constexpr std::size_t kInFlight = 12;
    static constexpr bool kHasManyRegisters = false;

    static Vector load(const std::uint8_t* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    }
    static void store(std::uint8_t* to, Vector vector) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), vector);
    }
    static void stream(std::uint8_t* to, Vector vector) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(to), vector);
    }
    static Vector broadcast(__m128i key) { return key; }
    static Vector add(Vector vector, Vector key) { return _mm_xor_si128(vector, key); }
    static Vector encrypt(Vector vector, Vector key) { return _mm_aesenc_si128(vector, key); }
    static Vector encryptLast(Vector vector, Vector key) { return _mm_aesenclast_si128(vector, key); }
    static Vector decrypt(Vector vector, Vector key) { return _mm_aesdec_si128(vector, key); }
    static Vector decryptLast(Vector vector, Vector key) { return _mm_aesdeclast_si128(vector, key); }
};

} // namespace

void aesEncryptAesNi(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                     std::uint8_t* output, std::size_t blocks) {
    runBlocks<Lanes, false>(roundKeys, rounds, input, output, blocks);
}

void aesDecryptAesNi(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                     std::uint8_t* output, std::size_t blocks) {
    runBlocks<Lanes, true>(roundKeys, rounds, input, output, blocks);
}
