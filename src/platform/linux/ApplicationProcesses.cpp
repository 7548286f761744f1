#include "ApplicationProcesses.h"

#include "Bundle.h"
#include "FileDescriptor.h"
#include "Package.h"
#include "ResolvedPath.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace platform {

namespace {

// Where an interpreter's script stands: behind a few options at most.
constexpr std::size_t kArgumentsLookedAt = 5;

// What one process's folder below /proc says.
class ProcessFolder {
public:
    explicit ProcessFolder(pid_t process)
        : folder_(::open(("/proc/" + std::to_string(process)).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

    bool isOpen() const { return static_cast<bool>(folder_); }

    // Root for a process that protects itself from being looked at, too.
    std::optional<uid_t> owner() const {
        struct stat status {};
        return ::fstat(folder_.get(), &status) == 0 ? std::optional(status.st_uid) : std::nullopt;
    }

    std::optional<std::string> link(const char* name) const {
        std::string target(PATH_MAX, '\0');
        auto length = ::readlinkat(folder_.get(), name, target.data(), target.size());
        if (length < 0) {
            return std::nullopt;
        }
        target.resize(static_cast<std::size_t>(length));
        return target;
    }

    std::string contents(const char* name) const {
        FileDescriptor file(::openat(folder_.get(), name, O_RDONLY | O_CLOEXEC));
        std::string text(4096, '\0');
        auto length = file ? retrying([&] { return ::read(file.get(), text.data(), text.size()); }) : 0;
        text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return text;
    }

    pid_t parent() const {
        // "PID (NAME) STATE PARENT ...", where the name may hold anything.
        auto text = contents("stat");
        auto end = text.rfind(')');
        pid_t parent = 0;
        if (end != std::string::npos && end + 4 < text.size()) {
            std::from_chars(text.data() + end + 4, text.data() + text.size(), parent);
        }
        return parent;
    }

    std::vector<std::string> arguments() const {
        std::vector<std::string> words;
        auto text = contents("cmdline");
        for (std::size_t start = 0; start < text.size() && words.size() < kArgumentsLookedAt;) {
            auto end = std::min(text.find('\0', start), text.size());
            words.push_back(text.substr(start, end - start));
            start = end + 1;
        }
        return words;
    }

private:
    FileDescriptor folder_;
};

bool isOurs(const ProcessFolder& process) {
    auto owner = process.owner();
    if (owner == ::getuid()) {
        return true;
    }
    return owner == uid_t{0} && ProcessFolder(process.parent()).owner() == ::getuid();
}

// The words of the script's first line behind "#!"; empty when it does not begin so.
std::vector<std::string> interpreterLine(const std::string& script) {
    FileDescriptor file(::open(script.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, 256> bytes{};
    auto length = file ? retrying([&] { return ::read(file.get(), bytes.data(), bytes.size()); }) : 0;
    std::string_view line(bytes.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    line = line.substr(0, line.find('\n'));
    std::vector<std::string> words;
    if (line.starts_with("#!")) {
        line.remove_prefix(2);
        while ((line = line.substr(std::min(line.find_first_not_of(" \t"), line.size()))).size() > 0) {
            auto end = std::min(line.find_first_of(" \t"), line.size());
            words.emplace_back(line.substr(0, end));
            line.remove_prefix(end);
        }
    }
    return words;
}

bool isShell(std::string_view executable) {
    static constexpr std::array<std::string_view, 7> kShells{"sh",  "bash", "busybox", "dash",
                                                             "ksh", "mksh", "zsh"};
    return std::ranges::find(kShells, lastPathComponent(executable)) != kShells.end();
}

// Does `executable`, called by the name `calledAs`, run the script, rather than show or edit it?
bool interprets(const std::string& executable, const std::string& calledAs, const std::string& script) {
    auto line = interpreterLine(script);
    if (line.empty()) {
        return false;
    }
    if (isShell(executable) || resolvedPath(line.front()) == executable) {
        return true;
    }
    // "#!/usr/bin/env NAME": the program is found in PATH and called by that name.
    return lastPathComponent(line.front()) == "env" &&
           std::ranges::find(line, lastPathComponent(calledAs)) != line.end();
}

std::optional<std::string> bundleOfScript(const ProcessFolder& process, const std::string& executable) {
    auto words = process.arguments();
    bool isFirst = true;
    for (std::size_t i = 1; i < words.size(); ++i) {
        auto path = words[i];
        if (path.starts_with('-') || path.empty()) {
            continue;
        }
        const bool mayBeLink = std::exchange(isFirst, false);
        if (!path.starts_with('/')) {
            path.insert(0, process.link("cwd").value_or("") + '/');
        }
        // The script as a rule is the first word, and may be a link that lies anywhere. Most others are no
        // paths at all: of them only those are resolved that look as if they led somewhere.
        if (!mayBeLink && path.find("MacOS/") == std::string::npos) {
            continue;
        }
        auto script = resolvedPath(path);
        auto bundle = script ? bundleOfExecutable(*script) : std::nullopt;
        if (bundle && interprets(executable, words.front(), *script)) {
            return bundle;
        }
    }
    return std::nullopt;
}

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

std::optional<std::string> bundleOf(const ProcessFolder& process) {
    if (!process.isOpen() || !isOurs(process)) {
        return std::nullopt;
    }
    auto executable = process.link("exe");
    if (!executable) {
        // It runs with other rights than ours, so that only its own words remain.
        auto words = process.arguments();
        auto named = words.empty() ? std::nullopt : resolvedPath(words.front());
        return named ? bundleOfExecutable(*named) : std::nullopt;
    }
    static constexpr std::string_view kDeleted = " (deleted)";
    if (executable->ends_with(kDeleted)) {
        executable->resize(executable->size() - kDeleted.size());
    }
    auto bundle = bundleOfExecutable(*executable);
    return bundle ? bundle : bundleOfScript(process, *executable);
}

} // namespace

std::optional<std::string> bundleOfProcess(pid_t process) {
    return bundleOf(ProcessFolder(process));
}

void visitApplicationProcesses(const std::function<void(pid_t, const std::string&)>& visit) {
    std::unique_ptr<DIR, FolderCloser> folder(::opendir("/proc"));
    if (!folder) {
        return;
    }
    const auto own = ::getpid();
    while (const auto* entry = ::readdir(folder.get())) {
        std::string_view name = entry->d_name;
        pid_t process = 0;
        auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (error != std::errc() || end != name.data() + name.size() || process == own) {
            continue;
        }
        if (auto bundle = bundleOfProcess(process)) {
            visit(process, *bundle);
        }
    }
}

} // namespace platform
