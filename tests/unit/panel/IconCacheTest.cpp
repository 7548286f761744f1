#include "IconCache.h"

#include "QtMainThread.h"
#include "TestSandbox.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

// One colour all over, or nothing.
struct ColouredIcon : platform::Icon {
    explicit ColouredIcon(std::uint32_t pixel) : colour(pixel) {}
    platform::Bitmap render(int pixels) const override {
        ++rendered;
        if (colour == 0) {
            return {};
        }
        const auto count = static_cast<std::size_t>(pixels) * static_cast<std::size_t>(pixels);
        return {pixels, pixels, std::vector<std::uint32_t>(count, colour)};
    }
    std::uint32_t colour;
    mutable std::atomic<int> rendered = 0;
};

class IconCacheTest : public testing::Test {
protected:
    IconCacheTest() {
        auto services = platform::current();
        services.mainThread = std::make_shared<platform::QtMainThread>();
        platform::install(services);
        app.setAppPath("/Applications/A.app");
    }
    ~IconCacheTest() override { EXPECT_TRUE(threads.finish(std::chrono::minutes(1))); }

    QRgb middle(double scale = 1) {
        auto image = cache.pixmap(app, 48, scale).toImage();
        return image.pixel(image.width() / 2, image.height() / 2);
    }

    WorkerThreads threads;
    IconCache cache{threads, nullptr};
    QSignalSpy loaded{&cache, &IconCache::loaded};
    VTLaunchApp app;
};

} // namespace

TEST_F(IconCacheTest, ShowsTheGenericIconUntilItsOwnIsDecoded) {
    auto icon = std::make_shared<ColouredIcon>(0xFF112233);
    app.setIcon(icon);
    EXPECT_NE(middle(), 0xFF112233);
    ASSERT_TRUE(loaded.wait());
    EXPECT_EQ(middle(), 0xFF112233);
    EXPECT_EQ(icon->rendered, 1);
}

TEST_F(IconCacheTest, HasAsManyPixelsAsTheScreenShows) {
    app.setIcon(std::make_shared<ColouredIcon>(0xFF112233));
    middle(2);
    ASSERT_TRUE(loaded.wait());
    auto pixmap = cache.pixmap(app, 48, 2);
    EXPECT_EQ(pixmap.size(), QSize(96, 96));
    EXPECT_EQ(pixmap.devicePixelRatio(), 2);
    EXPECT_EQ(pixmap.toImage().pixel(50, 50), 0xFF112233);
}

TEST_F(IconCacheTest, KeepsTheOldIconUntilTheNewOneIsDecoded) {
    app.setIcon(std::make_shared<ColouredIcon>(0xFF112233));
    middle();
    ASSERT_TRUE(loaded.wait());
    app.setIcon(std::make_shared<ColouredIcon>(0xFF445566));
    EXPECT_EQ(middle(), 0xFF112233);
    ASSERT_TRUE(loaded.wait());
    EXPECT_EQ(middle(), 0xFF445566);
}

TEST_F(IconCacheTest, ToolsWithoutAnIconKeepTheGenericOne) {
    auto icon = std::make_shared<ColouredIcon>(0);
    app.setIcon(icon);
    auto generic = middle();
    ASSERT_TRUE(loaded.wait());
    EXPECT_EQ(middle(), generic);
    EXPECT_EQ(icon->rendered, 1); // and are not asked again
    app.setIcon(nullptr);
    EXPECT_EQ(middle(), generic);
}

TEST_F(IconCacheTest, PathsNeedNotBeText) {
    app.setIcon(std::make_shared<ColouredIcon>(0xFF112233));
    app.setAppPath("/Applications/\xff.app");
    VTLaunchApp other;
    other.setIcon(std::make_shared<ColouredIcon>(0xFF445566));
    other.setAppPath("/Applications/\xfe.app");
    middle();
    cache.pixmap(other, 48, 1);
    while (loaded.count() < 2) {
        ASSERT_TRUE(loaded.wait());
    }
    EXPECT_EQ(middle(), 0xFF112233);
    EXPECT_EQ(cache.pixmap(other, 48, 1).toImage().pixel(24, 24), 0xFF445566);
}

TEST_F(IconCacheTest, RowsScrolledPastAreNotDecoded) {
    std::vector<std::unique_ptr<VTLaunchApp>> apps;
    std::vector<std::shared_ptr<ColouredIcon>> icons;
    for (int i = 0; i < 1000; ++i) {
        icons.push_back(std::make_shared<ColouredIcon>(0xFF112233));
        apps.push_back(std::make_unique<VTLaunchApp>());
        apps.back()->setAppPath("/Applications/" + std::to_string(i) + ".app");
        apps.back()->setIcon(icons.back());
        cache.pixmap(*apps.back(), 48, 1);
    }
    // The newest is among those that are decoded; it stands for the rows in view.
    while (icons.back()->rendered == 0) {
        ASSERT_TRUE(loaded.wait());
    }
    int rendered = 0;
    for (const auto& icon : icons) {
        rendered += icon->rendered;
    }
    EXPECT_LE(rendered, 50);
}
