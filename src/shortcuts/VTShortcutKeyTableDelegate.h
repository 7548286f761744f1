#pragma once

#include "Bundle.h"
#include "NotificationCenter.h"
#include "PropertyList.h"
#include "ShortcutOutlets.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The shortcut controller: keeps the commands that a shortcut can be given to, fills and serves the table
// that shows them, names key combinations, and stores what the user chooses in the suite's binding file,
// whereupon the shortcut key manager is told. Main thread, but for sharedController() and allocate().
class VTShortcutKeyTableDelegate {
public:
    using PropertyList = platform::PropertyList;

    // Commands as "VTKeys.plist" lists them; "keyname", where a shortcut is bound, is the one it is shown by.
    using CommandRecords = std::vector<PropertyList::Dictionary>;

    // The table's columns, by identifier.
    static constexpr std::string_view kDescriptionColumn = "description";
    static constexpr std::string_view kShortcutKeyColumn = "shortcutkey";

    // In-process events. "Changed" carries `keycode` and the booleans `shift`, `ctrl`, `opt` and `cmd`.
    static constexpr const char* kKeyChanged = "VTShortcutKeyChanged";
    static constexpr const char* kKeyCleared = "VTShortcutKeyCleared";
    // Suite-wide: the binding file has been rewritten.
    static constexpr const char* kKeysReload = "VTShortcutKeysReload";

    // Made by the first use and never destroyed.
    static VTShortcutKeyTableDelegate& sharedController();

    // The one controller when there is none yet, which it is from then on; else null.
    static VTShortcutKeyTableDelegate* allocate();

    ~VTShortcutKeyTableDelegate() = default;
    VTShortcutKeyTableDelegate(const VTShortcutKeyTableDelegate&) = delete;
    VTShortcutKeyTableDelegate& operator=(const VTShortcutKeyTableDelegate&) = delete;

    // --- The interface (VTShortcutKeyTableDelegate.cpp)

    // The bundle that holds the commands and gives its identifier to their entries: the main one unless
    // another is set before the interface is loaded.
    void setBundle(platform::Bundle bundle) { bundle_ = std::move(bundle); }
    const std::optional<platform::Bundle>& bundle() const { return bundle_; }

    // To be followed by awakeFromNib() at each load of the interface file.
    void setOutlets(ShortcutOutlets outlets) { outlets_ = std::move(outlets); }
    const std::shared_ptr<outlet::View>& parentView() const { return outlets_.parentView; }

    // Makes a field editor in place of the one before, and subscribes to the two events once more.
    void awakeFromNib();

    // Reads the commands and their bindings. Without the manager the notice is shown and the table disabled.
    void populateKeyData();

    const CommandRecords& dataArray() const { return dataArray_; }
    const std::shared_ptr<outlet::FieldEditor>& vtFieldEditor() const { return vtFieldEditor_; }

    std::size_t numberOfRowsInTableView() const { return dataArray_.size(); }
    // Absent for another column and a row that is none.
    std::optional<std::string> objectValueForTableColumn(std::string_view column, std::size_t row) const;
    void willDisplayCell(outlet::ImageCell& cell, std::string_view column) const;

    // The shared field editor, emptied, for the shortcut table; null for any other client, which then gets
    // the standard one.
    std::shared_ptr<outlet::FieldEditor> windowWillReturnFieldEditor(const void* client) const;

    // --- The store (VTShortcutKeyTableDelegate+Store.cpp). These return once the manager has, or has been
    // ended after ten seconds. What the user asks for meanwhile, through whatever interface, is ignored.

    // Puts a new binding in the place of this application's first one of the command, or, without an
    // identifier, of the first one with these parameters. What cannot be written goes unnoticed.
    void setKeyboardShortcutWithID(const std::optional<std::string>& commandID,
                                   const std::optional<PropertyList::Array>& params, std::uint64_t keycode,
                                   bool shift, bool cmd, bool opt, bool ctrl);

    // Binds the selected command to the captured key and ends the edit.
    void keyChanged(const platform::Notification& notification);

    // Takes the selected command's binding away, in the table and on file.
    void keyCleared();

    // What the button does.
    void clearShortcutKey() { keyCleared(); }

    // --- Names (VTShortcutKeyTableDelegate+Naming.cpp)

    // "Ctrl+Shift+Alt+Cmd+" as far as the modifiers of the binding file are set, and the key. Of both numbers
    // the low 16 bits count.
    static std::string nameForKeyCode(std::uint64_t keyCode, std::uint64_t modifiers);

    // The key in the layout of this moment; modifierFlags as in platform::KeyTranslation. Absent, with a line
    // on the console, when it gives no text.
    static std::optional<std::string> stringForKeyCode(std::uint16_t keyCode, std::uint32_t modifierFlags);

private:
    VTShortcutKeyTableDelegate() = default;

    // Where the manager lies; absent when there is none.
    static std::optional<std::string> installedManager();

    std::string bundleIdentifier() const;
    void applyBindings(CommandRecords& records) const;
    PropertyList::Dictionary* selectedRecord();
    void handOffToManager();

    std::optional<platform::Bundle> bundle_ = platform::Bundle::main();
    ShortcutOutlets outlets_;
    CommandRecords dataArray_;
    std::shared_ptr<outlet::FieldEditor> vtFieldEditor_;
    bool isHandingOff_ = false;
    std::vector<platform::NotificationCenter::Observation> observations_; // two for each load
};
