// The block cipher on every path that this processor has against OpenSSL's EVP and memcpy, with a key of 256
// bits, in both directions. What is compared runs in turns on one thread within one benchmark, so that a busy
// machine slows down all of them.
//
// The portable path is measured against an OpenSSL that may not use the processor's features either. OpenSSL
// is told so by its environment when it is loaded, so the program then starts itself again.

#include "AesBlock.h"
#include "AesPath.h"
#include "Measure.h"
#include "VTEncryption.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <openssl/evp.h>
#include <spawn.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kMask = "OPENSSL_ia32cap";
constexpr const char* kWithoutAesNi = "~0x200000200000000"; // nor carry-less multiplication; leaves SSSE3
constexpr const char* kWithoutAnything = "0";
const std::string kPassphrase = "thirty-two bytes, as a key needs";

// In seconds of this thread's own, since others may want the processor too.
double timed(const std::function<void()>& work) {
    auto now = [] {
        timespec time{};
        require(::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time) == 0, "clock_gettime");
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double start = now();
    work();
    return now() - start;
}

const std::uint8_t* keyBytes() {
    return reinterpret_cast<const std::uint8_t*>(kPassphrase.data());
}

class Evp {
public:
    explicit Evp(bool encrypts) : context_(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free) {
        require(EVP_CipherInit_ex(context_.get(), EVP_aes_256_ecb(), nullptr, keyBytes(), nullptr,
                                  encrypts ? 1 : 0) == 1,
                "EVP_CipherInit_ex");
        EVP_CIPHER_CTX_set_padding(context_.get(), 0);
    }

    void run(const void* input, void* output, std::size_t size) const {
        int written = 0;
        require(EVP_CipherUpdate(context_.get(), static_cast<unsigned char*>(output), &written,
                                 static_cast<const unsigned char*>(input), static_cast<int>(size)) == 1,
                "EVP_CipherUpdate");
    }

private:
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context_;
};

// In huge pages where there are any: among small ones it is luck which parts of the cache they share, and the
// same loop runs at two speeds in two processes.
class Buffer {
public:
    explicit Buffer(std::size_t size)
        : size_(size),
          bytes_(static_cast<std::uint8_t*>(std::aligned_alloc(kHugePage, rounded(size))), std::free) {
        require(bytes_ != nullptr, "aligned_alloc");
        ::madvise(bytes_.get(), rounded(size), MADV_HUGEPAGE); // not everywhere, and not needed
        std::uint32_t number = 1;
        for (std::size_t index = 0; index < size; ++index) {
            number = number * 1'664'525 + 1'013'904'223;
            bytes_.get()[index] = static_cast<std::uint8_t>(number >> 24);
        }
    }

    std::uint8_t* data() const { return bytes_.get(); }
    bool operator==(const Buffer& other) const { return std::memcmp(data(), other.data(), size_) == 0; }

private:
    static constexpr std::size_t kHugePage = 2 << 20;
    static std::size_t rounded(std::size_t size) { return (size + kHugePage - 1) / kHugePage * kHugePage; }

    std::size_t size_;
    std::unique_ptr<std::uint8_t, decltype(&std::free)> bytes_;
};

// What takes turns.
struct Contender {
    const char* name;
    std::function<void()> work;
    std::vector<double> times{};
};

// The first against the rest. A turn takes long enough for the clock.
void compare(benchmark::State& state, std::size_t size, std::vector<Contender> contenders) {
    const std::size_t repeats = isTiny() ? 1 : std::max<std::size_t>(1, (std::size_t{1} << 20) / size);
    for (auto& contender : contenders) {
        contender.work(); // touches what it needs
    }
    while (state.KeepRunning()) {
        for (auto& contender : contenders) {
            contender.times.push_back(timed([&contender, repeats] {
                for (std::size_t repeat = 0; repeat < repeats; ++repeat) {
                    contender.work();
                }
            }));
        }
        state.SetIterationTime(contenders.front().times.back());
    }
    const double own = median(contenders.front().times);
    for (const auto& [name, work, times] : contenders) {
        state.counters[std::string(name) + " GB/s"] =
            static_cast<double>(size * repeats) / median(times) / 1e9;
        if (name != contenders.front().name) {
            state.counters[std::string("ratio ") + name] = median(times) / own;
        }
    }
}

void blocks(benchmark::State& state, const AesPath& path, bool encrypts) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const Buffer input(size);
    const Buffer output(size);
    const Buffer evpOutput(size);
    std::uint32_t roundKeys[kAesLargestSchedule];
    const int rounds = encrypts ? rijndaelSetupEncrypt(roundKeys, keyBytes(), 256)
                                : rijndaelSetupDecrypt(roundKeys, keyBytes(), 256);
    const auto run = encrypts ? path.encrypt : path.decrypt;
    const Evp evp(encrypts);
    run(roundKeys, rounds, input.data(), output.data(), size / kAesBlockSize);
    evp.run(input.data(), evpOutput.data(), size);
    require(output == evpOutput, "giving the same bytes");

    compare(state, size,
            {{"own", [&] { run(roundKeys, rounds, input.data(), output.data(), size / kAesBlockSize); }},
             {"EVP", [&] { evp.run(input.data(), output.data(), size); }},
             {"memcpy", [&] { std::memcpy(output.data(), input.data(), size); }}});
}

// With key set-up and a new buffer each time, as a caller gets it.
void wholeCalls(benchmark::State& state, bool encrypts) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const Buffer bytes(size);
    const std::string input(bytes.data(), bytes.data() + size);
    auto* own = encrypts ? VTEncryption::AESEncryptData : VTEncryption::AESDecryptData;
    auto evp = [&] {
        std::string output(size, '\0');
        Evp(encrypts).run(input.data(), output.data(), size);
        return output;
    };
    require(own(input, kPassphrase) == evp(), "giving the same bytes");

    compare(state, size,
            {{"own", [&] { benchmark::DoNotOptimize(own(input, kPassphrase)); }},
             {"EVP", [&] { benchmark::DoNotOptimize(evp()); }},
             {"copy", [&] { benchmark::DoNotOptimize(std::string(input)); }}});
}

void addBenchmark(const std::string& name, int rounds, const std::function<void(benchmark::State&)>& run) {
    for (const std::int64_t size :
         {isTiny() ? std::int64_t{1} << 16 : std::int64_t{1} << 26, std::int64_t{1} << 12}) {
        benchmark::RegisterBenchmark(name.c_str(), run)
            ->Arg(size)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond)
            ->Iterations(isTiny() ? 1 : rounds);
    }
}

void addBenchmarks(const char* mask) {
    for (const bool encrypts : {true, false}) {
        const std::string direction = encrypts ? "/encrypt" : "/decrypt";
        for (const auto& path : aesPaths()) {
            const bool isPortable = &path == aesPaths().data();
            if (path.isSupported && (isPortable || !mask)) {
                const auto name = mask ? path.name + std::string("/masked ") + mask : path.name;
                addBenchmark(name + direction, isPortable ? 7 : 31,
                             [&path, encrypts](benchmark::State& state) { blocks(state, path, encrypts); });
            }
        }
        if (!mask) {
            addBenchmark("VTEncryption" + direction, 15,
                         [encrypts](benchmark::State& state) { wholeCalls(state, encrypts); });
        }
    }
}

void runAgain(char** arguments, const char* mask) {
    require(setenv(kMask, mask, 1) == 0, "setenv");
    std::fflush(stdout);
    pid_t process = 0;
    int status = 0;
    require(::posix_spawn(&process, "/proc/self/exe", nullptr, nullptr, arguments, ::environ) == 0,
            "posix_spawn");
    require(::waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0,
            "the masked run");
}

} // namespace

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc + 1); // Google Benchmark takes its own away
    const char* mask = std::getenv(kMask);
    addBenchmarks(mask);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (!mask) {
        runAgain(arguments.data(), kWithoutAesNi);
        runAgain(arguments.data(), kWithoutAnything);
    }
}
