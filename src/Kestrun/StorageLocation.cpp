// SPDX-License-Identifier: MIT
#include "StorageLocation.h"

#include "DataFile.h"
#include "IniFile.h"
#include "Platform.h"

#include <QDir>
#include <QFile>
#include <QtDebug>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <string_view>

#include <langinfo.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrun {

namespace {

constexpr std::string_view kEscapeSet = "!@~`#$%^&()+=,'[];";

// Returns false for characters that the shell or chmod would interpret and that ParseEscapeChar()
// does not escape.
bool isPlainWord(const QString &path)
{
    const auto isInterpreted = [](QChar character) {
        return character < u' ' || character == QChar(0x7f) || character > QChar(0xff)
            || QStringLiteral("|<>\"\\*?{}").contains(character);
    };
    return !path.isEmpty() && !path.startsWith(u'-')
        && std::none_of(path.begin(), path.end(), isInterpreted);
}

// Returns true if the shell reads each byte above 0x7f by itself or as a part of UTF-8. In other
// encodings the second byte of a character may be one on which the shell acts. The shell takes its
// locale from the environment, whatever this process has set for itself.
bool shellReadsBytes()
{
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", locale_t(0));
    if (locale == locale_t(0))
        return true; // neither does the shell have that locale; it falls back to "C"
    const locale_t before = uselocale(locale);
    const bool reads = MB_CUR_MAX == 1
        || std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
    uselocale(before);
    freelocale(locale);
    return reads;
}

// Returns true if the shell reads the path as one plain word.
bool isForShell(const QString &path)
{
    const auto isAbove7f = [](QChar character) { return character > QChar(0x7f); };
    return isPlainWord(path)
        && (std::none_of(path.begin(), path.end(), isAbove7f) || shellReadsBytes());
}

// Returns the bytes of the path, which the report writer passes as UTF-8 read as Latin-1.
QByteArray fileName(const QString &path)
{
    const QByteArray bytes = path.toLatin1();
    return QString::fromLatin1(bytes) == path ? bytes : QFile::encodeName(path);
}

// The directory that has those of all products.
QString userData()
{
    return systemLocation(QStringLiteral("/usr/local/vl_bk_userdata/"));
}

// Returns true if the path stays below the directory of all products and can be shown in a log.
bool isHarmless(const QString &path)
{
    const auto isControl = [](QChar character) {
        return character < u' ' || character == QChar(0x7f);
    };
    return QDir::cleanPath(path).startsWith(QDir::cleanPath(userData()) + u'/')
        && std::none_of(path.begin(), path.end(), isControl);
}

void runShell(const QString &command)
{
    // A failure is ignored, since the file may belong to another user.
    [[maybe_unused]] const int status = std::system(command.toLatin1().constData());
}

} // namespace

QString dataDirectory(const QString &installPath)
{
    // No file name has a NUL: some calls would take only what precedes it.
    const bool missing = installPath.isEmpty() || installPath.contains(QChar(u'\0'));
    QString name = missing ? QStringLiteral("Brisk_Lane") : installPath;
    name.replace(u' ', u'_');
    return userData() + name + QStringLiteral("/OnlineUpdate/OnlineUpdate Data/");
}

DataDirectory currentDataDirectory()
{
    const IniFile settings(QStringLiteral("SysConfig.dat"));
    const QString path = dataDirectory(
        settings.value(QStringLiteral("EHIDS_PRODUCT_VERSION/APP_INSTALL_PATH")));
    const bool foreign = geteuid() == 0 && settings.owner() != 0;
    return {path, !foreign || isHarmless(path)};
}

} // namespace kestrun

using namespace kestrun;

bool setFilePermissions(QString path)
{
    const QByteArray file = fileName(path);
    if (!mayChangeMode(file))
        return true;
    if (!isForShell(path)) {
        qWarning("setFilePermissions: \"%s\" is not passed to the shell: it has characters that "
                 "would act there; the permissions are added directly",
                 qUtf8Printable(path));
        addMode(file, S_IRWXU | S_IRWXG | S_IRWXO);
        return true;
    }
    ParseEscapeChar(path);
    // Each blank is quoted, so that the shell reads the path as one word.
    path.replace(QStringLiteral(" "), QStringLiteral("\" \""));
    runShell(QStringLiteral("chmod u+wrx ") + path);
    runShell(QStringLiteral("chmod o+wrx ") + path);
    runShell(QStringLiteral("chmod g+wrx ") + path);
    return true;
}

void ParseEscapeChar(QString &text)
{
    for (const char character : kEscapeSet) {
        const QLatin1Char special(character);
        text.replace(special, QString(QLatin1Char('\\')) + special);
    }
}

std::string AnsiToUtf8(const std::string &text)
{
    return QString::fromLocal8Bit(text.c_str()).toUtf8().constData();
}

std::string UnicodeToAnsi(const std::wstring &text)
{
    return QString::fromStdWString(text).toLocal8Bit().constData();
}
