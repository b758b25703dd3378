// SPDX-License-Identifier: MIT
#include "ReportFiles.h"
#include "StorageLocation.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"
#include "kestrun/KestrunHostTable.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <clocale>
#include <dlfcn.h>
#include <filesystem>
#include <tuple>
#include <unistd.h>

namespace {

QByteArrayList s_commands;

int permissions(const QString &file)
{
    return int(std::filesystem::status(file.toStdString()).permissions());
}

// The first names have one character each; the others are random sequences of what shells act on.
QString productName(int number, QRandomGenerator &random)
{
    if (number < 0x100 && number != '/')
        return QString("a %1b").arg(QChar(number));
    static const QList<TableRow> parts = readTable("shell-parts.txt");
    QString name = "n";
    for (int part = random.bounded(1, 6); part > 0; --part)
        name += parts.at(random.bounded(int(parts.size())))["text"];
    return name;
}

} // namespace

// Replaces the function of the C library: records the command, then runs it.
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

    void namesDataDirectoryAfterProduct_data() { addRows("data-directories.txt"); }

    void namesDataDirectoryAfterProduct()
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

    // Serialized lists in lists would take the whole stack.
    void readsNoObjects()
    {
        const TestRoot root;
        const QByteArray level = "\\0\\0\\0\\x9\\0\\0\\0\\0\\x1";
        const QByteArray object = "@Variant(" + level.repeated(18'000) + ")\n";
        root.write("SysConfig.dat",
                   "[EHIDS_PRODUCT_VERSION]\nother=" + object + "VALUE=" + object
                       + "APP_INSTALL_PATH=name\n");
        QVERIFY(kestrun::currentDataDirectory().path.contains("/name/"));
    }

    // Within one tick of the clock, and of the same size.
    void readsChangedSettings()
    {
        const TestRoot root;
        for (const QByteArray name : {"ab", "cd", "ef"}) {
            root.write("SysConfig.dat", "[EHIDS_PRODUCT_VERSION]\nAPP_INSTALL_PATH=" + name);
            QVERIFY(kestrun::currentDataDirectory().path.contains('/' + name + '/'));
        }
    }

    void writesNothingToForeignDirectory_data() { addRows("foreign-directories.txt"); }

    // Settings of another user must not lead root elsewhere.
    void writesNothingToForeignDirectory()
    {
        if (geteuid() != 0)
            QSKIP("Only root writes where other users may not.");
        const TestRoot root;
        root.write("SysConfig.dat",
                   "[EHIDS_PRODUCT_VERSION]\nAPP_INSTALL_PATH=" + cell("name").toUtf8());
        const QString settings = root.path("SysConfig.dat");
        const QString directory = kestrun::currentDataDirectory().path;
        QVERIFY(QDir().mkpath(directory));
        for (const auto &[owner, isLink] : {std::pair(0U, false), {1234U, false}, {1234U, true}}) {
            QCOMPARE(chown(settings.toLocal8Bit(), isLink ? 0 : owner, 0), 0);
            if (isLink) {
                QVERIFY(QFile::rename(settings, root.path("target")));
                QVERIFY(QFile::link(root.path("target"), settings));
                QCOMPARE(lchown(settings.toLocal8Bit(), owner, 0), 0);
            }
            QFile::remove(directory + "UpdateRule.dat");
            const LogCapture log;
            kestrun::writeReportFile("<report/>");
            kestrun::updateConfigFile("1", "module");
            const bool written = cell("written") == "yes" || owner == 0;
            QCOMPARE(QFile::exists(directory + "UpdateRule.dat"), written);
            // A warning is not repeated.
            QCOMPARE(log.lines().filter("another user's SysConfig.dat").size(),
                     written || isLink ? 0 : 1);
        }
    }

    // In GBK the second byte of a character may be a backquote.
    void keepsMultiByteLocalesFromShell()
    {
        const TestRoot root;
        QProcess localedef;
        localedef.start("localedef", {"-f", "GBK", "-i", "zh_CN", root.path("zh_CN.GBK")});
        if (!localedef.waitForFinished(60'000) || !QFile::exists(root.path("zh_CN.GBK/LC_CTYPE")))
            QSKIP("The system has no sources of locales.");
        const QByteArray before = qgetenv("LC_ALL");
        qputenv("LOCPATH", root.path().toLocal8Bit());
        for (const auto &[locale, name, commands] :
             {std::tuple("zh_CN.GBK", "\u4e2d", 0), std::tuple("zh_CN.GBK", "a b", 3),
              std::tuple("C.UTF-8", "\u4e2d", 3), std::tuple("C", "\u4e2d", 3)}) {
            qputenv("LC_ALL", locale);
            s_commands.clear();
            const QString file = root.path(name);
            root.write(file, "x");
            QFile::setPermissions(file, QFile::ReadOwner);
            setFilePermissions(QString::fromLatin1(file.toUtf8()));
            QCOMPARE(s_commands.size(), commands);
            QCOMPARE(permissions(file), 0777);
        }
        qputenv("LC_ALL", before);
        qunsetenv("LOCPATH");
    }

    void changesNoFileBeforeNul()
    {
        const TestRoot root;
        root.write("file", "x");
        QFile::setPermissions(root.path("file"), QFile::ReadOwner);
        QVERIFY(setFilePermissions(root.path("file") + QChar(u'\0') + "name"));
        QCOMPARE(permissions(root.path("file")), 0400);
        QCOMPARE(s_commands, QByteArrayList());
    }

    void escapesForShell()
    {
        QString text = "!@~`#$%^&()+=,'[]; a*b\\\"|<>?{}";
        ParseEscapeChar(text);
        QCOMPARE(text,
                 "\\!\\@\\~\\`\\#\\$\\%\\^\\&\\(\\)\\+\\=\\,\\'\\[\\]\\; "
                 "a*b\\\"|<>?{}");
    }

    void setsPermissionsByThreeCommands()
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

    // Runs real shells on random names: no name may run, create or change anything else.
    void setsPermissionsWhateverTheName()
    {
        const TestRoot root;
        root.write("bystander", "x");
        QFile::setPermissions(root.path("bystander"), QFile::ReadOwner);
        QRandomGenerator random(1);
        for (int number = 1; number <= repeats(10'000); ++number) {
            const QString name = productName(number, random);
            const QString file = root.path(name);
            root.write(file, "x");
            QFile::setPermissions(file, QFile::ReadOwner);
            s_commands.clear();
            const LogCapture log;
            // The writer of the report passes the UTF-8 bytes as Latin-1.
            QVERIFY(setFilePermissions(QString::fromLatin1(file.toUtf8())));
            const bool byShell = !name.contains(
                QRegularExpression("[|<>\"\\\\*?{}\\x01-\\x1f\\x7f]"));
            const QByteArray shown = name.toUtf8().toPercentEncoding();
            QVERIFY2(permissions(file) == 0777, shown);
            QVERIFY2(permissions(root.path("bystander")) == 0400, shown);
            QVERIFY2(s_commands.size() == (byShell ? 3 : 0), shown);
            QVERIFY2(log.lines().size() == (byShell ? 0 : 1), shown);
            QVERIFY2(QFile::remove(file), shown);
            QCOMPARE(QDir(root.path())
                         .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden
                                    | QDir::System),
                     (QStringList{"bystander", "usr"}));
        }
    }

    void ignoresMissingFile() { QVERIFY(setFilePermissions("/no/such/file")); }

    void convertsUpToNul()
    {
        std::setlocale(LC_ALL, "C.UTF-8");
        QCOMPARE(AnsiToUtf8(std::string("a\xC3\xA9\0b", 5)), std::string("a\xC3\xA9"));
        QCOMPARE(UnicodeToAnsi(std::wstring(L"a\u00e9\0b", 4)), std::string("a\xC3\xA9"));
    }
};

QTEST_APPLESS_MAIN(tst_Storage)
#include "tst_storage.moc"
