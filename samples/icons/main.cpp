// draw_icon: writes one icon file. The format follows the file's extension.
//
//   draw_icon --letter P --top '#d86868' --bottom '#942b2b' Purgel.icns
//   draw_icon --launcher --size 48 com.vantorel.Launcher.png

#include "IconFile.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>

namespace {

int fail(const QString& reason) {
    std::fprintf(stderr, "draw_icon: %s\n", qUtf8Printable(reason));
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({
        {"launcher", "Draw the Launcher's own icon."},
        {"letter", "Draw a tool's plate with this <letter>.", "letter"},
        {"top", "The plate's <colour> at its upper edge.", "colour", "#8b97a8"},
        {"bottom", "The plate's <colour> at its lower edge.", "colour", "#4a5566"},
        {"size", "Edge of a PNG in <pixels>.", "pixels", "256"},
    });
    parser.addPositionalArgument("file", "The file to write: .png, .icns or .svg.");
    parser.process(application);
    if (parser.positionalArguments().size() != 1) {
        return fail("name one file to write");
    }

    auto letters = parser.value("letter").toUcs4();
    QColor top(parser.value("top"));
    QColor bottom(parser.value("bottom"));
    int size = parser.value("size").toInt();
    if (!parser.isSet("launcher") && letters.size() != 1) {
        return fail("give one letter, or --launcher");
    }
    if (!top.isValid() || !bottom.isValid() || size < 1 || size > 4096) {
        return fail("a colour or the size makes no sense");
    }

    auto artwork =
        parser.isSet("launcher") ? Artwork::launcher() : Artwork::tool(letters.first(), top, bottom);
    auto path = parser.positionalArguments().constFirst();
    auto bytes = iconFile(artwork, QFileInfo(path).suffix(), size);
    if (bytes.isEmpty()) {
        return fail("cannot write this kind of file: " + path);
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        return fail(path + ": " + file.errorString());
    }
    return 0;
}
