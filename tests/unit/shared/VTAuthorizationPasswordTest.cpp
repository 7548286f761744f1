#include "AuthorizationFixture.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <string.h>
#include <string_view>
#include <unistd.h>

using Credentials = platform::Authorization::Credentials;

namespace {

class VTAuthorizationPassword : public AuthorizationTest {};

// A text that memory holds only where it has been put.
class Hidden {
public:
    explicit Hidden(std::size_t length) {
        for (std::size_t i = 0; i < length; ++i) {
            masked_.push_back(static_cast<char>(mask(i) ^ ('A' + (i * 7 + length) % 26)));
        }
    }
    void putInto(std::string& text) const {
        text.resize(masked_.size());
        for (std::size_t i = 0; i < masked_.size(); ++i) {
            text[i] = at(i);
        }
    }
    bool is(const char* bytes) const {
        for (std::size_t i = 0; i < masked_.size(); ++i) {
            if (bytes[i] != at(i)) {
                return false;
            }
        }
        return true;
    }
    std::size_t size() const { return masked_.size(); }
    char at(std::size_t i) const { return static_cast<char>(masked_[i] ^ mask(i)); }

private:
    static int mask(std::size_t i) { return static_cast<int>(0x80 | (i * 13 % 128)); }

    std::string masked_;
};

// How often the text stands in what this process may write to.
int occurrences(const Hidden& text) {
    constexpr std::size_t kLargest = std::size_t{1} << 26; // beyond are the sanitizers' own tables
    std::vector<std::pair<std::size_t, std::size_t>> places;
    {
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);) {
            std::size_t begin = 0;
            std::size_t end = 0;
            std::array<char, 5> access{};
            if (std::sscanf(line.c_str(), "%zx-%zx %4s", &begin, &end, access.data()) == 3 &&
                access[1] == 'w' && end - begin < kLargest) {
                places.emplace_back(begin, end);
            }
        }
    }
    constexpr std::size_t kStep = std::size_t{1} << 20;
    const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    EXPECT_GE(memory, 0);
    int found = 0;
    std::vector<char> part(kStep + text.size() - 1);
    const auto own = reinterpret_cast<std::size_t>(part.data());
    for (const auto& [begin, end] : places) {
        for (auto at = begin; at < end; at += kStep) {
            const auto wanted = std::min(part.size(), end - at);
            const auto length = ::pread(memory, part.data(), wanted, static_cast<off_t>(at));
            const std::string_view bytes(part.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
            for (auto i = bytes.find(text.at(0)); i < kStep && i + text.size() <= bytes.size();
                 i = bytes.find(text.at(0), i + 1)) {
                const bool isCopy = at + i >= own && at + i < own + part.size(); // made by this look
                found += !isCopy && text.is(bytes.data() + i);
            }
        }
    }
    ::explicit_bzero(part.data(), part.size());
    ::close(memory);
    return found;
}

} // namespace

TEST_F(VTAuthorizationPassword, NothingIsLeftOfAPassword) {
    enum class Case { Granted, Refused, NoReference, NoUser, Root };
    for (std::size_t length : {15U, 5000U}) { // in the string itself, and outside
        for (auto outcome : {Case::Granted, Case::Refused, Case::NoReference, Case::NoUser, Case::Root}) {
            const Hidden secret(length);
            int seen = 0;
            service().createStatus = outcome == Case::NoReference ? 1 : 0;
            service().onCopyRights = [&](const std::optional<Credentials>& credentials) {
                seen += secret.is(credentials.value().password.view().data());
                return outcome == Case::Refused ? 1 : 0;
            };
            VTLog::finishWriting(); // of the case before
            become(outcome == Case::Root ? Role::Root : Role::User);
            std::optional<std::string> password(std::in_place);
            secret.putInto(*password);
            if (outcome == Case::Granted) { // the look does find it
                EXPECT_EQ(occurrences(secret), 1) << length;
            }
            const auto user = outcome == Case::NoUser ? std::nullopt : std::optional<std::string>("admin");
            EXPECT_EQ(controller().authStartWithUser(user, std::move(password)),
                      outcome == Case::Granted || outcome == Case::Root);
            EXPECT_EQ(seen, outcome == Case::Granted || outcome == Case::Refused);
            EXPECT_EQ(password, "");
            EXPECT_EQ(occurrences(secret), 0) << length << " " << static_cast<int>(outcome);
        }
    }
}
