// SPDX-License-Identifier: MIT

// Draws the pages of the window into PNG files for the documentation: script/screenshots runs it
// on a display of its own.

#include "LogTap.h"
#include "MainWindow.h"
#include "WindowUnderTest.h"

#include <QApplication>
#include <QDir>
#include <QScreen>
#include <QStyleFactory>
#include <QTabWidget>
#include <QTest>

namespace {

QPalette darkPalette()
{
    QPalette palette(QColor(0x2d2d30));
    palette.setColor(QPalette::Base, QColor(0x1e1e20));
    palette.setColor(QPalette::AlternateBase, QColor(0x3a3a3e));
    palette.setColor(QPalette::ToolTipBase, QColor(0x4a4023));
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::Highlight, QColor(0x3d8ee0));
    return palette;
}

struct Picture
{
    const char *name;
    const char *page;
    QSize size;
    bool dark = false;
    const char *language = "en";
};

constexpr Picture kPictures[] = {
    {"window", "Report", {900, 620}},
    {"window-dark", "Report", {900, 620}, true},
    {"window-timeline", "Time line", {900, 480}},
    {"window-emulated", "Emulated card", {480, 640}},
    {"window-interface", "Interface", {700, 560}},
    {"window-narrow", "Report", {320, 560}},
    {"window-narrow-sms", "SMS", {320, 480}, true},
    {"window-german", "Bericht", {720, 480}, false, "de"},
};

// A short life of the card, so that the pages have something to show.
void play(const DeviceServiceControl &control)
{
    const auto set = [&](const char *field, const char *value) {
        control.setField(field, value);
        QTest::qWait(600);
    };
    set("Network/SubMode", "42");
    set("Network/PLMN", "26201");
    control.remove();
    QTest::qWait(600);
    control.insert();
    QTest::qWait(600);
    set("Network/SubMode", "101");
}

} // namespace

int main(int argc, char **argv)
{
    beLoadCheck(argc, argv);
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("fusion"));
    const QPalette light = QApplication::palette();
    // Loading the plug-in changes the working directory.
    const QDir folder(QDir(QString::fromLocal8Bit(argv[1])).absolutePath());
    WindowUnderTest test({"lte"});
    test.window.show();
    if (!test.opens())
        return EXIT_FAILURE;
    play(*test.session.deviceService()->control());
    for (const Picture &picture : kPictures) {
        QApplication::setPalette(picture.dark ? darkPalette() : light);
        test.window.setLanguage(QString::fromLatin1(picture.language));
        QTest::qWait(100);
        test.window.resize(picture.size);
        test.showPage(picture.page);
        QTest::qWait(700);
        const QPixmap seen = test.window.screen()->grabWindow(test.window.winId());
        if (!seen.save(folder.filePath(QLatin1String(picture.name) + QStringLiteral(".png"))))
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
