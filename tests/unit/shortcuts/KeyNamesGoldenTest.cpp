#include "Platform.h"
#include "ShortcutFixture.h"
#include "linux/KeymapTranslation.h"

#include <fstream>

namespace {

class KeyNamesGolden : public testing::TestWithParam<const char*> {};

} // namespace

// Every key of a 105-key keyboard, in keymaps that another program compiled (tests/golden/make_key_names.py).
TEST_P(KeyNamesGolden, EveryKeyHasItsName) {
    const std::string golden = std::string(VT_GOLDEN "/") + GetParam();
    auto services = platform::current();
    services.keyTranslation = std::make_shared<platform::KeymapTranslation>(
        platform::KeymapTranslation::fromText(sandbox::readFile(golden + ".xkb")));
    services.localizedStrings = std::make_shared<FakeLocalizedStrings>();
    const platform::ScopedPlatform scope(services);

    std::ifstream names(golden + ".names");
    int keys = 0;
    int silent = 0;
    std::uint16_t code = 0;
    std::string name;
    while (names >> code && names.get() == '\t' && std::getline(names, name)) {
        EXPECT_EQ(VTShortcutKeyTableDelegate::nameForKeyCode(code, 0), name) << "key code " << code;
        ++keys;
        silent += name == "(null)" ? 1 : 0;
    }
    EXPECT_EQ(keys, 105);
    EXPECT_EQ(sandbox::console().lines().size(), static_cast<std::size_t>(silent));
}

INSTANTIATE_TEST_SUITE_P(Layouts, KeyNamesGolden, testing::Values("us", "de", "fr", "us-intl"),
                         [](const auto& layout) {
                             std::string name = layout.param;
                             std::erase(name, '-');
                             return name;
                         });
