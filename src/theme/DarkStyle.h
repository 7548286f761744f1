#pragma once

#include <QProxyStyle>

// The desktop-neutral style with what it lacks on dark windows.
class DarkStyle : public QProxyStyle {
    Q_OBJECT

public:
    DarkStyle();

    // The arrow of a menu bar that is too narrow is drawn here: every menu bar asks for it, and to read it
    // from its file Qt would first load all the image formats it knows.
    QIcon standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const override;
};
