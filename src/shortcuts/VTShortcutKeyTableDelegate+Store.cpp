#include "BindingFile.h"
#include "Platform.h"
#include "VTShortcutKeyTableDelegate.h"
#include "VTTaskEx.h"

#include <utility>

namespace {

constexpr double kManagerTimeLimit = 10; // seconds
// For as long, in seconds, a manager is waited for that was told to end and does not.
constexpr double kPatience = 5;

bool booleanForKey(const platform::PropertyList::Dictionary& userInfo, std::string_view key) {
    return BindingFile::numberForKey(userInfo, key) != 0;
}

void postReload() {
    if (const auto& notifications = platform::current().distributedNotifications) {
        notifications->post(VTShortcutKeyTableDelegate::kKeysReload);
    }
}

} // namespace

void VTShortcutKeyTableDelegate::setKeyboardShortcutWithID(const std::optional<std::string>& commandID,
                                                           const std::optional<PropertyList::Array>& params,
                                                           std::uint64_t keycode, bool shift, bool cmd,
                                                           bool opt, bool ctrl) {
    auto bindings = BindingFile::read();
    const auto own = bundleIdentifier();
    if (commandID) {
        bindings.removeFirst(own, "commandid", PropertyList(*commandID));
    } else if (params) {
        bindings.removeFirst(own, "commandparams", PropertyList(*params));
    }
    PropertyList::Dictionary entry{
        {"bundleid", own}, {"keycode", keycode}, {"modifiers", BindingFile::mask(shift, ctrl, cmd, opt)}};
    if (commandID) {
        entry.emplace("commandid", *commandID);
    }
    if (params) {
        entry.emplace("commandparams", *params);
    }
    bindings.append(std::move(entry));
    bindings.write();
    postReload();
    handOffToManager();
}

void VTShortcutKeyTableDelegate::keyChanged(const platform::Notification& notification) {
    if (isHandingOff_) {
        return;
    }
    const auto& userInfo = notification.userInfo;
    auto* record = userInfo.empty() ? nullptr : selectedRecord();
    if (record) {
        const auto keycode = BindingFile::numberForKey(userInfo, "keycode");
        const bool shift = booleanForKey(userInfo, "shift");
        const bool ctrl = booleanForKey(userInfo, "ctrl");
        const bool opt = booleanForKey(userInfo, "opt");
        const bool cmd = booleanForKey(userInfo, "cmd");
        record->insert_or_assign("keyname",
                                 nameForKeyCode(keycode, BindingFile::mask(shift, ctrl, cmd, opt)));
        // The table may be filled anew while the manager runs, and the record be gone.
        setKeyboardShortcutWithID(stringForKey(*record, "id"), std::nullopt, keycode, shift, cmd, opt, ctrl);
    }
    if (outlets_.shortcutKeyTableView && vtFieldEditor_) {
        outlets_.shortcutKeyTableView->endEditing(kShortcutKeyColumn, *vtFieldEditor_);
    }
}

void VTShortcutKeyTableDelegate::keyCleared() {
    if (isHandingOff_) {
        return;
    }
    if (auto* record = selectedRecord()) {
        record->erase("keyname");
        if (auto bindings = BindingFile::read(); bindings.wasRead()) {
            const auto command = stringForKey(*record, "id");
            bindings.removeFirst(bundleIdentifier(), "commandid",
                                 command ? std::optional<PropertyList>(*command) : std::nullopt);
            bindings.write();
        }
        postReload();
    }
    if (outlets_.shortcutKeyTableView) {
        outlets_.shortcutKeyTableView->reloadData();
    }
    handOffToManager();
}

VTShortcutKeyTableDelegate::PropertyList::Dictionary* VTShortcutKeyTableDelegate::selectedRecord() {
    const auto row = outlets_.shortcutKeyTableView ? outlets_.shortcutKeyTableView->selectedRow() : -1;
    const bool isSelected = row >= 0 && row != outlet::ShortcutTable::kNotFound;
    return isSelected && static_cast<std::size_t>(row) < dataArray_.size()
               ? &dataArray_[static_cast<std::size_t>(row)]
               : nullptr;
}

void VTShortcutKeyTableDelegate::handOffToManager() {
    const auto manager = installedManager();
    if (!manager) {
        platform::current().consoleLog->log("Unable to setup shortcut keys - shortcut key manager doesn't "
                                            "exist. Please reinstall this software.");
        return;
    }
    const auto run = [path = *manager] { VTTaskEx::runTask(path, {"-setup"}, kManagerTimeLimit); };
    // A copy: what stands behind the outlets may be replaced while the loop runs.
    if (const auto wait = outlets_.waitWithoutInput) {
        isHandingOff_ = true;
        wait(run, kManagerTimeLimit + kPatience);
        isHandingOff_ = false;
    } else {
        run();
    }
}
