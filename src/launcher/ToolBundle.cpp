#include "ToolBundle.h"

#include "Platform.h"
#include "PropertyListSerialization.h"

namespace {

constexpr std::string_view kSuitePrefix = "com.vantorel";

using Dictionary = platform::PropertyList::Dictionary;

Dictionary dictionaryIn(const platform::FileContents& file) {
    if (!file.bytes) {
        return {};
    }
    auto list = platform::parsePropertyList(*file.bytes);
    if (!list || !list->dictionary()) {
        return {};
    }
    return std::get<Dictionary>(std::move(*list).takeValue());
}

} // namespace

std::shared_ptr<VTLaunchApp> toolInBundle(platform::Folder& folder, const std::string& name) {
    auto contents = [&](const char* path) {
        return folder.contents(name + path, platform::kPropertyListMaximumBytes);
    };
    auto descriptorFile = contents("/Contents/Resources/VTApp.plist");
    if (!descriptorFile.exists) {
        descriptorFile = contents("/Contents/VTApp.plist");
    }
    if (!descriptorFile.exists) {
        return nullptr;
    }
    auto info = dictionaryIn(contents("/Contents/Info.plist"));
    auto bundleID = stringForKey(info, "CFBundleIdentifier");
    auto title = stringForKey(info, "CFBundleName");
    if (!bundleID || !bundleID->starts_with(kSuitePrefix) || !title) {
        return nullptr;
    }
    auto descriptor = dictionaryIn(descriptorFile);
    auto groupName = stringForKey(descriptor, "VTGroupName");
    if (!groupName) {
        groupName = stringForKey(dictionaryIn(contents("/Contents/VTUpdates.plist")), "VTGroupName");
    }
    auto path = folder.path() + "/" + name;
    auto app = std::make_shared<VTLaunchApp>();
    app->setTitle(std::move(title));
    app->setIcon(platform::current().workspace->iconForFile(path));
    app->setDescription(stringForKey(descriptor, "VTAppDescription"));
    app->setGroupName(std::move(groupName));
    app->setBundleID(std::move(bundleID));
    app->setAppPath(std::move(path));
    return app;
}
