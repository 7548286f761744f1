#include "QtLocalizedStrings.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QTranslator>

namespace platform {

std::string QtLocalizedStrings::localizedString(const std::string& key) {
    return QCoreApplication::translate("Localizable", key.c_str()).toStdString();
}

void installTranslations(const std::string& folder) {
    auto* translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(QLocale(), QStringLiteral("Launcher"), QStringLiteral("_"),
                         QFile::decodeName(folder.c_str()))) {
        QCoreApplication::installTranslator(translator);
    }
}

} // namespace platform
