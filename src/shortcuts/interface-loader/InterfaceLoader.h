#pragma once

#include <QIODevice>
#include <QString>
#include <QWidget>

// Makes a widget of a class that Qt does not know; null for those that it does.
using WidgetMaker = QWidget* (*)(const QString& className, QWidget* parent);

// Builds what an interface file describes; null when it describes nothing. The widget has no parent and
// belongs to the caller.
extern "C" QWidget* vtLoadInterface(QIODevice* description, WidgetMaker maker);
using LoadInterface = decltype(vtLoadInterface);
