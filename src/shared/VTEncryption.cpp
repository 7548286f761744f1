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
    std::uint32_t roundKeys[kAesLargestSchedule];
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
// `filling`.
std::string transformed(std::string_view data, const Schedule& schedule,
                        decltype(rijndaelEncryptBlocks) transform, Block filling) {
    // Passed on piece by piece through the stack, since making room in a string fills it first.
    char piece[1024 * kAesBlockSize];
    auto run = [&](const char* input, std::size_t size) {
        transform(schedule.roundKeys, schedule.rounds, reinterpret_cast<const std::uint8_t*>(input),
                  reinterpret_cast<std::uint8_t*>(piece), size / kAesBlockSize);
    };
    const std::size_t rest = data.size() % kAesBlockSize;
    std::string output;
    output.reserve(data.size() - rest + (rest > 0 ? kAesBlockSize : 0));
    for (data.remove_suffix(rest); !data.empty();) {
        const std::size_t size = std::min(data.size(), sizeof piece);
        run(data.data(), size);
        output.append(piece, size);
        data.remove_prefix(size);
    }
    if (rest > 0) {
        std::memcpy(filling.data(), data.data(), rest);
        run(filling.data(), filling.size());
        output.append(piece, filling.size());
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
