#include "PanelSheets.h"

#include "DarkAlert.h"
#include "PanelWindow.h"
#include "Platform.h"

#include <QEventLoop>
#include <QPointer>
#include <utility>

namespace {

QWidget& widgetOf(const platform::Window& window) {
    return dynamic_cast<const PanelWindow&>(window).widget();
}

DarkAlert* makeAlert(const platform::AlertContents& contents) {
    const auto text = [](const std::optional<std::string>& title) {
        return QString::fromStdString(title.value_or(""));
    };
    DarkAlert::Options options{.defaultTitle = text(contents.defaultButtonTitle),
                               .alternateTitle = text(contents.alternateButtonTitle),
                               .otherTitle = text(contents.otherButtonTitle),
                               .suppressed = std::nullopt};
    if (contents.suppression) {
        options.suppressed = contents.suppression->isOn;
    }
    auto* alert = new DarkAlert(text(contents.messageText), text(contents.informativeText), options);
    if (contents.suppression) {
        QObject::connect(alert, &DarkAlert::suppressedChanged, contents.suppression->didChange);
    }
    return alert;
}

} // namespace

// One alert. Its dialog keeps it alive and goes when it has ended, however that comes about.
class PanelSheets::Sheet : public platform::AlertSheet, public std::enable_shared_from_this<Sheet> {
public:
    // The dialog is on its way to the screen.
    Sheet(DarkAlert* alert, DidEnd didEnd)
        : alert_(alert), cancelling_(alert->cancellingAnswer()), didEnd_(std::move(didEnd)) {}

    void watch() {
        const auto self = shared_from_this();
        QObject::connect(alert_, &QDialog::finished, alert_, [self](int answer) { self->end(answer); });
        // Along with its window.
        QObject::connect(alert_, &QObject::destroyed, alert_, [self] { self->end(self->cancelling_); });
    }

    void waitUntilEnded() override {
        if (hasEnded_) {
            return;
        }
        QEventLoop loop;
        loop_ = &loop;
        loop.exec();
        loop_ = nullptr;
        cancel(); // when the main loop has ended
    }

    void orderOut() override {
        didEnd_ = nullptr;
        cancel();
    }

    void cancel() {
        if (!hasEnded_) {
            alert_->reject();
        }
    }

private:
    void end(int answer) {
        if (std::exchange(hasEnded_, true)) {
            return;
        }
        if (alert_) {
            alert_->deleteLater();
        }
        if (loop_) {
            loop_->quit();
        }
        if (const auto didEnd = std::exchange(didEnd_, nullptr)) {
            didEnd(*this, answer);
        }
    }

    QPointer<DarkAlert> alert_;
    int cancelling_;
    DidEnd didEnd_;
    QEventLoop* loop_ = nullptr;
    bool hasEnded_ = false;
};

PanelSheets::PanelSheets() = default;
PanelSheets::~PanelSheets() = default;

bool PanelSheets::hasAttachedSheet(const platform::Window& window) {
    return DarkDialog::hasSheet(widgetOf(window));
}

std::shared_ptr<platform::AlertSheet> PanelSheets::beginSheet(const platform::AlertContents& contents,
                                                              platform::Window* window, DidEnd didEnd) {
    if (closed_) {
        return nullptr;
    }
    auto* alert = makeAlert(contents);
    auto sheet = std::make_shared<Sheet>(alert, std::move(didEnd));
    sheet->watch();
    std::erase_if(sheets_, [](const auto& other) { return other.expired(); });
    sheets_.push_back(sheet);
    if (window) {
        auto& parent = dynamic_cast<PanelWindow&>(*window);
        platform::current().application->unhide();
        parent.makeKeyAndOrderFront();
        alert->beginSheet(parent.widget());
    } else {
        alert->show();
        alert->raise();
        alert->activateWindow();
    }
    return sheet;
}

void PanelSheets::close() {
    closed_ = true;
    for (const auto& sheet : std::exchange(sheets_, {})) {
        if (const auto up = sheet.lock()) {
            up->cancel();
        }
    }
}
