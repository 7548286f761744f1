#pragma once

#include "KeyTranslation.h"

namespace platform {

// The keyboard of the X display that DISPLAY names. It is asked anew at each translation, so that a layout
// that was switched or exchanged in the meantime is the one that counts.
class LinuxKeyTranslation : public KeyTranslation {
public:
    std::optional<TranslatedKey> translate(std::uint16_t keyCode, std::uint32_t modifierState) override;
};

} // namespace platform
