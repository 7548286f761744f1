#include "PanelSize.h"

#include "Platform.h"

#include <QScreen>
#include <QWidget>
#include <algorithm>

namespace {

constexpr std::int64_t kMostPixels = 16'384; // of a side; whoever stored more was mistaken
constexpr const char* kPanelSize = "panelSize";

} // namespace

void restorePanelSize(QWidget& panel) {
    auto stored = platform::current().userDefaults->objectForKey(kPanelSize);
    const auto* sides = stored ? stored->array() : nullptr;
    if (!sides || sides->size() != 2 || !sides->front().integer() || !sides->back().integer()) {
        return;
    }
    auto side = [](const platform::PropertyList& value) {
        return static_cast<int>(std::clamp<std::int64_t>(*value.integer(), 0, kMostPixels));
    };
    const QSize size(side(sides->front()), side(sides->back()));
    // It may have been stored on a larger screen.
    panel.resize(size.boundedTo(panel.screen()->availableGeometry().size()).expandedTo(panel.minimumSize()));
}

void storePanelSize(const QWidget& panel) {
    // Maximised is the window manager's affair; the size it returns to is the user's.
    const bool fillsScreen = panel.isMaximized() || panel.isFullScreen();
    const QSize size = fillsScreen ? panel.normalGeometry().size() : panel.size();
    const platform::PropertyList sides = platform::PropertyList::Array{size.width(), size.height()};
    auto& defaults = *platform::current().userDefaults;
    if (defaults.objectForKey(kPanelSize) != sides) {
        defaults.setObject(sides, kPanelSize);
    }
}
