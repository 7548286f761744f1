#pragma once

#include "AppController.h"
#include "PropertyListSerialization.h"
#include "TestSandbox.h"

#include <optional>
#include <string>
#include <vector>

// Builds bundles for a scan to find. The paths are below the Applications folder of the sandbox.
namespace tooltree {

using Dictionary = platform::PropertyList::Dictionary;

inline std::string applications() {
    return sandbox::root() + "/Applications";
}

inline void writePlist(const std::string& path, const Dictionary& dictionary,
                       platform::PropertyListFormat format = platform::PropertyListFormat::Xml) {
    sandbox::writeFile(applications() + "/" + path, platform::serializePropertyList(dictionary, format));
}

// A bundle with an Info.plist and nothing else.
inline void addBundle(const std::string& path, const std::string& title,
                      const std::string& identifier = "com.vantorel.Tool") {
    writePlist(path + "/Contents/Info.plist", {{"CFBundleName", title}, {"CFBundleIdentifier", identifier}});
}

// A tool with its descriptor in Contents/Resources.
inline void addTool(const std::string& path, const std::string& title,
                    const std::optional<std::string>& group = std::nullopt,
                    const std::string& description = "Does something.") {
    addBundle(path, title);
    Dictionary descriptor{{"VTAppDescription", description}};
    if (group) {
        descriptor.emplace("VTGroupName", *group);
    }
    writePlist(path + "/Contents/Resources/VTApp.plist", descriptor);
}

inline std::vector<std::string> titlesOf(const std::optional<AppController::AppList>& apps) {
    std::vector<std::string> titles;
    for (const auto& app : apps.value_or(AppController::AppList())) {
        titles.push_back(app->title().value_or("(absent)"));
    }
    return titles;
}

inline std::vector<std::string> scannedTitles() {
    return titlesOf(AppController::appsForFolder(applications()));
}

} // namespace tooltree
