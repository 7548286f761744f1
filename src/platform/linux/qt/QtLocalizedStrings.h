#pragma once

#include "LocalizedStrings.h"

namespace platform {

// Qt's translations, in the context "Localizable". Once there is an application object.
class QtLocalizedStrings : public LocalizedStrings {
public:
    std::string localizedString(const std::string& key) override;
};

// Has Qt's translators read `folder`/Launcher_<language>.qm for the first of the user's languages that there
// is one for. Everything stays English without one, where English comes before it, and in the locale "C".
// Once, on the main thread.
void installTranslations(const std::string& folder);

} // namespace platform
