// SPDX-License-Identifier: MIT
#include "StorageLocation.h"
#include "TestData.h"
#include "TestSupport.h"
#include "kestrun/CollectionDataLogic.h"
#include "kestrun/KestrunHostTable.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
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

// Every character by itself, then whatever comes of what shells act on.
QString productName(int number, QRandomGenerator &random)
{
    if (number < 0x100 && number != '/')
        return QString("a %1b").arg(QChar(number));
    static const QStringList parts{" ",
                                   "  ",
                                   "$(touch hit)",
                                   "`touch hit`",
                                   ";touch hit",
                                   "|touch hit",
                                   "&touch hit&",
                                   "\ntouch hit\n",
                                   ">hit",
                                   "*",
                                   "?",
                                   "[a-z]*",
                                   "{a,b}",
                                   "~",
                                   "$HOME",
                                   "${IFS}",
                                   "\"",
                                   "'",
                                   "\\",
                                   "#",
                                   "!!",
                                   "-R",
                                   "--",
                                   "=",
                                   "%s",
                                   "\t",
                                   "\x7f",
                                   "\u00e4",
                                   "\u0416",
                                   "\u20ac",
                                   "a",
                                   "Z9"};
    QString name = "n";
    for (int part = random.bounded(1, 6); part > 0; --part)
        name += parts.at(random.bounded(int(parts.size())));
    return name;
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

    // 10,000 names, for real: each gets its bits, nothing else is run, made or touched.
    void everyNameGetsItsBits()
    {
        const TestRoot root;
        root.write("bystander", "x");
        QFile::setPermissions(root.path("bystander"), QFile::ReadOwner);
        QRandomGenerator random(1);
        for (int number = 1; number <= 10'000; ++number) {
            const QString name = productName(number, random);
            const QString file = root.path(name);
            root.write(file, "x");
            QFile::setPermissions(file, QFile::ReadOwner);
            s_commands.clear();
            const LogCapture log;
            // As the report's writer passes it.
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
