#include "AppController.h"

#include "Package.h"
#include "Platform.h"
#include "PropertyListSerialization.h"
#include "Text.h"
#include "VTException.h"
#include "VTLocalPaths.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view kSuitePrefix = "com.vantorel";

// Folders entered through a link that lies behind another link. Links that lead back into the folder
// they are in multiply without end; together with the system's rule of 40 links to a path this bounds a
// scan to (number of folders) x (1 + number of links + this) steps.
constexpr int kNestedLinkLimit = 4096;

// Levels that keep their descriptor; those above give it back until the walk returns to them.
constexpr std::size_t kOpenLevels = 64;

struct NameTest {
    enum class Kind { Starts, Is, Contains };
    Kind kind;
    std::string_view text;
};
constexpr auto kStarts = NameTest::Kind::Starts;
constexpr auto kIs = NameTest::Kind::Is;
constexpr auto kContains = NameTest::Kind::Contains;

// Kept to the letter: the misspelt "cocumentation", the repetitions and the entry with a capital letter,
// which no lower-cased name can match, are known. Entries with an extension never take effect in a scan,
// which asks only about folders without one.
constexpr std::array<NameTest, 66> kBlacklist{{
    {kStarts, "."},
    {kIs, "application backups"},
    {kIs, "mamp"},
    {kIs, "help"},
    {kIs, "docs"},
    {kIs, "cocumentation"},
    {kIs, "html"},
    {kContains, "adobe"},
    {kContains, "apple"},
    {kContains, "microsoft"},
    {kContains, "avid"},
    {kIs, "address book.app"},
    {kIs, "adium.app"},
    {kIs, "automator.app"},
    {kIs, "batch monitor.app"},
    {kIs, "blender"},
    {kIs, "calculator.app"},
    {kIs, "cinema tools.app"},
    {kIs, "color.app"},
    {kIs, "compressor.app"},
    {kIs, "cyberduck.app"},
    {kIs, "damnvid.app"},
    {kIs, "dashboard.app"},
    {kIs, "dictionary.app"},
    {kContains, "divx"},
    {kIs, "doc"},
    {kIs, "dvd player.app"},
    {kIs, "dvd studio pro.app"},
    {kIs, "ffmpegx.app"},
    {kContains, "filemaker"},
    {kIs, "final cut pro.app"},
    {kIs, "final cut pro additional easy setups.localized"},
    {kIs, "firefox.app"},
    {kIs, "flip4mac"},
    {kIs, "font book.app"},
    {kIs, "front row.app"},
    {kIs, "google chrome.app"},
    {kIs, "hewlett-packard"},
    {kIs, "ical.app"},
    {kIs, "ichat.app"},
    {kIs, "image capture.app"},
    {kIs, "isync.app"},
    {kIs, "itunes.app"},
    {kIs, "lib"},
    {kIs, "license"},
    {kIs, "livetype.app"},
    {kIs, "logic node.app"},
    {kIs, "logic pro.app"},
    {kIs, "font book.app"},
    {kIs, "mail.app"},
    {kIs, "mainstage.app"},
    {kIs, "maxon"},
    {kIs, "font book.app"},
    {kIs, "motion.app"},
    {kIs, "mpeg streamclip.app"},
    {kIs, "onyx.app"},
    {kIs, "pacifist"},
    {kIs, "font book.app"},
    {kIs, "photo booth.app"},
    {kIs, "preview.app"},
    {kIs, "quickTime player.app"},
    {kIs, "safari.app"},
    {kIs, "soundtrack pro.app"},
    {kIs, "vlc.app"},
    {kIs, "tutorial"},
    {kStarts, "wacom"},
}};

using AppList = AppController::AppList;
using Dictionary = platform::PropertyList::Dictionary;

Dictionary dictionaryIn(const platform::FileContents& file) {
    if (!file.bytes) {
        return {};
    }
    auto list = platform::parsePropertyList(*file.bytes);
    return list && list->dictionary() ? *list->dictionary() : Dictionary();
}

// One scan. The recursion over folders is a list of levels, so that its depth costs neither stack nor
// descriptors.
class Walk {
public:
    explicit Walk(std::stop_token stop)
        : stop_(std::move(stop)), applicationsFolder_(VTLocalPaths::applicationDirectory(false)) {}

    std::optional<AppList> run(const std::string& folder) {
        auto& files = *platform::current().fileManager;
        bool entered = enter(0, [&] {
            auto destination = files.destinationOfSymbolicLink(folder);
            return leadsBack(destination) ? nullptr : files.openFolder(folder);
        });
        if (!entered) {
            return std::nullopt;
        }
        while (!levels_.empty()) {
            if (stop_.stop_requested()) {
                return std::nullopt;
            }
            if (!advance()) {
                return std::nullopt;
            }
        }
        return std::move(apps_);
    }

private:
    struct Level {
        std::unique_ptr<platform::Folder> folder;
        std::vector<platform::DirectoryEntry> entries{};
        std::size_t next = 0;
        std::size_t firstApp = 0; // where this folder's records begin
        int linksCrossed = 0;
    };

    bool leadsBack(const std::optional<std::string>& destination) const {
        if (!destination || !applicationsFolder_ || !destination->starts_with(*applicationsFolder_)) {
            return false;
        }
        platform::current().consoleLog->log("Warning: Symbolic link links back to itself.");
        return true;
    }

    // Lists the folder that `open` gives (null: refused) and makes it the level to work on. A failure
    // concerns that folder alone.
    template <typename Open>
    bool enter(int linksCrossed, Open open) {
        try {
            Level level{.folder = open(), .firstApp = apps_.size(), .linksCrossed = linksCrossed};
            if (!level.folder) {
                return false;
            }
            std::error_code error;
            level.entries = level.folder->entries(platform::Listing::FoldersAndLinks, error);
            if (error) {
                platform::current().consoleLog->log("Unable to get contents of directory " +
                                                    level.folder->path() + " - " + error.message());
                return false;
            }
            if (levels_.size() >= kOpenLevels) {
                levels_[levels_.size() - kOpenLevels].folder->suspend();
            }
            levels_.push_back(std::move(level));
            return true;
        } catch (const std::exception& exception) {
            report(exception);
            return false;
        }
    }

    // Takes one entry of the deepest level, or leaves it. False when the top folder failed.
    bool advance() {
        auto& level = levels_.back();
        if (level.next == level.entries.size()) {
            levels_.pop_back();
            return true;
        }
        const platform::DirectoryEntry entry = std::move(level.entries[level.next++]);
        try {
            take(level, entry);
            return true;
        } catch (const std::exception& exception) {
            report(exception);
            apps_.resize(levels_.back().firstApp);
            levels_.pop_back();
            return !levels_.empty();
        }
    }

    void take(Level& level, const platform::DirectoryEntry& entry) {
        auto extension = platform::pathExtension(entry.name);
        if (extension.empty()) {
            if (level.folder->isFolder(entry) && !AppController::isFileBlacklisted(entry.name)) {
                descend(level, entry);
            }
            return;
        }
        if (platform::lowercase(extension) == "app" && level.folder->isFolder(entry)) {
            if (auto app = appInBundle(*level.folder, entry.name)) {
                apps_.push_back(std::move(app));
            }
        }
    }

    void descend(Level& level, const platform::DirectoryEntry& entry) {
        bool isLink = entry.kind == platform::EntryKind::Link;
        if (isLink && level.linksCrossed > 0 && ++nestedLinks_ > kNestedLinkLimit) {
            if (nestedLinks_ == kNestedLinkLimit + 1) {
                platform::current().consoleLog->log(
                    "Warning: Too many symbolic links inside linked folders; the rest are not followed.");
            }
            return;
        }
        auto& folder = *level.folder;
        enter(level.linksCrossed + (isLink ? 1 : 0), [&]() -> std::unique_ptr<platform::Folder> {
            if (isLink) {
                auto path = folder.path() + "/" + entry.name;
                if (leadsBack(platform::current().fileManager->destinationOfSymbolicLink(path))) {
                    return nullptr;
                }
            }
            return folder.subfolder(entry);
        });
    }

    // Null unless the bundle is one of the suite's tools.
    static std::shared_ptr<VTLaunchApp> appInBundle(platform::Folder& folder, const std::string& name) {
        auto contents = [&](const char* path) {
            return folder.contents(name + path, platform::kPropertyListMaximumBytes);
        };
        auto descriptorFile = contents("/Contents/Resources/VTApp.plist");
        if (!descriptorFile.exists) {
            descriptorFile = contents("/Contents/VTApp.plist");
        }
        if (!descriptorFile.exists) {
            return nullptr;
        }
        auto info = dictionaryIn(contents("/Contents/Info.plist"));
        auto bundleID = stringForKey(info, "CFBundleIdentifier");
        auto title = stringForKey(info, "CFBundleName");
        if (!bundleID || !bundleID->starts_with(kSuitePrefix) || !title) {
            return nullptr;
        }
        auto descriptor = dictionaryIn(descriptorFile);
        auto groupName = stringForKey(descriptor, "VTGroupName");
        if (!groupName) {
            groupName = stringForKey(dictionaryIn(contents("/Contents/VTUpdates.plist")), "VTGroupName");
        }
        auto path = folder.path() + "/" + name;
        auto app = std::make_shared<VTLaunchApp>();
        app->setTitle(std::move(title));
        app->setIcon(platform::current().workspace->iconForFile(path));
        app->setDescription(stringForKey(descriptor, "VTAppDescription"));
        app->setGroupName(std::move(groupName));
        app->setBundleID(std::move(bundleID));
        app->setAppPath(std::move(path));
        return app;
    }

    static void report(const std::exception& exception) {
        VTException::logException(exception, "-[AppController appsForFolder:]");
    }

    std::stop_token stop_;
    std::optional<std::string> applicationsFolder_;
    std::vector<Level> levels_;
    AppList apps_;
    int nestedLinks_ = 0;
};

} // namespace

std::optional<AppList> AppController::appsForFolder(const std::string& folder, std::stop_token stop) {
    return Walk(std::move(stop)).run(folder);
}

bool AppController::isFileBlacklisted(std::string_view path) {
    auto name = platform::lowercase(platform::lastPathComponent(path));
    return std::ranges::any_of(kBlacklist, [&name](const NameTest& test) {
        switch (test.kind) {
        case kStarts:
            return name.starts_with(test.text);
        case kIs:
            return name == test.text;
        case kContains:
            break;
        }
        return name.find(test.text) != std::string::npos;
    });
}
