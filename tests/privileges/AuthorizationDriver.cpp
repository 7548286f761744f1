// Does with administrator rights what a test tells it to. A command is a line of words in hexadecimal, "-"
// for an empty one; the answer is a line with the result, after those with what the console was told.
//
// To the service:
//     create
//     rights [TOOL]             interactively
//     rights USER LENGTH        with the password that follows the line, so many bytes
//     run start|end ask|no TOOL [ARGUMENT...]
//     free
//
// To the controller, whose answer is 0 or 1 where it is yes or no:
//     start, startWithUser USER LENGTH, end, silent, isHeld
//     remove PATH, trash PATH, trashContents PATH, move PATH PATH, moveContents PATH PATH,
//     copy PATH PATH, makeFolder PATH
//     exec start|end TOOL [ARGUMENT...]

#include "VTAuthorization.h"
#include "VTLog.h"
#include "linux/LinuxFileManager.h"
#include "linux/LinuxUsers.h"
#include "linux/PolkitAuthorization.h"

#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

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

// The bytes that follow the command.
std::string readText(std::size_t length) {
    std::string text(length, 0);
    readExactly(text.data(), length);
    return text;
}

// What is told to the console is a line before the answer.
class ConsoleOnOutput : public platform::ConsoleLog {
public:
    void log(std::string_view text) override {
        std::cout << "console " << std::hex << std::setfill('0');
        for (const unsigned char byte : text) {
            std::cout << std::setw(2) << int{byte};
        }
        std::cout << std::dec << "\n";
    }
};

class Driver {
public:
    int perform(const std::vector<std::string>& words) {
        const auto answer = performOne(words);
        VTLog::finishWriting();
        return answer;
    }

private:
    using Words = std::vector<std::string>;

    int performOne(const Words& words) {
        const auto& command = words.at(0);
        if (command == "create") {
            auto result = service_.create();
            reference_ = result.reference;
            return result.status;
        }
        if (command == "rights") {
            return words.size() > 2 ? rightsWithPassword(words.at(1), std::stoul(words.at(2)))
                                    : service_.askForRights(*reference_, optionalWord(words, 1));
        }
        if (command == "run") {
            return service_.execute(*reference_, words.at(3), {words.begin() + 4, words.end()},
                                    words.at(1) == "end", words.at(2) == "ask");
        }
        if (command == "free") {
            service_.free(reference_);
            return 0;
        }
        return performByController(words);
    }

    int rightsWithPassword(const std::string& user, std::size_t length) {
        auto password = readText(length);
        return service_.copyRights(*reference_, {.user = user, .password = platform::SecretText(password)});
    }

    static int performByController(const Words& words) {
        auto& controller = VTAuthorization::sharedController();
        const auto& command = words.at(0);
        const auto path = optionalWord(words, 1);
        const auto other = optionalWord(words, 2);
        if (command == "startWithUser") {
            return controller.authStartWithUser(path, readText(std::stoul(words.at(2))));
        }
        if (command == "exec") {
            return controller.authExecTask(words.at(2), {words.begin() + 3, words.end()},
                                           words.at(1) == "start");
        }
        const std::map<std::string, std::function<int()>> commands{
            {"start", [&] { return controller.authStart(); }},
            {"end", [&] { return controller.authEnd(), 0; }},
            {"silent", [&] { return controller.setHasGUI(false), 0; }},
            {"isHeld", [&] { return controller.authRef() != nullptr; }},
            {"remove", [&] { return controller.authRemoveFile(path); }},
            {"trash", [&] { return controller.authTrashFile(path); }},
            {"trashContents", [&] { return controller.authTrashFolderContents(path); }},
            {"moveContents", [&] { return controller.authMoveFolderContents(path, other); }},
            {"move", [&] { return controller.authMoveFile(path, other); }},
            {"copy", [&] { return controller.authCopyFile(path, other); }},
            {"makeFolder", [&] { return controller.authCreateDir(path); }},
        };
        return commands.at(command)();
    }

    static std::optional<std::string> optionalWord(const Words& words, std::size_t place) {
        return place < words.size() ? std::optional(words[place]) : std::nullopt;
    }

    platform::PolkitAuthorization service_;
    std::shared_ptr<platform::AuthorizationReference> reference_;
};

} // namespace

int main() {
    // Only what the operations use.
    platform::install({.consoleLog = std::make_shared<ConsoleOnOutput>(),
                       .fileManager = std::make_shared<platform::LinuxFileManager>(),
                       .users = std::make_shared<platform::LinuxUsers>(),
                       .notificationCenter = std::make_shared<platform::NotificationCenter>(),
                       .authorization = std::make_shared<platform::PolkitAuthorization>()});
    VTLog::createNewLog();
    Driver driver;
    std::vector<std::string> words;
    while (readWords(words)) {
        std::cout << driver.perform(words) << std::endl;
    }
}
