#include "LinuxUserDefaults.h"

#include "Platform.h"

#include <exception>

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
      global_(preferencesFolder, ".GlobalPreferences.plist"),
      keysToSave_([this](std::span<const std::string> keys) {
          save(keys.front());
          return std::size_t{1};
      }) {}

LinuxUserDefaults::~LinuxUserDefaults() {
    synchronize();
}

void LinuxUserDefaults::registerDefaults(const PropertyList::Dictionary& values) {
    std::lock_guard lock(mutex_);
    for (const auto& [key, value] : values) {
        registered_.insert_or_assign(key, value);
    }
}

std::optional<PropertyList> LinuxUserDefaults::objectForKey(const std::string& key) {
    std::lock_guard lock(mutex_);
    if (auto found = unsaved_.find(key); found != unsaved_.end()) {
        return found->second.value;
    }
    auto value = own_.value(key);
    if (!value) {
        value = global_.value(key);
    }
    return value ? value : valueIn(registered_, key);
}

void LinuxUserDefaults::setObject(const PropertyList& value, const std::string& key) {
    {
        std::lock_guard lock(mutex_);
        unsaved_.insert_or_assign(key, Unsaved{value, ++changes_});
    }
    keysToSave_.addOperation(key);
}

void LinuxUserDefaults::synchronize() {
    keysToSave_.waitUntilAllOperationsAreFinished();
}

std::optional<LinuxUserDefaults::Unsaved> LinuxUserDefaults::unsaved(const std::string& key) {
    std::lock_guard lock(mutex_);
    auto found = unsaved_.find(key);
    return found == unsaved_.end() ? std::nullopt : std::optional(found->second);
}

void LinuxUserDefaults::save(const std::string& key) {
    const auto waiting = unsaved(key);
    if (!waiting) {
        return; // set again since, and saved as it was last
    }
    try {
        own_.setValue(waiting->value, key);
        std::lock_guard lock(mutex_);
        if (auto found = unsaved_.find(key); found->second.change == waiting->change) {
            unsaved_.erase(found);
        }
    } catch (const std::exception& exception) {
        current().consoleLog->log("Cannot store \"" + key + "\" in " + own_.path() + ": " + exception.what() +
                                  ". The value holds until the program ends.");
    }
}

std::optional<PropertyList> LinuxUserDefaults::globalObjectForKey(const std::string& key) {
    return global_.value(key);
}

} // namespace platform
