#include "BundleIcon.h"

#include "TestSandbox.h"

#include <QBuffer>
#include <QImage>
#include <QtEndian>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

using platform::Bitmap;
using platform::BundleIcon;

namespace {

// One colour for each size, to tell the images of a file apart.
constexpr std::uint32_t kRed = 0xFFFF0000;
constexpr std::uint32_t kGreen = 0xFF00FF00;
constexpr std::uint32_t kBlue = 0xFF0000FF;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;

std::string bundle() {
    return sandbox::folder() + "/Tool.app";
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, format));
    return bytes;
}

QByteArray png(int width, int height, std::uint32_t colour) {
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return encoded(image, "PNG");
}

QByteArray bigEndian(qsizetype number) {
    QByteArray bytes(4, '\0');
    qToBigEndian(static_cast<quint32>(number), bytes.data());
    return bytes;
}

QByteArray entry(const char* type, const QByteArray& data) {
    return type + bigEndian(data.size() + 8) + data;
}

QByteArray icns(const QByteArray& entries) {
    return entry("icns", entries);
}

QByteArray jpeg2000() {
    return QByteArray::fromHex("0000000c6a5020200d0a870a") + QByteArray(200, '\0');
}

// The size and the type of the icons that bundles have, smallest last.
QByteArray usualIcons() {
    return icns(entry("ic08", png(256, 256, kWhite)) + entry("ic07", png(128, 128, kBlue)) +
                entry("icp5", png(32, 32, kGreen)) + entry("icp4", png(16, 16, kRed)));
}

std::uint32_t checksum(const QByteArray& bytes) {
    std::uint32_t sum = ~0U;
    for (char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~sum;
}

// A picture that says it is larger than it is.
QByteArray boastingPng(int side) {
    auto bytes = png(16, 16, kRed);
    constexpr qsizetype kHeader = 12; // its type, which the checksum covers, then width and height
    bytes.replace(kHeader + 4, 8, bigEndian(side) + bigEndian(side));
    bytes.replace(kHeader + 17, 4, bigEndian(static_cast<qsizetype>(checksum(bytes.mid(kHeader, 17)))));
    return bytes;
}

void writeInformation(const std::string& properties) {
    sandbox::writeFile(bundle() + "/Contents/Info.plist",
                       "<plist version=\"1.0\"><dict>" + properties + "</dict></plist>");
}

std::string resource(const std::string& name) {
    return bundle() + "/Contents/Resources/" + name;
}

// A bundle whose icon is this file.
void makeBundle(const std::string& name, const QByteArray& bytes) {
    writeInformation("<key>CFBundleIconFile</key><string>" + name + "</string>");
    sandbox::writeFile(resource(name), bytes.toStdString());
}

Bitmap render(int pixels) {
    return BundleIcon(bundle()).render(pixels);
}

void expectColour(int pixels, std::uint32_t colour) {
    auto bitmap = render(pixels);
    EXPECT_EQ(bitmap.width, pixels);
    EXPECT_EQ(bitmap.height, pixels);
    const auto side = static_cast<std::size_t>(pixels);
    EXPECT_EQ(bitmap.pixels, std::vector<std::uint32_t>(side * side, colour)) << pixels;
}

void expectEmpty() {
    auto bitmap = render(48);
    EXPECT_EQ(bitmap.width, 0);
    EXPECT_EQ(bitmap.height, 0);
    EXPECT_TRUE(bitmap.pixels.empty());
}

} // namespace

TEST(BundleIcon, IsTheSmallestImageThatIsLargeEnough) {
    makeBundle("Tool.icns", usualIcons());
    expectColour(16, kRed);
    expectColour(17, kGreen);
    expectColour(32, kGreen);
    expectColour(48, kBlue);
    expectColour(96, kBlue);
    expectColour(128, kBlue);
    expectColour(129, kWhite);
}

TEST(BundleIcon, IsTheLargestImageWhenNoneIsLargeEnough) {
    makeBundle("Tool.icns", usualIcons());
    expectColour(300, kWhite);
    makeBundle("Tool.icns", icns(entry("icp4", png(16, 16, kRed)) + entry("icp5", png(32, 32, kGreen))));
    expectColour(48, kGreen);
}

TEST(BundleIcon, KnowsImagesForFineScreens) {
    makeBundle("Tool.icns", icns(entry("ic11", png(32, 32, kRed)) + entry("ic12", png(64, 64, kGreen)) +
                                 entry("ic13", png(256, 256, kBlue)) + entry("ic10", png(64, 64, kWhite))));
    expectColour(48, kGreen);
    expectColour(96, kBlue);
}

TEST(BundleIcon, KnowsImagesOfTheOldKind) {
    // Three channels of 256 bytes, each as two runs, and a mask.
    auto channel = [](char value) { return QByteArray("\xFF") + value + QByteArray("\xFB") + value; };
    makeBundle("Tool.icns", icns(entry("is32", channel('\x12') + channel('\x34') + channel('\x56')) +
                                 entry("s8mk", QByteArray(256, '\xFF'))));
    expectColour(16, 0xFF123456);
    expectColour(48, 0xFF123456);
}

TEST(BundleIcon, PassesOverImagesThatCannotBeDecoded) {
    makeBundle("Tool.icns", icns(entry("ic07", jpeg2000()) + entry("ic08", png(256, 256, kWhite)) +
                                 entry("icp5", png(32, 32, kGreen))));
    expectColour(48, kWhite);
    makeBundle("Tool.icns", icns(entry("ic08", jpeg2000()) + entry("ic09", jpeg2000()) +
                                 entry("icp5", png(32, 32, kGreen))));
    expectColour(48, kGreen);
    makeBundle("Tool.icns", icns(entry("ic07", boastingPng(30'000)) + entry("icp5", png(32, 32, kGreen))));
    expectColour(48, kGreen);
    makeBundle("Tool.icns", icns(entry("ic08", jpeg2000()) + entry("ic09", jpeg2000())));
    expectEmpty();
}

TEST(BundleIcon, MayBeAPortableNetworkGraphic) {
    makeBundle("icon.png", png(64, 64, kBlue));
    expectColour(48, kBlue);
    expectColour(96, kBlue);
    // It is the content that counts.
    makeBundle("Tool.icns", png(64, 64, kGreen));
    expectColour(48, kGreen);
    makeBundle("other.png", usualIcons());
    expectColour(48, kBlue);
}

TEST(BundleIcon, StandsInTheMiddleOfItsSquare) {
    makeBundle("icon.png", png(40, 20, kBlue));
    auto wide = render(8);
    for (std::size_t row = 0; row < 8; ++row) {
        EXPECT_EQ(wide.pixels[row * 8], row >= 2 && row < 6 ? kBlue : 0U) << row;
    }
    makeBundle("icon.png", png(1, 4000, kBlue)); // thinner than a pixel
    auto thin = render(8);
    EXPECT_EQ(std::ranges::count(thin.pixels, 0U), 56);
}

TEST(BundleIcon, HasPremultipliedColours) {
    makeBundle("icon.png", png(16, 16, 0x80FF0000));
    expectColour(16, 0x80800000);
    makeBundle("icon.png", png(16, 16, 0x00FFFFFF));
    expectColour(16, 0);
}

TEST(BundleIcon, NameMayLackItsExtension) {
    makeBundle("Tool.icns", usualIcons());
    writeInformation("<key>CFBundleIconFile</key><string>Tool</string>");
    expectColour(48, kBlue);
}

TEST(BundleIcon, IsEmptyWithoutAFileToTakeItFrom) {
    expectEmpty(); // not even a bundle
    sandbox::makeFolder(bundle());
    expectEmpty();
    sandbox::writeFile(bundle() + "/Contents/Info.plist", "garbage");
    expectEmpty();
    for (const char* properties : {"", "<key>CFBundleIconFile</key><string></string>",
                                   "<key>CFBundleIconFile</key><integer>1</integer>",
                                   "<key>CFBundleIconFile</key><string>none.icns</string>"}) {
        writeInformation(properties);
        expectEmpty();
    }
    sandbox::makeFolder(resource("none.icns"));
    expectEmpty();
    std::filesystem::remove(resource("none.icns"));
    ASSERT_EQ(mkfifo(resource("none.icns").c_str(), 0600), 0); // and nobody waits for it
    expectEmpty();
}

TEST(BundleIcon, IsEmptyForDamagedFiles) {
    const auto sound = usualIcons();
    const auto picture = png(64, 64, kBlue);
    for (const auto& bytes :
         {QByteArray(), QByteArray("icns"), QByteArray("garbage"), icns({}), icns(QByteArray(100, '\xFF')),
          icns(entry("ic07", "garbage")), icns("ic07" + bigEndian(1 << 30)), icns("ic07" + bigEndian(0)),
          sound.left(20), picture.left(8), picture.left(30),
          QByteArray("\x89PNG\r\n\x1A\n") + QByteArray(500, 'x')}) {
        makeBundle("Tool.icns", bytes);
        SCOPED_TRACE(bytes.left(40).toHex().toStdString());
        expectEmpty();
    }
}

TEST(BundleIcon, IsNothingButAnIconOrAGraphic) {
    QImage image(16, 16, QImage::Format_RGB32);
    image.fill(kRed);
    for (const auto& bytes : {encoded(image, "BMP"), encoded(image, "JPG"), encoded(image, "PPM"),
                              QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><rect "
                                         "width='9' height='9'/></svg>")}) {
        makeBundle("icon.png", bytes);
        expectEmpty();
    }
}

TEST(BundleIcon, IsRefusedWhenItIsHuge) {
    makeBundle("icon.png", png(4096, 1, kBlue));
    EXPECT_FALSE(render(48).pixels.empty());
    makeBundle("icon.png", png(4097, 1, kBlue));
    expectEmpty();
    makeBundle("icon.png", png(1, 4097, kBlue));
    expectEmpty();
    makeBundle("icon.png", boastingPng(100'000));
    expectEmpty();
    makeBundle("Tool.icns", icns(entry("ic08", boastingPng(30'000))));
    expectEmpty();
    makeBundle("Tool.icns", usualIcons());
    std::filesystem::resize_file(resource("Tool.icns"), (std::size_t{32} << 20) + 1);
    expectEmpty();
}

TEST(BundleIcon, HasManyImagesAtMost) {
    QByteArray entries;
    for (int i = 0; i < 200; ++i) {
        entries += entry("ic07", jpeg2000());
    }
    makeBundle("Tool.icns", icns(entries));
    expectEmpty();
}

TEST(BundleIcon, NeedsASizeToBeDrawnIn) {
    makeBundle("Tool.icns", usualIcons());
    EXPECT_TRUE(render(0).pixels.empty());
    EXPECT_TRUE(render(-1).pixels.empty());
    expectColour(1, kRed);
}

TEST(BundleIcon, IsReadWhenItIsDrawn) {
    BundleIcon icon(bundle());
    makeBundle("icon.png", png(16, 16, kRed));
    EXPECT_EQ(icon.render(1).pixels, std::vector<std::uint32_t>{kRed});
    makeBundle("icon.png", png(16, 16, kGreen));
    EXPECT_EQ(icon.render(1).pixels, std::vector<std::uint32_t>{kGreen});
}

TEST(BundleIcon, MayBeDrawnOnManyThreads) {
    makeBundle("Tool.icns", usualIcons());
    const auto expected = render(48);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                EXPECT_EQ(render(48).pixels, expected.pixels);
            }
        });
    }
}
