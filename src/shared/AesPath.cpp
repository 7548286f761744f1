#include "AesPath.h"

#include <algorithm>
#include <array>

#ifdef __x86_64__
#include <cpuid.h>
#endif

namespace {

#ifdef __x86_64__

// What the processor has and the operating system lets programs use.
struct Processor {
    bool hasAesNi = false;
    bool hasVaes256 = false;
    bool hasVaes512 = false;

    Processor() {
        unsigned eax = 0;
        unsigned ebx = 0;
        unsigned ecx = 0;
        unsigned edx = 0;
        if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) {
            return;
        }
        hasAesNi = (ecx & bit_AES) && (ecx & bit_SSSE3);
        const unsigned enabled = (ecx & bit_OSXSAVE) ? enabledRegisters() : 0;
        if (!hasAesNi || !__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) || !(ecx & bit_VAES)) {
            return;
        }
        hasVaes256 = (ebx & bit_AVX2) && (enabled & kAvx) == kAvx;
        hasVaes512 = (ebx & bit_AVX512F) && (enabled & kAvx512) == kAvx512;
    }

private:
    // Register files that the operating system keeps for each thread: vectors of 128 and 256 bits; these,
    // masks and vectors of 512 bits.
    static constexpr unsigned kAvx = 0x06;
    static constexpr unsigned kAvx512 = 0xe6;

    static unsigned enabledRegisters() {
        unsigned low = 0;
        unsigned high = 0;
        __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
        return low;
    }
};

#endif

auto makePaths() {
#ifdef __x86_64__
    const Processor processor;
    return std::array{
        AesPath{"portable", true, aesEncryptPortable, aesDecryptPortable},
        AesPath{"AES-NI", processor.hasAesNi, aesEncryptAesNi, aesDecryptAesNi},
        AesPath{"VAES-256", processor.hasVaes256, aesEncryptVaes256, aesDecryptVaes256},
        AesPath{"VAES-512", processor.hasVaes512, aesEncryptVaes512, aesDecryptVaes512},
    };
#else
    return std::array{AesPath{"portable", true, aesEncryptPortable, aesDecryptPortable}};
#endif
}

} // namespace

std::span<const AesPath> aesPaths() {
    static const auto paths = makePaths();
    return paths;
}

const AesPath& fastestAesPath() {
    static const AesPath& fastest = []() -> const AesPath& {
        const auto paths = aesPaths();
        return *std::find_if(paths.rbegin(), paths.rend(),
                             [](const AesPath& path) { return path.isSupported; });
    }();
    return fastest;
}
