#pragma once

#include <string>

namespace platform {

// The program's texts in the user's language. Any thread.
class LocalizedStrings {
public:
    virtual ~LocalizedStrings() = default;

    // The text that stands for `key`, which is the English one; the key itself when there is none.
    virtual std::string localizedString(const std::string& key) = 0;
};

} // namespace platform
