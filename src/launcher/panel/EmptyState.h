#pragma once

#include <QWidget>

class QLabel;

// What stands in the place of the table when it has no rows: an icon, what is the matter, and a hint.
class EmptyState : public QWidget {
    Q_OBJECT

public:
    explicit EmptyState(QWidget* parent = nullptr);

    void setTexts(const QString& title, const QString& hint);

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QLabel* icon_;
    QLabel* title_;
    QLabel* hint_;
};
