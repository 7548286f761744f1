#pragma once

#include "Workspace.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

// What the shortcut controller needs of its interface, piece by piece. Everything here is called on the main
// thread.
namespace outlet {

// The field that captures a key press; one for the whole table.
class FieldEditor {
public:
    virtual ~FieldEditor() = default;
    virtual void setString(const std::string& text) = 0;
};

class ShortcutTable {
public:
    // What a table may say instead of a row when there is none; so does any negative number.
    static constexpr std::int64_t kNotFound = std::numeric_limits<std::int64_t>::max();

    virtual ~ShortcutTable() = default;
    virtual std::int64_t selectedRow() const = 0;
    virtual void reloadData() = 0; // the selection stays
    virtual void setEnabled(bool isEnabled) = 0;

    // Ends the edit that a cell of this column is in; nothing happens when none is.
    virtual void endEditing(std::string_view column, FieldEditor& editor) = 0;
};

class Notice {
public:
    virtual ~Notice() = default;
    virtual void setHidden(bool isHidden) = 0;
};

// The interface file's top view.
class View {
public:
    virtual ~View() = default;
};

// A cell about to be displayed.
class ImageCell {
public:
    virtual ~ImageCell() = default;
    virtual void setImage(std::shared_ptr<const platform::Icon> image, double points) = 0;
};

} // namespace outlet

// What the controller works with once the interface file is loaded. What is missing in the file is null, and
// left out of whatever is done.
struct ShortcutOutlets {
    std::shared_ptr<outlet::ShortcutTable> shortcutKeyTableView = nullptr;
    std::shared_ptr<outlet::Notice> versionAlertText = nullptr;
    std::shared_ptr<outlet::View> parentView = nullptr;
    std::function<std::shared_ptr<outlet::FieldEditor>()> makeFieldEditor = nullptr;

    // Does the work on another thread, and returns when it is done, the program ends, or so many seconds have
    // gone by; the work goes on by itself then. Meanwhile the main thread's loop runs and takes no input from
    // the user. Absent, work is done on the spot.
    std::function<void(std::function<void()> work, double seconds)> waitWithoutInput = nullptr;
};
