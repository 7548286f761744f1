#include "DamagedFile.h"

#include "Exception.h"
#include "Platform.h"

#include <array>
#include <ctime>

namespace platform {

namespace {

std::string localTime() {
    std::time_t now = std::time(nullptr);
    std::tm fields{};
    ::localtime_r(&now, &fields);
    std::array<char, 32> text{};
    auto length = std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &fields);
    return {text.data(), length};
}

} // namespace

void keepDamagedFile(const std::string& path) {
    const std::string wanted = path + ".damaged-" + localTime();
    std::string kept = wanted;
    auto error = current().fileManager->moveItem(path, kept);
    for (int count = 2; error == std::errc::file_exists; ++count) {
        kept = wanted + "-" + std::to_string(count);
        error = current().fileManager->moveItem(path, kept);
    }
    if (error) {
        throw Exception("NSFileHandleOperationException", error.message());
    }
    current().consoleLog->log(path + " is damaged and was kept as " + kept);
}

} // namespace platform
