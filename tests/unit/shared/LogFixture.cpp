#include "LogFixture.h"

#include "PropertyListSerialization.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <sstream>
#include <string_view>
#include <unistd.h>

namespace {

platform::Platform with(std::shared_ptr<platform::FileManager> fileManager) {
    auto services = platform::current();
    services.fileManager = std::move(fileManager);
    return services;
}

bool isDate(std::string_view text) {
    static constexpr std::string_view kPattern = "0000-00-00 00:00:00 +0000 - ";
    return std::ranges::equal(text, kPattern, [](char character, char pattern) {
        return pattern == '0'   ? character >= '0' && character <= '9'
               : pattern == '+' ? character == '+' || character == '-'
                                : character == pattern;
    });
}

} // namespace

// The services stay: threads that nobody waits for may use them to the process's end.
LogTest::LogTest() : fileManager_(std::make_shared<FailingFileManager>(platform::current().fileManager)) {
    platform::install(with(fileManager_));
}

LogTest::~LogTest() {
    VTLog::finishWriting();
}

std::string LogTest::path(int generation, const std::string& folder) {
    return folder + "/" + name() + "." + std::to_string(generation) + ".log";
}

std::vector<std::string> LogTest::entries(const std::string& file) {
    std::istringstream stream(sandbox::readFile(file));
    std::vector<std::string> texts;
    for (std::string line; std::getline(stream, line);) {
        const auto date = line.substr(0, kDateLength);
        EXPECT_TRUE(isDate(date)) << file << ": " << line;
        texts.push_back(line.substr(date.size()));
    }
    return texts;
}

void LogTest::setPreferences(const platform::PropertyList::Dictionary& values) {
    sandbox::writeFile(sandbox::home() + "/Library/Preferences/com.vantorel.global.plist",
                       platform::serializePropertyList(values, platform::PropertyListFormat::Xml));
}

std::string LogTest::output(const std::function<void()>& work) {
    const auto file = sandbox::folder() + "/output";
    std::fflush(stdout);
    const int saved = ::dup(STDOUT_FILENO);
    const int captured = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ::dup2(captured, STDOUT_FILENO);
    work();
    ::dup2(saved, STDOUT_FILENO); // what is printed is flushed at once
    ::close(captured);
    ::close(saved);
    return sandbox::readFile(file);
}
