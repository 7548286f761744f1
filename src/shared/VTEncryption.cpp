#include "VTEncryption.h"

#include "AesBlock.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr std::size_t kKeySize = 32; // bytes

using Block = std::array<char, kAesBlockSize>;

// The schedule of a passphrase. Wiped at the end.
struct Schedule {
    std::uint32_t roundKeys[kAesLargestSchedule]{};
    int rounds;

    Schedule(std::optional<std::string_view> passphrase, decltype(rijndaelSetupEncrypt) setUp) {
        std::uint8_t key[kKeySize] = {};
        if (passphrase && !passphrase->empty()) {
            std::memcpy(key, passphrase->data(), std::min(passphrase->size(), kKeySize));
        }
        rounds = setUp(roundKeys, key, 8 * kKeySize);
        ::explicit_bzero(key, sizeof key);
    }
    ~Schedule() { ::explicit_bzero(this, sizeof *this); }
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;
};

// Runs the cipher over the whole blocks of `data` and then, when bytes are left, over them laid upon
// `filling`, which is wiped.
std::string transformed(std::string_view data, const Schedule& schedule,
                        decltype(rijndaelEncryptBlocks) transform, Block& filling) {
    auto run = [&](const char* input, char* output, std::size_t blocks) {
        transform(schedule.roundKeys, schedule.rounds, reinterpret_cast<const std::uint8_t*>(input),
                  reinterpret_cast<std::uint8_t*>(output), blocks);
    };
    const std::size_t rest = data.size() % kAesBlockSize;
    const std::size_t whole = data.size() - rest;
    std::string output(whole + (rest > 0 ? kAesBlockSize : 0), '\0');
    run(data.data(), output.data(), whole / kAesBlockSize);
    if (rest > 0) {
        data.copy(filling.data(), rest, whole);
        run(filling.data(), output.data() + whole, 1);
        ::explicit_bzero(filling.data(), filling.size());
    }
    return output;
}

} // namespace

std::string VTEncryption::AESEncryptData(std::string_view data, std::optional<std::string_view> passphrase) {
    Block spaces;
    spaces.fill(' ');
    return transformed(data, Schedule(passphrase, rijndaelSetupEncrypt), rijndaelEncryptBlocks, spaces);
}

std::string VTEncryption::AESDecryptData(std::string_view data, std::optional<std::string_view> passphrase) {
    Block lastWhole{};
    if (data.size() >= kAesBlockSize) {
        data.copy(lastWhole.data(), kAesBlockSize, (data.size() / kAesBlockSize - 1) * kAesBlockSize);
    }
    return transformed(data, Schedule(passphrase, rijndaelSetupDecrypt), rijndaelDecryptBlocks, lastWhole);
}
