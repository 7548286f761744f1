// AES with the instructions of VAES on the vectors of AVX2, two blocks to a vector.

#include "AesLanes.h"
#include "AesPath.h"

namespace {

struct Lanes {
    using Vector = __m256i;
    static constexpr std::size_t kInFlight = 8;
    static constexpr bool kHasManyRegisters = false;

    static Vector load(const std::uint8_t* from) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    }
    static void store(std::uint8_t* to, Vector vector) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), vector);
    }
    static void stream(std::uint8_t* to, Vector vector) {
        _mm256_stream_si256(reinterpret_cast<__m256i*>(to), vector);
    }
    static Vector broadcast(__m128i key) { return _mm256_broadcastsi128_si256(key); }
    static Vector add(Vector vector, Vector key) { return _mm256_xor_si256(vector, key); }
    static Vector encrypt(Vector vector, Vector key) { return _mm256_aesenc_epi128(vector, key); }
    static Vector encryptLast(Vector vector, Vector key) { return _mm256_aesenclast_epi128(vector, key); }
    static Vector decrypt(Vector vector, Vector key) { return _mm256_aesdec_epi128(vector, key); }
    static Vector decryptLast(Vector vector, Vector key) { return _mm256_aesdeclast_epi128(vector, key); }
};

} // namespace

void aesEncryptVaes256(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                       std::uint8_t* output, std::size_t blocks) {
    runBlocks<Lanes, false>(roundKeys, rounds, input, output, blocks);
}

void aesDecryptVaes256(const std::uint32_t* roundKeys, int rounds, const std::uint8_t* input,
                       std::uint8_t* output, std::size_t blocks) {
    runBlocks<Lanes, true>(roundKeys, rounds, input, output, blocks);
}
