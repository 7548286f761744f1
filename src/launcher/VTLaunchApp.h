#pragma once

#include "Workspace.h"

#include <compare>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

// One launchable tool of the catalogue. Shared between the shown list and the threads that use it:
// getting and setting one field is atomic. Every text may be absent.
class VTLaunchApp {
public:
    using Text = std::optional<std::string>;

    // Points on each side at which the icon is shown.
    static constexpr int kIconSize = 48;

    Text title() const { return get(title_); }
    Text description() const { return get(description_); }
    Text groupName() const { return get(groupName_); }
    Text bundleID() const { return get(bundleID_); }
    Text appPath() const { return get(appPath_); }
    std::shared_ptr<const platform::Icon> icon() const { return get(icon_); }

    void setTitle(Text title) { set(title_, std::move(title)); }
    void setDescription(Text description) { set(description_, std::move(description)); }
    void setGroupName(Text groupName) { set(groupName_, std::move(groupName)); }
    void setBundleID(Text bundleID) { set(bundleID_, std::move(bundleID)); }
    void setAppPath(Text appPath) { set(appPath_, std::move(appPath)); }
    void setIcon(std::shared_ptr<const platform::Icon> icon) { set(icon_, std::move(icon)); }

    // Whether another tool of the shown list has exactly the same title.
    bool hasDuplicate() const { return get(hasDuplicate_); }
    void setHasDuplicate(bool hasDuplicate) { set(hasDuplicate_, hasDuplicate); }

    // Ordering by title or by group alone, case-insensitively.
    std::weak_ordering nameCompare(const VTLaunchApp& other) const;
    std::weak_ordering groupCompare(const VTLaunchApp& other) const;

    // A text as the comparators see it: compared once made, for sorting many.
    class SortKey {
    public:
        explicit SortKey(const Text& text);
        std::weak_ordering operator<=>(const SortKey& other) const;

    private:
        Text key_; // absent sorts behind every text
    };

private:
    template <typename Field>
    Field get(const Field& field) const {
        std::lock_guard lock(mutex_);
        return field;
    }
    template <typename Field>
    void set(Field& field, Field value) {
        std::lock_guard lock(mutex_);
        field = std::move(value);
    }

    mutable std::mutex mutex_;
    Text title_;
    Text description_;
    Text groupName_;
    Text bundleID_;
    Text appPath_;
    std::shared_ptr<const platform::Icon> icon_;
    bool hasDuplicate_ = false;
};
