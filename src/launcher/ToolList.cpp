#include "ToolList.h"

#include "Text.h"

#include <array>
#include <cstdio>

namespace {

std::string escape(const char* format, unsigned value) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

bool isControl(char character) {
    auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

std::string onOneLine(const VTLaunchApp::Text& text) {
    return platform::withoutControlCharacters(text.value_or(""));
}

std::string jsonString(std::string_view text) {
    std::string json = "\"";
    while (!text.empty()) {
        auto length = platform::lengthOfFirstCharacter(text);
        char first = text.front();
        if (length == 0) {
            json += escape("\\u%04x", 0xDC00U + static_cast<unsigned char>(first));
            length = 1;
        } else if (first == '"' || first == '\\') {
            json += '\\';
            json += first;
        } else if (isControl(first)) {
            json += escape("\\u%04x", static_cast<unsigned char>(first));
        } else {
            json += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return json + '"';
}

std::string jsonValue(const VTLaunchApp::Text& text) {
    return text ? jsonString(*text) : "null";
}

} // namespace

std::string toolListAsLines(const AppController::AppList& apps) {
    std::string lines;
    for (const auto& app : apps) {
        lines += onOneLine(app->title()) + '\t' + onOneLine(app->groupName()) + '\t' +
                 onOneLine(app->bundleID()) + '\t' + onOneLine(app->appPath()) + '\n';
    }
    return lines;
}

std::string toolListAsJson(const AppController::AppList& apps) {
    std::string json = "[";
    const char* separator = "\n";
    for (const auto& app : apps) {
        json += separator;
        json += "  {\"title\": " + jsonValue(app->title()) +
                ",\n   \"description\": " + jsonValue(app->description()) +
                ",\n   \"groupName\": " + jsonValue(app->groupName()) +
                ",\n   \"bundleID\": " + jsonValue(app->bundleID()) +
                ",\n   \"appPath\": " + jsonValue(app->appPath()) + "}";
        separator = ",\n";
    }
    return json + (apps.empty() ? "]\n" : "\n]\n");
}
