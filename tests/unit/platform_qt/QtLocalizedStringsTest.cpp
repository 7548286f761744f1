#include "QtLocalizedStrings.h"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace {

struct Choice {
    const char* name;
    const char* locale;
    const char* languages;
    const char* space; // what the space bar is called
};

std::ostream& operator<<(std::ostream& stream, const Choice& choice) {
    return stream << choice.locale << ' ' << choice.languages;
}

class QtLocalizedStringsTest : public testing::TestWithParam<Choice> {
protected:
    // Before Qt looks at it for the first time.
    bool isSet_ = qputenv("LC_ALL", GetParam().locale) && qputenv("LANGUAGE", GetParam().languages);

private:
    int argumentCount_ = 1;
    char name_[5] = "test"; // NOLINT: as main has it
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
};

} // namespace

TEST_P(QtLocalizedStringsTest, TakesTheFirstLanguageThatThereAreTextsFor) {
    ASSERT_TRUE(isSet_);
    platform::QtLocalizedStrings strings;
    EXPECT_EQ(strings.localizedString("Space"), "Space");
    platform::installTranslations(VT_TRANSLATIONS);
    EXPECT_EQ(strings.localizedString("Space"), GetParam().space);
    EXPECT_EQ(strings.localizedString("No such text"), "No such text");
}

INSTANTIATE_TEST_SUITE_P(
    Languages, QtLocalizedStringsTest,
    testing::Values(Choice{"OneLanguage", "fr_CA.UTF-8", "", "Espace"},
                    Choice{"EnglishFirst", "en_US.UTF-8", "en_US:de", "Space"},
                    Choice{"EnglishLast", "de_DE.UTF-8", "de:en", "Leertaste"},
                    Choice{"ALanguageWithoutTexts", "nl_NL.UTF-8", "nl:de:en", "Leertaste"},
                    Choice{"EnglishAfterOneWithoutTexts", "nl_NL.UTF-8", "nl:en:de", "Space"},
                    Choice{"NoLanguage", "C", "de", "Space"}),
    [](const testing::TestParamInfo<Choice>& choice) { return std::string(choice.param.name); });
