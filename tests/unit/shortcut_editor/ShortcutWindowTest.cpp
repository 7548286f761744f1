#include "ShortcutWindow.h"

#include "OffscreenApplication.h"
#include "ShortcutFixture.h"

TEST_F(ShortcutTest, PresentingAWindowThatIsOpenLeavesItAsLargeAsItIs) {
    VTShortcutKeyTableDelegate::sharedController().setBundle(bundle()); // in which there is no interface file
    ShortcutWindow window;
    window.present();
    EXPECT_TRUE(window.isVisible());
    window.setWindowState(Qt::WindowMaximized);
    window.present();
    EXPECT_TRUE(window.isMaximized());
    window.setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
    window.present();
    EXPECT_EQ(window.windowState() & (Qt::WindowMaximized | Qt::WindowMinimized), Qt::WindowMaximized);
}
