#include "BindingFile.h"

#include "DamagedFile.h"
#include "Exception.h"
#include "Platform.h"
#include "PropertyListSerialization.h"
#include "VTLocalPaths.h"

#include <algorithm>
#include <utility>

namespace {

constexpr const char* kFileName = "com.vantorel.shortcutkeys.plist";
constexpr const char* kWatchlist = "watchlist";

} // namespace

std::uint16_t BindingFile::mask(bool shift, bool ctrl, bool cmd, bool opt) {
    return static_cast<std::uint16_t>((shift ? kShift : 0) | (ctrl ? kControl : 0) | (cmd ? kCommand : 0) |
                                      (opt ? kOption : 0));
}

std::uint64_t BindingFile::numberForKey(const PropertyList::Dictionary& entry, std::string_view key) {
    const auto found = entry.find(key);
    return found == entry.end() ? 0 : static_cast<std::uint64_t>(platform::integerValue(found->second));
}

std::optional<std::string> BindingFile::path() {
    return VTLocalPaths::appending(VTLocalPaths::prefsDirectory(true), kFileName);
}

BindingFile BindingFile::read() {
    BindingFile bindings;
    const auto file = path();
    if (!file || !platform::current().fileManager->fileExists(*file)) {
        return bindings;
    }
    auto root = platform::dictionaryWithContentsOfFile(*file);
    if (!root) {
        bindings.found_ = Found::Damage;
        return bindings;
    }
    if (auto list = root->extract(kWatchlist); !list.empty() && list.mapped().array()) {
        bindings.watchlist_ = std::get<PropertyList::Array>(std::move(list.mapped()).takeValue());
    }
    bindings.root_ = std::move(*root);
    bindings.found_ = Found::Bindings;
    return bindings;
}

void BindingFile::removeFirst(std::string_view bundleIdentifier, std::string_view key,
                              const std::optional<PropertyList>& value) {
    const auto matches = [&](const PropertyList& item) {
        const auto* entry = item.dictionary();
        if (!entry || !value || stringForKey(*entry, "bundleid") != bundleIdentifier) {
            return false;
        }
        const auto found = entry->find(key);
        return found != entry->end() && found->second == *value;
    };
    if (const auto found = std::ranges::find_if(watchlist_, matches); found != watchlist_.end()) {
        watchlist_.erase(found);
    }
}

void BindingFile::append(PropertyList::Dictionary entry) {
    watchlist_.emplace_back(std::move(entry));
}

void BindingFile::write() const {
    const auto file = path();
    if (!file) {
        return;
    }
    auto root = root_;
    root.insert_or_assign(kWatchlist, watchlist_);
    auto& fileManager = *platform::current().fileManager;
    try {
        const auto bytes =
            platform::serializePropertyList(std::move(root), platform::PropertyListFormat::Xml);
        fileManager.createDirectory(*VTLocalPaths::prefsDirectory(true)); // writing fails if that does
        if (found_ == Found::Damage && fileManager.fileExists(*file)) {
            platform::replaceDamagedFile(*file, bytes);
        } else {
            fileManager.writeAtomically(*file, bytes);
        }
    } catch (const platform::Exception&) {
        // The user sees in the table what was asked for, whether or not it could be stored.
    }
}
