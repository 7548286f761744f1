#pragma once

#include "FakeDistributedNotifications.h"
#include "FakeKeyTranslation.h"
#include "FakeLocalizedStrings.h"
#include "LogFixture.h"
#include "PropertyListSerialization.h"
#include "VTShortcutKeyTableDelegate.h"

#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

struct FakeFieldEditor : outlet::FieldEditor {
    std::string text = "left over";
    void setString(const std::string& string) override { text = string; }
};

struct FakeShortcutTable : outlet::ShortcutTable {
    std::int64_t row = -1;
    bool isEnabled = true;
    int reloads = 0;
    std::vector<std::pair<std::string, outlet::FieldEditor*>> endedEdits;
    std::function<void()> onReload = nullptr;

    std::int64_t selectedRow() const override { return row; }
    void reloadData() override {
        ++reloads;
        if (onReload) {
            onReload();
        }
    }
    void setEnabled(bool enabled) override { isEnabled = enabled; }
    void endEditing(std::string_view column, outlet::FieldEditor& editor) override {
        endedEdits.emplace_back(column, &editor);
    }
};

struct FakeNotice : outlet::Notice {
    bool isHidden = true;
    void setHidden(bool hidden) override { isHidden = hidden; }
};

// The one controller on a made-up interface, keyboard and suite. The bundle in the sandbox holds four
// commands; there is a manager that notes what it is called with and what the binding file holds by then.
class ShortcutTest : public LogTest {
protected:
    using PropertyList = platform::PropertyList;
    using Dictionary = PropertyList::Dictionary;
    using Array = PropertyList::Array;

    static constexpr const char* kOwn = "com.vantorel.Launcher";
    static constexpr const char* kMissingManager =
        "Unable to setup shortcut keys - shortcut key manager doesn't exist. Please reinstall this software.";

    ShortcutTest() {
        platform::install(services()); // which stay, for the threads of time-outs
        writeList(bundle().path + "/Contents/Info.plist", Dictionary{{"CFBundleIdentifier", kOwn}});
        writeList(bundle().resourcePath() + "/VTKeys.plist",
                  Dictionary{{"VTKeys", Array{command("show", "Show the Launcher"),
                                              command("reload", "Reload"), command("purgel", "Start Purgel"),
                                              Dictionary{{"description", "Nameless"}, {"extra", 7}}}}});
        installManager("#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" >> '" + notes() + "'\ncat '" + bindingPath() +
                       "' >> '" + notes() + ".file' 2>&1\n");
    }

    static Dictionary command(const char* identifier, const char* description) {
        return {{"id", identifier}, {"description", description}};
    }

    static platform::Bundle bundle() { return {sandbox::folder() + "/Launcher.app"}; }
    static std::string bindingPath() {
        return sandbox::home() + "/Library/Preferences/com.vantorel.shortcutkeys.plist";
    }
    static std::string managerPath() {
        return sandbox::root() +
               "/Library/Application Support/Vantorel/Shared Resources/VTShortcutKeyManager";
    }
    static std::string notes() { return sandbox::folder() + "/manager-notes"; }

    static void writeList(const std::string& path, const PropertyList& list) {
        sandbox::writeFile(path, platform::serializePropertyList(list, platform::PropertyListFormat::Xml));
    }
    static void installManager(const std::string& script) {
        sandbox::writeFile(managerPath(), script);
        EXPECT_EQ(::chmod(managerPath().c_str(), 0700), 0);
    }
    // How often the manager has run, with "-setup" alone.
    static int setups() {
        const auto noted = sandbox::readFile(notes());
        std::string expected;
        int count = 0;
        while (expected.size() < noted.size()) {
            expected += "1\n-setup\n";
            ++count;
        }
        EXPECT_EQ(noted, expected);
        return count;
    }

    static void writeBindings(const Dictionary& root) { writeList(bindingPath(), root); }
    static Dictionary root() {
        const auto read = platform::dictionaryWithContentsOfFile(bindingPath());
        EXPECT_TRUE(read) << "no binding file";
        return read.value_or(Dictionary());
    }
    static Array watchlist() {
        auto all = root();
        const auto* list = all.contains("watchlist") ? all.at("watchlist").array() : nullptr;
        EXPECT_TRUE(list) << "no watchlist";
        return list ? *list : Array();
    }
    static Dictionary entry(const char* bundle, int keycode, int modifiers, const char* commandID) {
        return {
            {"bundleid", bundle}, {"keycode", keycode}, {"modifiers", modifiers}, {"commandid", commandID}};
    }

    // Loads the interface, with the controller as its owner.
    VTShortcutKeyTableDelegate& load() {
        auto& controller = VTShortcutKeyTableDelegate::sharedController();
        controller.setBundle(bundle());
        controller.setOutlets({.shortcutKeyTableView = table,
                               .versionAlertText = notice,
                               .makeFieldEditor = [] { return std::make_shared<FakeFieldEditor>(); }});
        controller.awakeFromNib();
        return controller;
    }

    // What the field editor posts.
    static void press(int keycode, bool shift, bool ctrl, bool opt, bool cmd) {
        platform::current().notificationCenter->post(
            {.name = VTShortcutKeyTableDelegate::kKeyChanged,
             .userInfo = {
                 {"keycode", keycode}, {"shift", shift}, {"ctrl", ctrl}, {"opt", opt}, {"cmd", cmd}}});
    }
    static void clear() {
        platform::current().notificationCenter->post(
            {.name = VTShortcutKeyTableDelegate::kKeyCleared, .userInfo = {}});
    }

    // How often the suite was told of a change.
    int reloadEvents() const {
        for (const auto& posted : notifications->posted()) {
            EXPECT_EQ(posted.name, "VTShortcutKeysReload");
            EXPECT_EQ(posted.object, "");
            EXPECT_TRUE(posted.userInfo.empty());
        }
        return static_cast<int>(notifications->posted().size());
    }

    std::shared_ptr<FakeShortcutTable> table = std::make_shared<FakeShortcutTable>();
    std::shared_ptr<FakeNotice> notice = std::make_shared<FakeNotice>();
    std::shared_ptr<FakeKeyTranslation> keyboard = std::make_shared<FakeKeyTranslation>();
    std::shared_ptr<FakeLocalizedStrings> language = std::make_shared<FakeLocalizedStrings>();
    std::shared_ptr<FakeDistributedNotifications> notifications =
        std::make_shared<FakeDistributedNotifications>();

private:
    platform::Platform services() {
        auto all = platform::current();
        all.keyTranslation = keyboard;
        all.localizedStrings = language;
        all.distributedNotifications = notifications;
        keyboard->keys = {{45, {.text = "k"}}, {24, {.text = "q"}}, {36, {.text = "\r"}}};
        return all;
    }
};
