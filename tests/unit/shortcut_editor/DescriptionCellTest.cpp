#include "DescriptionCell.h"

#include "OffscreenApplication.h"
#include "ShortcutFixture.h"
#include "ShortcutModel.h"

#include <QStyleOptionViewItem>

namespace {

constexpr QRgb kIconColour = 0xFF336699; // of every icon of the workspace

class DescriptionCellTest : public ShortcutTest {
protected:
    VTShortcutKeyTableDelegate& controller = load();
    ShortcutModel model{controller, nullptr};
    DescriptionCell cell{controller, nullptr};

    // Where the icon is in a cell of this size, in pixels of the screen; every pixel of it is checked.
    QRect icon(const QSize& size, double scale) {
        QStyleOptionViewItem option;
        option.rect = QRect(QPoint(), size);
        option.state = QStyle::State_Enabled;
        const QImage picture = offscreen::picture(size, scale, [&](QPainter& painter) {
            cell.paint(&painter, option, model.index(0, ShortcutModel::Description));
        });
        QRect found;
        int pixels = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixel(x, y) == kIconColour) {
                    found |= QRect(x, y, 1, 1);
                    ++pixels;
                }
            }
        }
        EXPECT_EQ(pixels, found.width() * found.height());
        return found;
    }
};

} // namespace

TEST_F(DescriptionCellTest, TheIconIsSixteenPointsWideAndInTheMiddleOfTheRow) {
    model.reload();
    EXPECT_EQ(icon({300, 30}, 1), QRect(16, 7, 16, 16));
    EXPECT_EQ(icon({300, 30}, 2), QRect(32, 14, 32, 32));
    const offscreen::ScopedFontSize large(24);
    EXPECT_EQ(icon({600, 60}, 1), QRect(32, 14, 32, 32));
}
