#include "AppController.h"

#include "Exception.h"
#include "Platform.h"
#include "Text.h"
#include "Threads.h"
#include "VTException.h"
#include "VTLocalPaths.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace {

constexpr const char* kHiddenGroups = "hiddenGroups";
constexpr const char* kSortType = "sortType";
constexpr const char* kShowGroupName = "showGroupName";

std::vector<std::string> hiddenGroups() {
    return platform::current()
        .userDefaults->stringArrayForKey(kHiddenGroups)
        .value_or(std::vector<std::string>());
}

void onMainThread(std::function<void()> work) {
    platform::current().mainThread->perform(std::move(work), platform::Wait::UntilDone);
}

using AppList = AppController::AppList;

AppList withoutHiddenGroups(const AppList& apps) {
    auto groups = hiddenGroups();
    const std::unordered_set<std::string> hidden(groups.begin(), groups.end());
    AppList shown;
    for (const auto& app : apps) {
        auto group = app->groupName();
        if (!group || !hidden.contains(*group)) {
            shown.push_back(app);
        }
    }
    return shown;
}

// Tools that compare as the same keep the order of the scan.
AppList sorted(const AppList& apps, bool byGroup) {
    struct Keyed {
        VTLaunchApp::SortKey key;
        std::shared_ptr<VTLaunchApp> app;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(apps.size());
    for (const auto& app : apps) {
        keyed.push_back({VTLaunchApp::SortKey(byGroup ? app->groupName() : app->title()), app});
    }
    std::ranges::stable_sort(keyed, [](const Keyed& a, const Keyed& b) { return (a.key <=> b.key) < 0; });
    AppList result;
    result.reserve(keyed.size());
    std::ranges::transform(keyed, std::back_inserter(result), &Keyed::app);
    return result;
}

void markDuplicates(const AppList& apps) {
    std::unordered_map<std::string, VTLaunchApp*> firstOfTitle;
    for (const auto& app : apps) {
        auto [first, isNew] = firstOfTitle.emplace(app->title().value_or(""), app.get());
        if (!isNew) {
            first->second->setHasDuplicate(true);
            app->setHasDuplicate(true);
        }
    }
}

int lineCountForLength(std::size_t length) {
    if (length < 30) {
        return 1;
    }
    if (length < 60) {
        return 2;
    }
    return length <= 89 ? 3 : 4;
}

const std::shared_ptr<VTLaunchApp>& appAtRow(const AppList& apps, std::size_t row) {
    if (row >= apps.size()) {
        throw platform::Exception("NSRangeException", "row " + std::to_string(row) + " beyond " +
                                                          std::to_string(apps.size()) + " rows");
    }
    return apps[row];
}

} // namespace

std::shared_ptr<const AppList> AppController::dataArray() const {
    std::lock_guard lock(dataMutex_);
    return dataArray_;
}

void AppController::setDataArray(AppList apps) {
    auto list = std::make_shared<const AppList>(std::move(apps));
    std::lock_guard lock(dataMutex_);
    dataArray_.swap(list);
}

void AppController::startRebuild() {
    bool started = threads_.detachNewThread([self = shared_from_this()](std::stop_token stop) {
        platform::yieldToOthers(); // the panel is about to appear
        self->populateData(std::move(stop));
    });
    if (!started) {
        platform::current().consoleLog->log("Unable to look for tools: no thread could be started.");
    }
}

void AppController::populateData(std::stop_token stop) {
    try {
        onMainThread([this] { outlets_.spinner->startAnimation(); });
        AppList apps;
        if (auto folder = VTLocalPaths::applicationDirectory(false)) {
            apps = appsForFolder(*folder, stop).value_or(AppList());
        }
        if (!stop.stop_requested()) {
            showMenuItemsForGroups(apps);
            bool byGroup = platform::current().userDefaults->integerForKey(kSortType) == kSortByGroup;
            auto shown = sorted(withoutHiddenGroups(apps), byGroup);
            const auto hidden = apps.size() - shown.size();
            markDuplicates(shown);
            // In one go, so that the table never asks for rows of a list that it has not seen.
            onMainThread([this, &shown, hidden] {
                setDataArray(std::move(shown));
                numberOfHiddenTools_ = hidden;
                outlets_.tableView->reloadData();
            });
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController populateData]");
    }
    onMainThread([this] { outlets_.spinner->stopAnimation(); });
}

void AppController::showMenuItemsForGroups(const AppList& apps) {
    std::vector<std::string> groups; // distinct, in the order of the scan
    std::unordered_set<std::string> known;
    for (const auto& app : apps) {
        if (auto group = app->groupName(); group && known.insert(*group).second) {
            groups.push_back(*std::move(group));
        }
    }
    onMainThread([this, &groups] {
        auto hidden = hiddenGroups();
        for (const auto& group : groups) {
            if (!outlets_.hideMenu->itemWithTitle(group)) {
                bool isHidden = std::ranges::find(hidden, group) != hidden.end();
                outlets_.hideMenu->addItem(group).setState(isHidden);
            }
        }
    });
}

void AppController::hideGroup(outlet::MenuItem& item) {
    auto groups = hiddenGroups();
    bool wasHidden = std::erase(groups, item.title()) > 0;
    if (!wasHidden) {
        groups.push_back(item.title());
    }
    item.setState(!wasHidden);
    platform::current().userDefaults->setObject(platform::PropertyList::Array(groups.begin(), groups.end()),
                                                kHiddenGroups);
    startRebuild();
}

void AppController::changeSortMode(outlet::MenuItem& item) {
    platform::current().userDefaults->setObject(item.tag(), kSortType);
    for (std::size_t i = 0; i < outlets_.sortMenu->numberOfItems(); ++i) {
        outlets_.sortMenu->itemAtIndex(i).setState(false);
    }
    item.setState(true);
    startRebuild();
}

void AppController::reloadDataAction() {
    outlets_.tableView->reloadData();
}

void AppController::revealInFinder() {
    auto row = outlets_.tableView->selectedRow();
    auto apps = dataArray();
    if (!row || *row >= apps->size()) {
        return;
    }
    if (auto path = (*apps)[*row]->appPath()) {
        platform::current().workspace->selectFile(*path, path->substr(0, path->rfind('/')));
    }
}

std::size_t AppController::numberOfRows() const {
    return dataArray()->size();
}

std::optional<AppController::CellValue> AppController::objectValueForTableColumn(std::string_view column,
                                                                                 std::size_t row) const {
    try {
        auto apps = dataArray();
        const auto& app = appAtRow(*apps, row);
        if (column == colIcon) {
            return app->icon();
        }
        auto text = column == colTitle ? app->title() : app->description();
        return text ? std::optional<CellValue>(*std::move(text)) : std::nullopt;
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController tableView:objectValueForTableColumn:row:]");
        return std::nullopt;
    }
}

void AppController::willDisplayCell(outlet::TextCell& cell, std::string_view column, std::size_t row) const {
    try {
        auto apps = dataArray();
        const auto& app = appAtRow(*apps, row);
        if (column == colTitle) {
            cell.setHasShadow(true);
            bool showsGroup =
                app->hasDuplicate() || platform::current().userDefaults->integerForKey(kShowGroupName) == 1;
            cell.setSubtitle(showsGroup ? app->groupName() : std::nullopt);
        } else if (column == colDesc) {
            cell.setHasShadow(false);
            cell.setLineCount(lineCountForLength(platform::utf16Length(app->description().value_or(""))));
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception,
                                  "-[AppController tableView:willDisplayCell:forTableColumn:row:]");
    }
}
