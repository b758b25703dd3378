// SPDX-License-Identifier: MIT
#include "CollectionDataLogic.h"
#include "PluginEntry.h"
#include "StorageLocation.h"
#include "TestData.h"
#include "TestSupport.h"

#include <QFileInfo>
#include <QTest>

#include <clocale>
#include <dlfcn.h>
#include <filesystem>

namespace {

QByteArrayList s_commands;

int permissions(const QString &file)
{
    return int(std::filesystem::status(file.toStdString()).permissions());
}

} // namespace

// Stands before the C library's own: takes down the commands, then runs them for real.
extern "C" int system(const char *command)
{
    s_commands << command;
    static const auto real = reinterpret_cast<int (*)(const char *)>(dlsym(RTLD_NEXT, "system"));
    return real(command);
}

class tst_Storage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { s_commands.clear(); }

    void dataDirectory_data() { addRows("data-directories.txt"); }

    void dataDirectory()
    {
        const TestRoot root;
        if (const QString settings = cell("settings"); !settings.isEmpty())
            root.write("SysConfig.dat", settings.toUtf8());
        KestrunSetSystemRoot("/");
        std::wstring path = L"to be replaced";
        CCollectionDataLogic::GetInstance()->GetPath(path);
        QCOMPARE(QString::fromStdWString(path),
                 "/usr/local/vl_bk_userdata/" + cell("name") + "/OnlineUpdate/OnlineUpdate Data/");
        CCollectionDataLogic::Destroy();
    }

    void escapes()
    {
        QString text = "!@~`#$%^&()+=,'[]; a*b\\\"|<>?{}";
        ParseEscapeChar(text);
        QCOMPARE(text,
                 "\\!\\@\\~\\`\\#\\$\\%\\^\\&\\(\\)\\+\\=\\,\\'\\[\\]\\; "
                 "a*b\\\"|<>?{}");
    }

    void threeCommands()
    {
        const TestRoot root;
        root.write(root.report(), "x");
        QFile::setPermissions(root.report(), QFile::ReadOwner);
        QVERIFY(setFilePermissions(root.report()));
        const QByteArray path = root.report().replace(u' ', "\" \"").toUtf8();
        QCOMPARE(
            s_commands,
            (QByteArrayList{"chmod u+wrx " + path, "chmod o+wrx " + path, "chmod g+wrx " + path}));
        QCOMPARE(permissions(root.report()), 0777);
    }

    void everyNameGetsItsBits_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("byShell");
        for (int code = 1; code < 0x100; ++code) {
            const QChar character(code);
            if (character == u'/')
                continue;
            const bool acts = code < 0x20 || QString("|<>\"\\*?{}\x7f").contains(character);
            QTest::addRow("0x%02x", code) << QString("a %1b").arg(character) << !acts;
        }
        QTest::newRow("substitution") << "$(touch hit)`touch hit`" << true;
        QTest::newRow("sequence") << "; touch hit & touch hit" << true;
        QTest::newRow("pipe") << "x | touch hit" << false;
        QTest::newRow("new line") << "x\ntouch hit" << false;
        QTest::newRow("glob") << "*" << false;
        QTest::newRow("outside Latin-1") << "\u0416" << false;
    }

    void everyNameGetsItsBits()
    {
        QFETCH(QString, name);
        QFETCH(bool, byShell);
        const TestRoot root;
        const QString file = root.path(name);
        root.write(file, "x");
        root.write("bystander", "x");
        QFile::setPermissions(file, QFile::ReadOwner);
        QFile::setPermissions(root.path("bystander"), QFile::ReadOwner);
        // As the report's writer passes it.
        const bool latin1 = QString::fromLatin1(name.toLatin1()) == name;
        const LogCapture log;
        QVERIFY(setFilePermissions(latin1 ? QString::fromLatin1(file.toUtf8()) : file));
        QCOMPARE(permissions(file), 0777);
        QCOMPARE(permissions(root.path("bystander")), 0400);
        QVERIFY(!QFileInfo::exists(root.path("hit")));
        QCOMPARE(s_commands.size(), byShell ? 3 : 0);
        QCOMPARE(log.lines().size(), byShell ? 0 : 1);
    }

    void aMissingFileIsNoFailure() { QVERIFY(setFilePermissions("/no/such/file")); }

    void conversions()
    {
        std::setlocale(LC_ALL, "C.UTF-8");
        QCOMPARE(AnsiToUtf8(std::string("a\xC3\xA9\0b", 5)), std::string("a\xC3\xA9"));
        QCOMPARE(UnicodeToAnsi(std::wstring(L"a\u00e9\0b", 4)), std::string("a\xC3\xA9"));
    }
};

QTEST_APPLESS_MAIN(tst_Storage)
#include "tst_storage.moc"
