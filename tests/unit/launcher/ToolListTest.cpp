#include "ToolList.h"

#include <gtest/gtest.h>

namespace {

AppController::AppList oneTool(const char* title, const std::string& path) {
    auto app = std::make_shared<VTLaunchApp>();
    app->setTitle(title);
    app->setBundleID("com.vantorel.Tool");
    app->setAppPath(path);
    return {app};
}

} // namespace

TEST(ToolList, NothingIsAnEmptyArrayAndNoLine) {
    EXPECT_EQ(toolListAsJson({}), "[]\n");
    EXPECT_EQ(toolListAsLines({}), "");
}

TEST(ToolList, AbsentValuesAreNull) {
    EXPECT_EQ(toolListAsJson(oneTool("Purgel", "/Applications/Purgel.app")),
              "[\n"
              "  {\"title\": \"Purgel\",\n"
              "   \"description\": null,\n"
              "   \"groupName\": null,\n"
              "   \"bundleID\": \"com.vantorel.Tool\",\n"
              "   \"appPath\": \"/Applications/Purgel.app\"}\n"
              "]\n");
}

TEST(ToolList, ObjectsAreSeparated) {
    auto apps = oneTool("A", "/A.app");
    apps.push_back(apps.front());
    auto json = toolListAsJson(apps);
    EXPECT_NE(json.find("\"/A.app\"},\n  {"), std::string::npos);
}

TEST(ToolList, TextsAreEscaped) {
    auto json = toolListAsJson(oneTool("a\"b\\c\nd\te\x01\x7f 日本語", "/x"));
    EXPECT_NE(json.find(R"("a\"b\\c\u000ad\u0009e\u0001\u007f 日本語")"), std::string::npos) << json;
}

TEST(ToolList, BytesThatAreNoTextSurvive) {
    auto json = toolListAsJson(oneTool("T", "/\xff\x80ok\xc3"));
    EXPECT_NE(json.find(R"("/\udcff\udc80ok\udcc3")"), std::string::npos) << json;
}

TEST(ToolList, OneToolIsOneLine) {
    auto apps = oneTool("two\nlines", "/tab\there.app");
    apps.front()->setGroupName("Kelvandor");
    // C1 controls are for terminals too.
    EXPECT_EQ(toolListAsLines(oneTool("\u009b2J", "/\xff")), "\\xc2\\x9b2J\t\tcom.vantorel.Tool\t/\\xff\n");
    EXPECT_EQ(toolListAsLines(apps), "two\\nlines\tKelvandor\tcom.vantorel.Tool\t/tab\\there.app\n");
}
