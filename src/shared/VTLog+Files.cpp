#include "VTLog.h"

#include "GlobalPreferences.h"

#include "Bundle.h"
#include "ProcessInfo.h"
#include "PropertyListSerialization.h"
#include "VTLocalPaths.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace {

constexpr std::uint64_t kMaximumFileSize = 500'000;
constexpr std::size_t kMaximumBytesPerWrite = std::size_t{64} << 10;
constexpr int kGenerations = 5;

using Path = VTLocalPaths::Path;

platform::FileManager& files() {
    return *platform::current().fileManager;
}

std::string dateText() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 64> text{};
    const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S %z", &local);
    return {text.data(), length};
}

Path logFolder(bool userDomain) {
    return VTLocalPaths::appending(VTLocalPaths::libraryDirectory(userDomain), "Logs/Vantorel");
}

std::string generationPath(const std::string& folder, int generation,
                           const std::optional<std::string>& name) {
    return format("%@/%@.%li.log", folder, name, generation);
}

// A root process keeps the current file, and that alone, in the machine's folder.
Path currentFilePath(const std::optional<std::string>& name) {
    auto folder = logFolder(platform::current().users->realUserID() != 0);
    return folder ? Path(generationPath(*folder, 1, name)) : std::nullopt;
}

// Makes room for a new generation 1. False when a file could not be moved; then the others stay too.
bool shiftGenerations(const std::string& folder, const std::optional<std::string>& name) {
    if (auto oldest = generationPath(folder, kGenerations, name); files().fileExists(oldest)) {
        files().removeItem(oldest);
    }
    for (int generation = kGenerations - 1; generation >= 1; --generation) {
        auto from = generationPath(folder, generation, name);
        auto to = generationPath(folder, generation + 1, name);
        if (files().fileExists(from) && files().moveItem(from, to)) {
            VTLog::print(format("Unable to move file %s to %s.\n", from, to));
            return false;
        }
    }
    return true;
}

void logHeader() {
    VTLog::fastAppendLog("Log started: %@\n", dateText());
    if (auto bundle = platform::Bundle::main()) {
        if (auto version = platform::stringForKey(bundle->infoDictionary(), "CFBundleVersion")) {
            VTLog::fastAppendLog("Version: %@\n", version);
        }
        VTLog::fastAppendLog("Path: %@\n", platform::mainExecutablePath());
    }
    VTLog::appendLog("System: OS X %@, %li CPU(s), %0.2f GB RAM\n", platform::operatingSystemVersionString(),
                     platform::processorCount(),
                     static_cast<double>(platform::physicalMemory()) / 1024 / 1024 / 1024);
    VTLog::fastAppendLog(sizeof(void*) == 8 ? "Running in 64-bit mode\n" : "Running in 32-bit mode\n");
}

} // namespace

std::vector<std::string> VTLog::availableLogs() {
    std::vector<std::string> logs;
    if (auto folder = logFolder(true)) {
        const auto name = sharedController().appName();
        for (int generation = 1; generation <= kGenerations; ++generation) {
            auto path = generationPath(*folder, generation, name);
            if (files().fileExists(path)) {
                logs.push_back(std::move(path));
            }
        }
    }
    return logs;
}

// The header is written without the lock: who waits for that would stop the writer's own rotation, and with
// it itself.
void VTLog::createNewLog(const std::optional<std::string>& name) {
    if (sharedController().beginNewFile(name)) {
        logHeader();
    }
}

bool VTLog::beginNewFile(const std::optional<std::string>& name) {
    std::lock_guard opening(openingMutex_);
    setFileHandle(nullptr);
    if (isOne(globalPreference("disable-logging"))) {
        print("Logging is disabled\n");
        setLoggingDisabled(true);
        return false;
    }
    if (name && !appName()) {
        setAppName(name);
    }
    setBytesWritten(0);
    if (appName().value_or("").empty()) {
        setAppName("Unknown");
    }
    const auto ownName = appName();
    const auto folder = logFolder(true);
    const auto path = currentFilePath(ownName);
    if (!folder || !path) {
        return false;
    }
    if (!files().fileExists(*folder) && files().createDirectory(*folder)) {
        print(format("Unable to create folder %s.\n", *folder));
        return false;
    }
    if (files().fileExists(*path) && !shiftGenerations(*folder, ownName)) {
        return false;
    }
    if (auto error = files().writeAtomically(*path, "")) {
        print(format("Unable to create log file %s - %s\n", *path, error.message()));
        return false;
    }
    std::shared_ptr<platform::FileHandle> file = files().openForWriting(*path);
    if (!file) {
        return false;
    }
    setFileHandle(std::move(file));
    return true;
}

std::shared_ptr<platform::FileHandle> VTLog::openFile() {
    std::lock_guard opening(openingMutex_);
    if (auto file = fileHandle()) {
        return file;
    }
    const auto path = currentFilePath(appName());
    std::shared_ptr<platform::FileHandle> file = path ? files().openForWriting(*path) : nullptr;
    if (file) {
        file->seekToEnd();
        setFileHandle(file);
    }
    return file;
}

// Collects the lines of the first entries, up to the one that fills the file or a buffer worth one
// system call.
void VTLog::collectLines(std::span<const Entry> waiting) {
    const auto start = dateText() + " - ";
    lines_.clear();
    lineEnds_.clear();
    for (const auto& entry : waiting) {
        lines_ += start;
        lines_ += entry.text;
        lines_ += '\n';
        lineEnds_.push_back(lines_.size());
        if (lines_.size() >= kMaximumBytesPerWrite || bytesWritten_ + lines_.size() >= kMaximumFileSize) {
            return;
        }
    }
}

void VTLog::takeOffAccount(std::span<const Entry> entries) {
    for (const auto& entry : entries) {
        bytesInQueue_ -= entry.length;
    }
}

// One system call writes the lines of many entries, yet the account is kept entry by entry, as if each
// had been written by itself: collecting ends with the line that fills the file, and when a write fails
// half way, the entries whose lines had reached the file whole are done, the one in which it stopped is
// lost, and those behind it are tried by the next run.
std::size_t VTLog::appendLogOnThread(std::span<const Entry> waiting) {
    if (loggingDisabled()) {
        return waiting.size(); // they stay counted in bytesInQueue
    }
    std::size_t done = 1; // should anything throw, the entry it happened to is lost
    try {
        const auto file = openFile();
        if (!file) {
            if (!loggingDisabled()) {
                print(format("Unable to log the following information: %s\n", waiting.front().text));
                print("Unable to open log for output\n");
            }
            takeOffAccount(waiting.first(1));
            return done;
        }
        collectLines(waiting);
        try {
            file->write(lines_);
        } catch (const platform::FileHandleException& exception) {
            const auto stop = std::ranges::upper_bound(lineEnds_, exception.bytesWritten());
            const auto whole = static_cast<std::size_t>(stop - lineEnds_.begin());
            bytesWritten_ += whole > 0 ? lineEnds_[whole - 1] : 0;
            takeOffAccount(waiting.first(whole));
            done = whole + 1;
            throw;
        }
        done = lineEnds_.size();
        bytesWritten_ += lines_.size();
        takeOffAccount(waiting.first(done - 1));
        if (bytesWritten_ >= kMaximumFileSize) {
            createNewLog(appName());
            appendLog("Log truncated at 500KB");
        }
        takeOffAccount(waiting.subspan(done - 1, 1));
    } catch (const std::exception& exception) {
        if (!loggingDisabled()) {
            print(format("Exception writing to log: %s\n", exception.what()));
        }
    }
    return done;
}
