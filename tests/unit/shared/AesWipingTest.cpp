// Keys, schedules and plaintext are gone when a call has returned: calls run on a stack of the test's own,
// which is then searched. Under the address sanitizer variables may live elsewhere; there these tests see
// less. Without optimisation every value passes through the stack, and there is nothing to promise.

#include "AesFixture.h"
#include "VTEncryption.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <pthread.h>
#include <stdexcept>
#include <sys/mman.h>

namespace {

#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

const std::string kKey = aes::randomBytes(32, 4711);

// Fresh memory for a thread's stack.
class Stack {
public:
    Stack() : memory_(::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::runtime_error("mmap failed");
        }
    }
    ~Stack() { ::munmap(memory_, kSize); }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    void run(std::function<void()> work) {
        pthread_attr_t attributes;
        pthread_t thread{};
        auto body = [](void* pointer) -> void* {
            (*static_cast<std::function<void()>*>(pointer))();
            return nullptr;
        };
        if (::pthread_attr_init(&attributes) != 0 ||
            ::pthread_attr_setstack(&attributes, memory_, kSize) != 0 ||
            ::pthread_create(&thread, &attributes, body, &work) != 0 ||
            ::pthread_join(thread, nullptr) != 0) {
            throw std::runtime_error("no thread");
        }
        ::pthread_attr_destroy(&attributes);
    }

    // What is left below the frame of whoever called `work`, which begins with memory of zeros.
    std::string leftBy(const std::function<void()>& work) {
        ::explicit_bzero(memory_, kSize);
        std::string left(kSize, '\0');
        run([&] {
            work();
            const auto* memory = static_cast<const char*>(memory_);
            const auto used = static_cast<const char*>(__builtin_frame_address(0)) - memory;
            std::memcpy(left.data(), memory, static_cast<std::size_t>(used));
        });
        return left;
    }

    bool contains(std::string_view bytes) const {
        return ::memmem(memory_, kSize, bytes.data(), bytes.size()) != nullptr;
    }

private:
    static constexpr std::size_t kSize = 1 << 20;
    void* memory_;
};

std::string_view bytesOf(const std::uint32_t* words, std::size_t count) {
    return {reinterpret_cast<const char*>(words), count * sizeof *words};
}

// A round key may lie about as words, as bytes, and as slices: a word of all ones or zeros for each column,
// for a bit of a row.
void expectNoRoundKey(const Stack& stack, const aes::Schedule& schedule) {
    for (int round = 0; round <= schedule.rounds; ++round) {
        const std::uint32_t* words = schedule.words.data() + std::ptrdiff_t{4} * round;
        std::uint32_t swapped[4];
        std::ranges::transform(words, words + 4, swapped,
                               [](std::uint32_t word) { return __builtin_bswap32(word); });
        EXPECT_FALSE(stack.contains(bytesOf(words, 4))) << "words of round " << round;
        EXPECT_FALSE(stack.contains(bytesOf(swapped, 4))) << "bytes of round " << round;

        std::uint32_t slices[128];
        for (unsigned slice = 0; slice < 32; ++slice) {
            for (unsigned column = 0; column < 4; ++column) {
                const std::uint32_t word = swapped[column] ^ (round == 0 ? 0 : 0x63636363U);
                slices[4 * slice + column] = 0 - ((word >> slice) & 1);
            }
        }
        EXPECT_FALSE(stack.contains(bytesOf(slices, 128))) << "slices of round " << round;
    }
}

} // namespace

class AesWiping : public testing::Test {
protected:
    void SetUp() override {
#ifndef __OPTIMIZE__
        GTEST_SKIP() << "not optimised";
#endif
    }
};

// Registers that did not suffice leave their contents on the stack, in parts and forms that nobody can search
// for. But what says something of keys or texts is not the same for another key and text.
void expectTheSameIsLeft(const std::function<void()>& work, const std::function<void()>& change) {
    if (kIsSanitized) {
        GTEST_SKIP() << "a sanitizer has an order of its own on the stack";
    }
    Stack stack;
    work(); // finds the functions of other libraries
    const auto first = stack.leftBy(work);
    change();
    const auto second = stack.leftBy(work);
    std::size_t different = 0;
    for (std::size_t place = 0; place < first.size(); ++place) {
        different += first[place] != second[place] ? 1 : 0;
    }
    EXPECT_EQ(different, 0) << "bytes of the stack";
}

// The search itself finds what is there.
TEST_F(AesWiping, FindsAScheduleThatIsLeft) {
    Stack stack;
    const auto schedule = aes::encryptionSchedule(kKey);
    stack.run([&schedule] {
        std::uint32_t left[kAesLargestSchedule];
        std::ranges::copy(schedule.words, left);
        __asm__ volatile("" : : "r"(left) : "memory"); // so that it is not left out
    });
#ifndef __SANITIZE_ADDRESS__
    EXPECT_TRUE(stack.contains(bytesOf(schedule.words.data() + 20, 4)));
#endif
}

TEST_F(AesWiping, LeavesTheSameOfTheSetUpForAllKeys) {
    for (const int keySize : {16, 24, 32}) {
        for (const auto setUp : {rijndaelSetupEncrypt, rijndaelSetupDecrypt}) {
            SCOPED_TRACE(keySize);
            auto key = kKey;
            std::uint32_t roundKeys[kAesLargestSchedule];
            expectTheSameIsLeft([&] { setUp(roundKeys, aes::in(key), 8 * keySize); },
                                [&] { key = aes::randomBytes(32, 5); });
        }
    }
}

// Nothing of a text that is worth hiding: its whole blocks, or what there is of one.
void expectNoPlaintext(const Stack& stack, std::string_view text) {
    while (!text.empty()) {
        const auto block = text.substr(0, kAesBlockSize);
        EXPECT_FALSE(block.size() >= 4 && stack.contains(block)) << text.size() << " bytes before the end";
        text.remove_prefix(block.size());
    }
}

// Less than a block, a vector and a batch of each path; a little more; much more.
constexpr std::size_t kLengths[] = {5, 16, 17, 33, 70, 100, 600, 100'000, 100'007};

TEST_F(AesWiping, LeavesNothingOfAnEncryption) {
    for (const std::size_t length : kLengths) {
        SCOPED_TRACE(length);
        Stack stack;
        const auto text = aes::randomBytes(length, 1);
        std::string result;
        stack.run([&] { result = VTEncryption::AESEncryptData(text, kKey); });
        EXPECT_FALSE(result.empty());
        EXPECT_FALSE(stack.contains(kKey.substr(0, 16)));
        EXPECT_FALSE(stack.contains(kKey.substr(16)));
        expectNoRoundKey(stack, aes::encryptionSchedule(kKey));
        expectNoPlaintext(stack, std::string_view(text).substr(length - std::min<std::size_t>(length, 2048)));
    }
}

TEST_F(AesWiping, LeavesNothingOfADecryption) {
    for (const std::size_t length : kLengths) {
        SCOPED_TRACE(length);
        Stack stack;
        const auto text = VTEncryption::AESEncryptData(aes::randomBytes(length, 2), kKey);
        std::string result;
        stack.run([&] { result = VTEncryption::AESDecryptData(text, kKey); });
        EXPECT_EQ(result, aes::decryptedByOpenSsl(kKey, text));
        EXPECT_FALSE(stack.contains(kKey.substr(0, 16)));
        EXPECT_FALSE(stack.contains(kKey.substr(16)));
        expectNoRoundKey(stack, aes::encryptionSchedule(kKey));
        expectNoRoundKey(stack, aes::decryptionSchedule(kKey));
        expectNoPlaintext(stack, std::string_view(result).substr(result.size() -
                                                                 std::min<std::size_t>(result.size(), 2048)));
    }
}

class AesWipingOnEachPath : public aes::OnEachPath {
protected:
    void SetUp() override {
        OnEachPath::SetUp();
#ifndef __OPTIMIZE__
        GTEST_SKIP() << "not optimised";
#endif
    }
};
INSTANTIATE_TEST_SUITE_P(Paths, AesWipingOnEachPath, testing::ValuesIn(aesPaths().begin(), aesPaths().end()),
                         aes::testName);

TEST_P(AesWipingOnEachPath, LeavesNeitherRoundKeysNorPlaintext) {
    for (const std::size_t keySize : {16, 24, 32}) {
        const auto key = kKey.substr(0, keySize);
        std::vector<std::size_t> counts{1, 2, 3, 5, 7, 15, 31, 33, 1000};
        if (keySize == 32) {
            counts.push_back((1 << 20) + 5); // past the caches
        }
        for (const std::size_t blocks : counts) {
            for (const bool encrypts : {true, false}) {
                SCOPED_TRACE(testing::Message() << keySize << ' ' << blocks << ' ' << encrypts);
                Stack stack;
                const auto text = aes::randomBytes(blocks * kAesBlockSize, 3);
                std::string output(text.size(), '\0');
                const auto schedule = encrypts ? aes::encryptionSchedule(key) : aes::decryptionSchedule(key);
                const auto run = encrypts ? GetParam().encrypt : GetParam().decrypt;
                stack.run([&] {
                    run(schedule.words.data(), schedule.rounds, aes::in(text), aes::out(output), blocks);
                });
                EXPECT_EQ(output,
                          encrypts ? aes::encryptedByOpenSsl(key, text) : aes::decryptedByOpenSsl(key, text));
                expectNoRoundKey(stack, schedule);
                expectNoPlaintext(stack, std::string_view(encrypts ? text : output).substr(0, 2048));
            }
        }
    }
}

TEST_P(AesWipingOnEachPath, LeavesTheSameForAllKeysAndTexts) {
    for (const std::size_t blocks : {1, 2, 3, 5, 7, 15, 31, 33, 1000}) {
        for (const bool encrypts : {true, false}) {
            SCOPED_TRACE(testing::Message() << blocks << ' ' << encrypts);
            auto schedule = aes::encryptionSchedule(kKey);
            auto text = aes::randomBytes(blocks * kAesBlockSize, 3);
            std::string output(text.size(), '\0');
            const auto run = encrypts ? GetParam().encrypt : GetParam().decrypt;
            expectTheSameIsLeft(
                [&] { run(schedule.words.data(), schedule.rounds, aes::in(text), aes::out(output), blocks); },
                [&] {
                    std::ranges::copy(aes::encryptionSchedule(aes::randomBytes(32, 5)).words,
                                      schedule.words.begin());
                    std::ranges::copy(aes::randomBytes(text.size(), 6), text.begin());
                });
        }
    }
}
