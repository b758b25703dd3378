// SPDX-License-Identifier: MIT
#include "StorageLocation.h"

#include "Platform.h"

#include <QFile>
#include <QtDebug>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>

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

// Returns the bytes of the path, which the report writer passes as UTF-8 read as Latin-1.
std::string fileName(const QString &path)
{
    const QByteArray bytes = path.toLatin1();
    return (QString::fromLatin1(bytes) == path ? bytes : QFile::encodeName(path)).toStdString();
}

void runShell(const QString &command)
{
    // A failure is ignored, since the file may belong to another user.
    [[maybe_unused]] const int status = std::system(command.toLatin1().constData());
}

} // namespace

QString dataDirectory(const QString &installPath)
{
    QString name = installPath.isEmpty() ? QStringLiteral("Brisk_Lane") : installPath;
    name.replace(u' ', u'_');
    return systemLocation(QStringLiteral("/usr/local/vl_bk_userdata")) + QLatin1Char('/') + name
        + QStringLiteral("/OnlineUpdate/OnlineUpdate Data/");
}

} // namespace kestrun

using namespace kestrun;

bool setFilePermissions(QString path)
{
    if (!isPlainWord(path)) {
        qWarning("setFilePermissions: \"%s\" is not passed to the shell: it has characters that "
                 "would act there; the permissions are added directly",
                 qUtf8Printable(path));
        std::error_code ignored;
        std::filesystem::permissions(fileName(path), std::filesystem::perms::all,
                                     std::filesystem::perm_options::add, ignored);
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
