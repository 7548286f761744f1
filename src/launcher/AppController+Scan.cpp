#include "AppController.h"

#include "Format.h"
#include "Package.h"
#include "Platform.h"
#include "Text.h"
#include "ToolBundle.h"
#include "VTException.h"
#include "VTLocalPaths.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <iterator>

namespace {

// Folders entered through a link that lies behind another link. Links that lead back into the folder
// they are in multiply without end; the system's rule of 40 links to a path alone would not end them in
// anybody's lifetime.
constexpr int kNestedLinkLimit = 4096;

// And folders entered behind such links, since each of them may lead into a large tree.
constexpr int kNestedFolderLimit = 200'000;

// Levels of a walk that keep their descriptor; those above give it back until the walk returns to them.
constexpr std::size_t kOpenLevels = 32;

// Entries that a walk looks at before it gives work away: enough of them to be worth a thread.
constexpr int kStepsPerPart = 256;

// A part runs on a thread of its own, or when its findings are asked for if none can be started.
constexpr auto kWhenPossible = std::launch::async | std::launch::deferred;

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

// What a walk comes upon, in listing order: a tool, or the path of a linked folder, which is left for later.
using Found = std::variant<std::shared_ptr<VTLaunchApp>, std::string>;

struct Part;

// What a walk has found. The parts that it gave away come behind its own, the last one first.
struct Findings {
    bool failed = false; // its top folder yields nothing
    std::vector<Found> found;
    std::vector<Part> parts;

    // The folder so many levels down yields nothing, not even what had been found in it.
    void lose(std::size_t depth, std::size_t firstFound);
};

// The last entries of a folder, given away to another thread.
struct Part {
    std::size_t depth;      // of the folder in the walk that gave it away,
    std::size_t firstFound; // and where its findings begin there
    std::future<Findings> findings;
};

Findings failure() {
    Findings findings;
    findings.failed = true;
    return findings;
}

void Findings::lose(std::size_t depth, std::size_t firstFound) {
    failed = depth == 0;
    found.resize(firstFound);
    while (!parts.empty() && parts.back().depth >= depth) {
        parts.pop_back();
    }
}

// What the walks of one scan share.
struct Scan {
    std::stop_token stop;
    std::optional<std::string> applicationsFolder = VTLocalPaths::applicationDirectory(false);
    std::atomic<bool> threadIsFree = true; // of the two that may walk
    int nestedLinks = 0;
    int nestedFolders = 0;
};

// Walks a folder. The recursion is a list of levels, so that its depth costs neither stack nor
// descriptors.
//
// Linked folders wait until all others have been walked and are then walked in listing order by one
// thread, links inside them at once. So it does not depend on the threads which links the bound cuts off.
class Walk {
public:
    enum class Links { Later, AtOnce };

    Walk(Scan& scan, Links links) : scan_(scan), links_(links) {}

    Findings run(const std::string& folder) {
        auto& files = *platform::current().fileManager;
        bool entered = enter([&] { return leadsBack(folder) ? nullptr : files.openFolder(folder); });
        return entered ? finish() : failure();
    }

    // Walks some entries of a folder.
    Findings run(const std::string& folder, std::vector<platform::DirectoryEntry> entries) {
        try {
            levels_.push_back({.folder = platform::current().fileManager->openFolder(folder),
                               .entries = std::move(entries)});
            return finish();
        } catch (const std::exception& exception) {
            report(exception);
            return failure();
        }
    }

private:
    struct Level {
        std::unique_ptr<platform::Folder> folder;
        std::vector<platform::DirectoryEntry> entries{};
        std::size_t next = 0;
        std::size_t firstFound = 0; // where this folder's findings begin
        bool isNested = false;      // behind a link that lies behind another
    };

    Findings finish() {
        while (!levels_.empty()) {
            if (scan_.stop.stop_requested()) {
                return failure();
            }
            advance();
            if (links_ == Links::Later && ++steps_ % kStepsPerPart == 0) {
                giveWorkAway();
            }
        }
        scan_.threadIsFree = true;
        return std::move(findings_);
    }

    bool leadsBack(const std::string& folder) const {
        auto destination = platform::current().fileManager->destinationOfSymbolicLink(folder);
        const auto& applications = scan_.applicationsFolder;
        if (!destination || !applications || !destination->starts_with(*applications)) {
            return false;
        }
        platform::current().consoleLog->log("Warning: Symbolic link links back to itself.");
        return true;
    }

    // Lists the folder that `open` gives (null: refused) and makes it the level to work on. A failure
    // concerns that folder alone.
    template <typename Open>
    bool enter(Open open, bool isNested = false) {
        try {
            Level level{.folder = open(), .firstFound = findings_.found.size(), .isNested = isNested};
            if (!level.folder) {
                return false;
            }
            std::error_code error;
            level.entries = level.folder->entries(platform::Listing::FoldersAndLinks, error);
            if (error) {
                if (!levels_.empty() && !platform::current().fileManager->isDirectory(level.folder->path())) {
                    return false; // gone since its parent was listed, or never to be reached
                }
                platform::current().consoleLog->log(format("Unable to get contents of directory %@ - %@",
                                                           level.folder->path(), error.message()));
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

    // Takes one entry of the deepest level, or leaves it.
    void advance() {
        auto& level = levels_.back();
        if (level.next == level.entries.size()) {
            levels_.pop_back();
            return;
        }
        const platform::DirectoryEntry entry = std::move(level.entries[level.next++]);
        try {
            take(level, entry);
        } catch (const std::exception& exception) {
            report(exception);
            findings_.lose(levels_.size() - 1, levels_.back().firstFound);
            levels_.pop_back();
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
            if (auto tool = toolInBundle(*level.folder, entry.name)) {
                findings_.found.emplace_back(std::move(tool));
            }
        }
    }

    void descend(const Level& level, const platform::DirectoryEntry& entry) {
        auto& folder = *level.folder;
        const bool isLink = entry.kind == platform::EntryKind::Link;
        const bool isNested = level.isNested || (isLink && links_ == Links::AtOnce);
        if (isNested && !isWithinBounds(isLink)) {
            return;
        }
        if (!isLink) {
            enter([&] { return folder.subfolder(entry); }, isNested);
            return;
        }
        auto path = folder.path() + "/" + entry.name;
        if (links_ == Links::Later) {
            findings_.found.emplace_back(std::move(path));
        } else {
            enter([&] { return leadsBack(path) ? nullptr : folder.subfolder(entry); }, isNested);
        }
    }

    // Counts a folder behind nested links. False once there have been too many; that is said once.
    bool isWithinBounds(bool isLink) {
        const bool wasWithin =
            scan_.nestedLinks <= kNestedLinkLimit && scan_.nestedFolders <= kNestedFolderLimit;
        ++scan_.nestedFolders;
        scan_.nestedLinks += isLink ? 1 : 0;
        const bool isWithin =
            scan_.nestedLinks <= kNestedLinkLimit && scan_.nestedFolders <= kNestedFolderLimit;
        if (wasWithin && !isWithin) {
            platform::current().consoleLog->log(
                "Warning: Too many symbolic links inside linked folders; the rest are not followed.");
        }
        return isWithin;
    }

    // Lets a free thread have half of what is left to do at the highest level that has anything left. All
    // of it comes behind what this walk keeps.
    void giveWorkAway() {
        auto level = std::ranges::find_if(
            levels_, [](const Level& candidate) { return candidate.next < candidate.entries.size(); });
        if (level == levels_.end() || !scan_.threadIsFree.exchange(false)) {
            return;
        }
        auto middle =
            level->entries.begin() + static_cast<std::ptrdiff_t>((level->next + level->entries.size()) / 2);
        std::vector<platform::DirectoryEntry> entries;
        std::move(middle, level->entries.end(), std::back_inserter(entries));
        level->entries.erase(middle, level->entries.end());
        auto walk = [&scan = scan_, folder = level->folder->path(), entries = std::move(entries)]() mutable {
            return Walk(scan, Links::Later).run(folder, std::move(entries));
        };
        findings_.parts.push_back({.depth = static_cast<std::size_t>(level - levels_.begin()),
                                   .firstFound = level->firstFound,
                                   .findings = std::async(kWhenPossible, std::move(walk))});
    }

    static void report(const std::exception& exception) {
        VTException::logException(exception, "-[AppController appsForFolder:]");
    }

    Scan& scan_;
    Links links_;
    std::vector<Level> levels_;
    Findings findings_;
    int steps_ = 0;
};

// Joins what was found in parts; absent when the top folder failed.
std::optional<std::vector<Found>> joined(Findings findings) {
    while (!findings.parts.empty()) {
        auto part = std::move(findings.parts.back());
        findings.parts.pop_back();
        if (auto found = joined(part.findings.get())) {
            std::ranges::move(*found, std::back_inserter(findings.found));
        } else {
            findings.lose(part.depth, part.firstFound);
        }
    }
    return findings.failed ? std::nullopt : std::optional(std::move(findings.found));
}

} // namespace

std::optional<AppList> AppController::appsForFolder(const std::string& folder, std::stop_token stop) {
    Scan scan{.stop = std::move(stop)};
    auto found = joined(Walk(scan, Walk::Links::Later).run(folder));
    if (!found) {
        return std::nullopt;
    }
    AppList apps;
    auto take = [&apps](Found& item) { apps.push_back(std::move(std::get<0>(item))); };
    for (auto& item : *found) {
        if (const auto* linkedFolder = std::get_if<std::string>(&item)) {
            std::ranges::for_each(Walk(scan, Walk::Links::AtOnce).run(*linkedFolder).found, take);
        } else {
            take(item);
        }
    }
    return scan.stop.stop_requested() ? std::nullopt : std::optional(std::move(apps));
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
