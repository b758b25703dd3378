// SPDX-License-Identifier: MIT

// Whatever "SysConfig.dat" has, the data directory is below the fixed one, and its name has no
// blank.
#include "Fuzz.h"
#include "kestrun/CollectionDataLogic.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

void fuzzOne(const QByteArray &input)
{
    // Each input has its own directory, since Qt caches settings by name, time and size.
    const QTemporaryDir directory;
    const QString before = QDir::currentPath();
    QDir::setCurrent(directory.path());
    QFile file(QStringLiteral("SysConfig.dat"));
    require(file.open(QIODevice::WriteOnly) && file.write(input) == input.size());
    file.close();
    std::wstring path;
    CCollectionDataLogic::GetInstance()->GetPath(path);
    QDir::setCurrent(before);

    const QString begin = QStringLiteral("/usr/local/vl_bk_userdata/");
    const QString end = QStringLiteral("/OnlineUpdate/OnlineUpdate Data/");
    const QString whole = QString::fromStdWString(path);
    require(whole.startsWith(begin) && whole.endsWith(end));
    const QString name = whole.mid(begin.size()).chopped(end.size());
    require(!name.isEmpty() && !name.contains(u' '));
}
