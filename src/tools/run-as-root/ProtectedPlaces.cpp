#include "ProtectedPlaces.h"

#include "Refusal.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <pwd.h>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <system_error>

namespace {

// Without links, "." and ".."; absent when there is nothing. Throws Refusal when that is not known.
std::optional<std::string> realPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    if (real) {
        return real.get();
    }
    if (errno != ENOENT && errno != ENOTDIR) {
        throw Refusal(path + ": " + std::error_code(errno, std::generic_category()).message());
    }
    return std::nullopt;
}

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The mount table writes space, tab, line feed and backslash as three octal digits.
std::string unescaped(std::string_view field) {
    constexpr std::size_t kLength = 4; // of an escape
    std::string result;
    while (!field.empty()) {
        if (field.front() == '\\' && field.size() >= kLength) {
            result += static_cast<char>(std::stoi(std::string(field.substr(1, kLength - 1)), nullptr, 8));
            field.remove_prefix(kLength);
        } else {
            result += field.front();
            field.remove_prefix(1);
        }
    }
    return result;
}

void addMountPoints(std::vector<std::string>& places) {
    std::ifstream table("/proc/self/mountinfo");
    std::string line;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string field;
        for (int number = 0; number < 5 && fields >> field; ++number) { // the fifth
        }
        places.push_back(unescaped(field));
    }
    if (places.empty()) {
        throw Refusal("the mount points are not known");
    }
}

void addHome(std::vector<std::string>& places, const passwd* user) {
    if (user && user->pw_dir && user->pw_dir[0] == '/') {
        if (auto home = realPath(user->pw_dir)) {
            places.push_back(*std::move(home));
        }
    }
}

void addHomes(std::vector<std::string>& places) {
    ::setpwent();
    while (const auto* user = ::getpwent()) {
        addHome(places, user);
    }
    ::endpwent();
    // A directory service may know users that it does not list.
    if (const char* caller = std::getenv("PKEXEC_UID")) {
        addHome(places, ::getpwuid(static_cast<uid_t>(std::strtoul(caller, nullptr, 10))));
    }
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/home", error)) {
        places.push_back(entry.path());
    }
}

bool isTheSameOrContains(std::string_view folder, std::string_view path) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace

ProtectedPlaces::ProtectedPlaces() {
    addMountPoints(places_);
    addHomes(places_);
}

bool ProtectedPlaces::protects(const std::string& path) const {
    const auto end = path.find_last_not_of('/');
    if (end == std::string::npos) {
        return !path.empty();
    }
    const auto item = path.substr(0, end + 1);
    const auto slash = item.rfind('/');
    const auto name = item.substr(slash == std::string::npos ? 0 : slash + 1);
    const auto check = [this](const std::string& place) {
        return place == "/" || (place.rfind('/') == 0 && isFolder(place)) ||
               std::ranges::any_of(places_,
                                   [&](const auto& other) { return isTheSameOrContains(place, other); });
    };
    const bool isResolved = name == "." || name == "..";
    if (isResolved || item.size() < path.size()) {
        const auto place = realPath(item);
        if (place && check(*place)) {
            return true;
        }
    }
    if (isResolved) {
        return false;
    }
    const auto folder = realPath(slash == std::string::npos ? "." : item.substr(0, slash + 1));
    return folder && check((*folder == "/" ? "" : *folder) + "/" + name);
}

std::vector<std::string> removedPaths(const std::string& toolName,
                                      const std::vector<std::string>& arguments) {
    std::vector<std::string> paths;
    bool areOptionsOver = false;
    bool hasTargetOption = false; // then every path is taken away, otherwise the last says where to
    for (const auto& argument : arguments) {
        if (areOptionsOver || argument.size() < 2 || argument.front() != '-') {
            paths.push_back(argument);
        } else if (argument == "--") {
            areOptionsOver = true;
        } else if (argument.starts_with("--")) {
            hasTargetOption = hasTargetOption || argument.starts_with("--t");
        } else {
            hasTargetOption = hasTargetOption || argument.find('t') != std::string::npos;
        }
    }
    if (toolName == "mv" && !hasTargetOption && !paths.empty()) {
        paths.pop_back();
    }
    return paths;
}
