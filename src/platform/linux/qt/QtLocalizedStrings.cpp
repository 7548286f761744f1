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
    const QLocale chosen;
    if (chosen.language() == QLocale::C) {
        return;
    }
    auto* translator = new QTranslator(QCoreApplication::instance());
    for (const auto& name : chosen.uiLanguages()) {
        const QLocale language(name);
        if (language.language() == QLocale::English) {
            return; // the keys themselves
        }
        if (translator->load(language, QStringLiteral("Launcher"), QStringLiteral("_"),
                             QFile::decodeName(folder.c_str()))) {
            QCoreApplication::installTranslator(translator);
            return;
        }
    }
}

} // namespace platform
