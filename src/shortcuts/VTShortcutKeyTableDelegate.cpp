#include "VTShortcutKeyTableDelegate.h"

#include "BindingFile.h"
#include "Platform.h"
#include "PropertyListSerialization.h"
#include "VTLocalPaths.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace {

constexpr const char* kCommandFile = "/VTKeys.plist";
constexpr double kIconSize = 16;

std::mutex instanceMutex;
VTShortcutKeyTableDelegate* instance = nullptr; // guarded by it

} // namespace

VTShortcutKeyTableDelegate* VTShortcutKeyTableDelegate::allocate() {
    const std::lock_guard lock(instanceMutex);
    if (instance) {
        return nullptr;
    }
    instance = new VTShortcutKeyTableDelegate;
    return instance;
}

VTShortcutKeyTableDelegate& VTShortcutKeyTableDelegate::sharedController() {
    if (auto* made = allocate()) {
        return *made;
    }
    const std::lock_guard lock(instanceMutex);
    return *instance;
}

void VTShortcutKeyTableDelegate::awakeFromNib() {
    vtFieldEditor_ = outlets_.makeFieldEditor ? outlets_.makeFieldEditor() : nullptr;
    auto& center = *platform::current().notificationCenter;
    observations_.push_back(center.addObserver(
        kKeyChanged, [this](const platform::Notification& notification) { keyChanged(notification); }));
    observations_.push_back(
        center.addObserver(kKeyCleared, [this](const platform::Notification&) { keyCleared(); }));
    populateKeyData();
}

void VTShortcutKeyTableDelegate::populateKeyData() {
    if (!installedManager()) {
        if (outlets_.versionAlertText) {
            outlets_.versionAlertText->setHidden(false);
        }
        if (outlets_.shortcutKeyTableView) {
            outlets_.shortcutKeyTableView->setEnabled(false);
        }
    }
    CommandRecords records;
    const auto file = bundle_ ? platform::dictionaryWithContentsOfFile(bundle_->resourcePath() + kCommandFile)
                              : std::nullopt;
    if (file) {
        const auto keys = file->find("VTKeys");
        if (const auto* list = keys == file->end() ? nullptr : keys->second.array()) {
            for (const auto& item : *list) {
                if (const auto* record = item.dictionary()) {
                    records.push_back(*record);
                }
            }
        }
        applyBindings(records);
    }
    dataArray_ = std::move(records);
    if (outlets_.shortcutKeyTableView) {
        outlets_.shortcutKeyTableView->reloadData();
    }
}

void VTShortcutKeyTableDelegate::applyBindings(CommandRecords& records) const {
    const auto bindings = BindingFile::read();
    const auto own = bundleIdentifier();
    for (const auto& item : bindings.watchlist()) {
        const auto* entry = item.dictionary();
        if (!entry || stringForKey(*entry, "bundleid") != own) {
            continue;
        }
        const auto command = stringForKey(*entry, "commandid");
        const auto record = std::ranges::find_if(records, [&](const PropertyList::Dictionary& candidate) {
            return command && stringForKey(candidate, "id") == command;
        });
        if (record != records.end()) {
            record->insert_or_assign("keyname",
                                     nameForKeyCode(BindingFile::numberForKey(*entry, "keycode"),
                                                    BindingFile::numberForKey(*entry, "modifiers")));
        }
    }
}

std::optional<std::string> VTShortcutKeyTableDelegate::objectValueForTableColumn(std::string_view column,
                                                                                 std::size_t row) const {
    if (row >= dataArray_.size()) {
        return std::nullopt;
    }
    if (column == kDescriptionColumn) {
        return stringForKey(dataArray_[row], "description");
    }
    return column == kShortcutKeyColumn ? stringForKey(dataArray_[row], "keyname") : std::nullopt;
}

void VTShortcutKeyTableDelegate::willDisplayCell(outlet::ImageCell& cell, std::string_view column) const {
    if (column == kDescriptionColumn && bundle_) {
        cell.setImage(platform::current().workspace->iconForFile(bundle_->path), kIconSize);
    }
}

std::shared_ptr<outlet::FieldEditor>
VTShortcutKeyTableDelegate::windowWillReturnFieldEditor(const void* client) const {
    if (!client || client != outlets_.shortcutKeyTableView.get()) {
        return nullptr;
    }
    if (vtFieldEditor_) {
        vtFieldEditor_->setString("");
    }
    return vtFieldEditor_;
}

std::optional<std::string> VTShortcutKeyTableDelegate::installedManager() {
    auto path = VTLocalPaths::appending(VTLocalPaths::appSupportDirectory(false),
                                        "Vantorel/Shared Resources/VTShortcutKeyManager");
    return path && platform::current().fileManager->fileExists(*path) ? path : std::nullopt;
}

std::string VTShortcutKeyTableDelegate::bundleIdentifier() const {
    return bundle_ ? stringForKey(bundle_->infoDictionary(), "CFBundleIdentifier").value_or("") : "";
}
