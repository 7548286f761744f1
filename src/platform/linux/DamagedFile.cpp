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

// Tells where the file lies then.
std::error_code moveAside(const std::string& path, std::string& kept) {
    const std::string wanted = path + ".damaged-" + localTime();
    kept = wanted;
    auto error = current().fileManager->moveItem(path, kept);
    for (int count = 2; error == std::errc::file_exists; ++count) {
        kept = wanted + "-" + std::to_string(count);
        error = current().fileManager->moveItem(path, kept);
    }
    return error;
}

} // namespace

void replaceDamagedFile(const std::string& path, std::string_view bytes) {
    auto& fileManager = *current().fileManager;
    std::string kept;
    auto error = moveAside(path, kept);
    if (!error) {
        error = fileManager.writeAtomically(path, bytes);
        if (error) {
            fileManager.moveItem(kept, path);
        }
    }
    if (error) {
        throw Exception("NSFileHandleOperationException", error.message());
    }
    current().consoleLog->log(path + " could not be read and was kept as " + kept);
}

} // namespace platform
