#pragma once

#include "VTLaunchApp.h"
#include "WorkerThreads.h"

#include <QCache>
#include <QObject>
#include <QPixmap>
#include <vector>

// The tools' icons as pixmaps, decoded in the background when they are first asked for. Main thread.
class IconCache : public QObject {
    Q_OBJECT

public:
    // `threads` do the decoding.
    IconCache(WorkerThreads& threads, QObject* parent);

    // The tool's icon, `side` logical pixels wide at the given scale. Until it has been decoded, and for
    // a tool without an icon of its own, the desktop's generic one.
    QPixmap pixmap(const VTLaunchApp& app, double side, double devicePixelRatio);

signals:
    // Some icons that were asked for are there now.
    void loaded();

private:
    using IconPointer = std::shared_ptr<const platform::Icon>;

    struct Slot {
        IconPointer icon; // what the pixmap shows; another one takes its place when it is decoded
        QPixmap pixmap;   // null: show the generic icon
    };
    struct Request {
        QByteArray key; // size and path, whose bytes need not be text
        IconPointer icon;
        int pixels;
    };

    void request(Request wanted);
    void decodeNext();
    void store(const Request& request, const platform::Bitmap& bitmap);
    QPixmap genericIcon(int pixels);

    WorkerThreads& threads_;
    QCache<QByteArray, Slot> cache_;
    std::vector<Request> waiting_; // the newest last
    bool decoding_ = false;
    QPixmap generic_;
};
