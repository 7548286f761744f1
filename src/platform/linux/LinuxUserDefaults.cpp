#include "LinuxUserDefaults.h"

#include "Exception.h"
#include "Platform.h"

namespace platform {

namespace {

std::optional<PropertyList> valueIn(const PropertyList::Dictionary& dictionary, const std::string& key) {
    auto found = dictionary.find(key);
    return found == dictionary.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

LinuxUserDefaults::LinuxUserDefaults(const std::string& preferencesFolder,
                                     const std::string& bundleIdentifier)
    : own_(preferencesFolder, bundleIdentifier + ".plist"),
      global_(preferencesFolder, ".GlobalPreferences.plist") {}

void LinuxUserDefaults::registerDefaults(const PropertyList::Dictionary& values) {
    std::lock_guard lock(mutex_);
    for (const auto& [key, value] : values) {
        registered_.insert_or_assign(key, value);
    }
}

std::optional<PropertyList> LinuxUserDefaults::objectForKey(const std::string& key) {
    std::lock_guard lock(mutex_);
    auto value = valueIn(unsaved_, key);
    if (!value) {
        value = own_.value(key);
    }
    if (!value) {
        value = global_.value(key);
    }
    return value ? value : valueIn(registered_, key);
}

void LinuxUserDefaults::setObject(const PropertyList& value, const std::string& key) {
    try {
        own_.setValue(value, key);
        std::lock_guard lock(mutex_);
        unsaved_.erase(key);
    } catch (const Exception& exception) {
        current().consoleLog->log("Cannot store \"" + key + "\" in " + own_.path() + ": " +
                                  exception.reason() + ". The value holds until the program ends.");
        std::lock_guard lock(mutex_);
        unsaved_.insert_or_assign(key, value);
    }
}

std::optional<PropertyList> LinuxUserDefaults::globalObjectForKey(const std::string& key) {
    return global_.value(key);
}

} // namespace platform
