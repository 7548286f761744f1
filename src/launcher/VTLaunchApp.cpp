#include "VTLaunchApp.h"

#include "Text.h"

VTLaunchApp::SortKey::SortKey(const Text& text)
    : key_(text ? Text(platform::caseInsensitiveKey(*text)) : std::nullopt) {}

std::weak_ordering VTLaunchApp::SortKey::operator<=>(const SortKey& other) const {
    if (key_ && other.key_) {
        return *key_ <=> *other.key_;
    }
    return other.key_.has_value() <=> key_.has_value();
}

std::weak_ordering VTLaunchApp::nameCompare(const VTLaunchApp& other) const {
    return SortKey(title()) <=> SortKey(other.title());
}

std::weak_ordering VTLaunchApp::groupCompare(const VTLaunchApp& other) const {
    return SortKey(groupName()) <=> SortKey(other.groupName());
}
