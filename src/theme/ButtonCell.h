#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>
#include <QRectF>
#include <QString>
#include <Qt>
#include <optional>

class QPainter;

// What a push button shows, and how its title and image are drawn. A cell is a value to set up and draw
// with; it keeps nothing of the view. Rectangles are in the logical pixels of the view, y growing
// downwards. Main thread.
class ButtonCell {
public:
    enum class ControlSize { Regular, Small, Mini, Large };
    enum class ImagePosition { NoImage, ImageOnly, Left, Right, Below, Above, Overlaps };

    // How a button shows that it is on or pressed. Masks are sums of these.
    static constexpr unsigned kContents = 1;
    static constexpr unsigned kPushIn = 2;
    static constexpr unsigned kChangeGrey = 4;
    static constexpr unsigned kChangeBackground = 8;

    // A title with its attributes.
    struct AttributedTitle {
        QString text; // plain text; shown on one line
        QFont font;
        Qt::Alignment alignment = Qt::AlignHCenter; // horizontal
        QColor foregroundColor = Qt::white;
        // What an ampersand means: Qt::TextShowMnemonic or Qt::TextHideMnemonic, nothing when 0.
        int mnemonic = 0;
    };

    ButtonCell() = default;
    ButtonCell(const ButtonCell&) = default;
    ButtonCell& operator=(const ButtonCell&) = default;
    virtual ~ButtonCell() = default;

    bool isEnabled = true;
    bool isHighlighted = false; // being pressed
    int state = 0;              // 1: on
    unsigned showsStateBy = 0;
    unsigned highlightsBy = kPushIn | kChangeGrey | kChangeBackground;
    ControlSize controlSize = ControlSize::Regular;
    ImagePosition imagePosition = ImagePosition::NoImage;
    AttributedTitle attributedTitle;
    std::optional<AttributedTitle> attributedAlternateTitle;
    QPixmap image; // may be null

    // What titles of this control size are written in: the interface font, smaller for a smaller control.
    static QFont titleFont(ControlSize size);

    // The natural size: as high as the control size says at this size of the interface font, or as the
    // title's line needs, and wide enough for the title and the image.
    QSizeF cellSize() const;

    // Draws the title centred vertically in the frame, with an ellipsis when it is too wide. Returns what
    // it covers.
    virtual QRectF drawTitle(const AttributedTitle& title, const QRectF& frame, QPainter& painter) const;

    // Draws the image into the frame, made smaller when it does not fit: in the middle, or at the side that
    // the image position names.
    virtual void drawImage(const QPixmap& picture, const QRectF& frame, QPainter& painter) const;
};
