#include "VTBugReporter.h"

#include "Bundle.h"
#include "DamagedFile.h"
#include "Format.h"
#include "GlobalPreferences.h"
#include "Platform.h"
#include "PropertyListSerialization.h"
#include "Text.h"
#include "VTException.h"
#include "VTLocalPaths.h"
#include "VTLog.h"
#include "VTTaskEx.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <ranges>
#include <sstream>
#include <vector>

using platform::PropertyList;

namespace {

constexpr double kChownTimeout = 5.0; // seconds
constexpr const char* kHelperIdentifier = "com.vantorel.BugReporter";

PropertyList::Date now() {
    const std::chrono::duration<double> since1970 = std::chrono::system_clock::now().time_since_epoch();
    return {since1970.count() - static_cast<double>(PropertyList::Date::kReferenceDate)};
}

// Absent when there is none, or anything but a date.
using Store = std::function<std::optional<PropertyList::Date>(const char* key)>;

std::optional<PropertyList::Date> dateIn(const std::optional<PropertyList>& value) {
    const auto* date = value ? value->date() : nullptr;
    return date ? std::optional(*date) : std::nullopt;
}

Store storeAt(const std::optional<std::string>& plistPath) {
    if (!plistPath) {
        return [](const char* key) { return dateIn(platform::current().userDefaults->objectForKey(key)); };
    }
    auto values = platform::dictionaryWithContentsOfFile(*plistPath).value_or(PropertyList::Dictionary());
    return [values = std::move(values)](const char* key) -> std::optional<PropertyList::Date> {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : dateIn(found->second);
    };
}

// Binary, because XML keeps dates to the second, and a start and an end may lie in the same one.
void recordInFile(const std::string& path, const char* key) {
    auto& fileManager = *platform::current().fileManager;
    auto read = platform::dictionaryWithContentsOfFile(path);
    const bool isDamaged = !read && fileManager.fileExists(path) && !fileManager.isDirectory(path);
    auto values = std::move(read).value_or(PropertyList::Dictionary());
    values.insert_or_assign(key, now());
    const auto bytes =
        serializePropertyList(PropertyList(std::move(values)), platform::PropertyListFormat::Binary);
    if (isDamaged) {
        platform::replaceDamagedFile(path, bytes);
    } else if (auto error = fileManager.writeAtomically(path, bytes)) {
        throw platform::Exception("NSFileHandleOperationException", error.message());
    }
}

void recordNow(const char* key, const std::optional<std::string>& plistPath, const char* method) {
    if (!plistPath) {
        auto& defaults = *platform::current().userDefaults;
        defaults.setObject(now(), key);
        defaults.synchronize();
        return;
    }
    try {
        recordInFile(*plistPath, key);
    } catch (const platform::Exception& exception) {
        VTException::logException(exception, method);
    }
    VTBugReporter::chownPlist(*plistPath);
}

std::optional<std::string> mainBundleName() {
    const auto bundle = platform::Bundle::main();
    return bundle ? stringForKey(bundle->infoDictionary(), "CFBundleName") : std::nullopt;
}

std::vector<VTLocalPaths::Path> crashLogFolders() {
    std::vector<VTLocalPaths::Path> folders;
    for (bool userDomain : {true, false}) {
        for (const char* name : {"CrashReporter", "DiagnosticReports"}) {
            folders.push_back(VTLocalPaths::appending(VTLocalPaths::logDirectory(userDomain), name));
        }
    }
    return folders;
}

// The last one in the folder, if it is younger than the launch.
std::optional<std::string> crashLogIn(const std::string& folder, const std::optional<std::string>& appName,
                                      PropertyList::Date launch) {
    const auto prefix = platform::caseInsensitiveKey(format("%@_", appName));
    auto& fileManager = *platform::current().fileManager;
    std::error_code error;
    auto entries = fileManager.openFolder(folder)->entries(platform::Listing::Everything, error);
    for (const auto& entry : entries | std::views::reverse) {
        if (platform::caseInsensitiveKey(entry.name).starts_with(prefix)) {
            auto path = folder + "/" + entry.name;
            const auto modified = fileManager.modificationDate(path);
            return modified && modified->secondsSinceReferenceDate > launch.secondsSinceReferenceDate
                       ? std::optional(std::move(path))
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<std::string> youngCrashLog(const std::optional<std::string>& appName,
                                         PropertyList::Date launch) {
    for (const auto& folder : crashLogFolders()) {
        if (auto log = folder ? crashLogIn(*folder, appName, launch) : std::nullopt) {
            return log;
        }
    }
    return std::nullopt;
}

void showInBugReporter(const std::string& log) {
    auto& workspace = *platform::current().workspace;
    const auto bundle = platform::Bundle::main();
    const auto helper = bundle ? bundle->resourcePath() + "/Bug Reporter.app" : "";
    if (bundle && platform::current().fileManager->fileExists(helper)) {
        workspace.openFile(log, helper);
    } else {
        workspace.openFileWithBundleIdentifier(log, kHelperIdentifier);
    }
}

} // namespace

void VTBugReporter::startBugReporter(const std::optional<std::string>& appName,
                                     const std::optional<std::string>& plistPath,
                                     const Delegate& applicationDidCrashWithLog) {
    if (const auto log = checkForCrashes(appName, plistPath); log && applicationDidCrashWithLog) {
        platform::current().mainThread->perform(
            [applicationDidCrashWithLog, log = *log] { applicationDidCrashWithLog(log); },
            platform::Wait::No);
    }
    recordNow("launch", plistPath, "+[VTBugReporter startBugReporter:plistPath:delegate:]");
}

void VTBugReporter::startBugReporterWithDelegate(const Delegate& applicationDidCrashWithLog) {
    startBugReporter(std::nullopt, std::nullopt, applicationDidCrashWithLog);
}

void VTBugReporter::stopBugReporter(const std::optional<std::string>& plistPath) {
    recordNow("exit", plistPath, "+[VTBugReporter stopBugReporter:]");
}

void VTBugReporter::chownPlist(const std::string& path) {
    std::vector<std::string> components;
    std::istringstream stream(path);
    for (std::string component; std::getline(stream, component, '/');) {
        if (!component.empty()) {
            components.push_back(component);
        }
    }
    const auto users = std::ranges::find(components, "Users");
    if (users == components.end() || users + 1 == components.end()) {
        return;
    }
    VTTaskEx::runTask("/usr/sbin/chown", {*(users + 1), path}, kChownTimeout);
}

std::optional<std::string> VTBugReporter::checkForCrashes(const std::optional<std::string>& appName,
                                                          const std::optional<std::string>& plistPath) {
    const auto store = storeAt(plistPath);
    const auto launch = store("launch");
    if (!launch) {
        return std::nullopt;
    }
    const auto exit = store("exit");
    if (exit && exit->secondsSinceReferenceDate - launch->secondsSinceReferenceDate >= 0) {
        return std::nullopt;
    }
    auto log = youngCrashLog(appName ? appName : mainBundleName(), *launch);
    if (!log) {
        return std::nullopt;
    }
    VTLog::appendLog("Application crashed on last launch");
    if (isOne(globalPreference("disable-crash-reporter"))) {
        platform::current().consoleLog->log("Crash reporter disabled");
        VTLog::appendLog("Crash reporter disabled");
    } else {
        showInBugReporter(*log);
    }
    return log;
}
