#include "Tool.h"

#include "PropertyListSerialization.h"

namespace {

using platform::PropertyList;

PropertyList::Dictionary dictionaryAt(const std::string& path) {
    return platform::dictionaryWithContentsOfFile(path).value_or(PropertyList::Dictionary());
}

QString text(const PropertyList::Dictionary& dictionary, std::string_view key) {
    return QString::fromStdString(platform::stringForKey(dictionary, key).value_or(std::string()));
}

} // namespace

Tool Tool::ofBundle(const platform::Bundle& bundle) {
    auto info = bundle.infoDictionary();
    auto descriptor = platform::dictionaryWithContentsOfFile(bundle.resourcePath() + "/VTApp.plist");
    if (!descriptor) {
        descriptor = dictionaryAt(bundle.path + "/Contents/VTApp.plist");
    }

    Tool tool;
    tool.title = text(info, "CFBundleName");
    tool.bundleID = text(info, "CFBundleIdentifier");
    tool.version = text(info, "CFBundleShortVersionString");
    tool.description = text(*descriptor, "VTAppDescription");
    tool.groupName = text(*descriptor, "VTGroupName");
    if (tool.groupName.isEmpty()) {
        tool.groupName = text(dictionaryAt(bundle.path + "/Contents/VTUpdates.plist"), "VTGroupName");
    }
    if (auto icon = text(info, "CFBundleIconFile"); !icon.isEmpty()) {
        tool.iconPath = QString::fromStdString(bundle.resourcePath()) + u'/' + icon;
    }
    return tool;
}
