// Does with administrator rights what a test tells it to. A command is a line of words in hexadecimal, "-"
// for an empty one; the answer is a line with the status.
//
//     create
//     rights                    interactively
//     rights USER LENGTH        with the password that follows the line, so many bytes
//     run start|end ask|no TOOL [ARGUMENT...]
//     free

#include "linux/PolkitAuthorization.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using platform::PolkitAuthorization;

std::string decoded(const std::string& word) {
    constexpr int kBase = 16;
    std::string text;
    for (std::size_t place = 0; word != "-" && place + 1 < word.size(); place += 2) {
        text += static_cast<char>(std::stoi(word.substr(place, 2), nullptr, kBase));
    }
    return text;
}

// Byte by byte and past all buffers, so that of a password that follows there is but the one copy.
bool readExactly(char* bytes, std::size_t length) {
    for (std::size_t read = 0; read < length; ++read) {
        if (::read(STDIN_FILENO, bytes + read, 1) != 1) {
            return false;
        }
    }
    return true;
}

bool readWords(std::vector<std::string>& words) {
    std::string line;
    char character = 0;
    while (readExactly(&character, 1)) {
        if (character != '\n') {
            line += character;
            continue;
        }
        std::istringstream stream(line);
        words.clear();
        for (std::string word; stream >> word;) {
            words.push_back(decoded(word));
        }
        return true;
    }
    return false;
}

struct Driver {
    PolkitAuthorization authorization;
    std::shared_ptr<platform::AuthorizationReference> reference;

    PolkitAuthorization::Status rightsWithPassword(const std::string& user, std::size_t length) {
        std::optional<PolkitAuthorization::Credentials> credentials(std::in_place);
        credentials->user = user;
        credentials->password.resize(length);
        readExactly(credentials->password.data(), length);
        const auto status = authorization.copyRights(*reference, credentials);
        ::explicit_bzero(credentials->password.data(), length);
        return status;
    }

    PolkitAuthorization::Status perform(const std::vector<std::string>& words) {
        const auto& command = words.at(0);
        if (command == "create") {
            auto result = authorization.create();
            reference = result.reference;
            return result.status;
        }
        if (command == "rights") {
            return words.size() == 1 ? authorization.copyRights(*reference, std::nullopt)
                                     : rightsWithPassword(words.at(1), std::stoul(words.at(2)));
        }
        if (command == "run") {
            return authorization.execute(*reference, words.at(3), {words.begin() + 4, words.end()},
                                         words.at(1) == "end", words.at(2) == "ask");
        }
        authorization.free(reference);
        return 0;
    }
};

} // namespace

int main() {
    Driver driver;
    std::vector<std::string> words;
    while (readWords(words)) {
        std::cout << driver.perform(words) << std::endl;
    }
}
