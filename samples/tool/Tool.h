#pragma once

#include "Bundle.h"

#include <QString>

// What a tool says about itself. Texts that its bundle does not give are empty.
struct Tool {
    QString title;
    QString description;
    QString groupName;
    QString bundleID;
    QString version;
    QString iconPath;

    static Tool ofBundle(const platform::Bundle& bundle);
};
