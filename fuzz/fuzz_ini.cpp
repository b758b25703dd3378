// SPDX-License-Identifier: MIT

// The plug-in's own reader of INI files gives the text that QSettings gives.
#include "Fuzz.h"
#include "IniFile.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

namespace {

constexpr const char *kKeys[] = {"EHIDS_PRODUCT_VERSION/VALUE",
                                 "EHIDS_PRODUCT_VERSION/APP_INSTALL_PATH", "Volumes/path1", "a/b"};

// Serialized objects are no texts for the plug-in, and lists in them may take QSettings' stack.
bool mayHaveObject(const QByteArray &input)
{
    const QByteArray lower = input.toLower();
    return lower.contains("@variant") || lower.contains("@datetime")
        || (lower.contains('@') && lower.contains('\\'));
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    if (mayHaveObject(input)) {
        for (const char *key : kKeys)
            kestrun::iniValue(input, QLatin1String(key));
        return;
    }
    // Each input has its own directory, since Qt caches settings by name, time and size.
    const QTemporaryDir directory;
    for (const char *key : kKeys) {
        // Each key has its own file, since QSettings keeps the sections of earlier ones.
        QFile file(directory.filePath(QString::number(qHash(QLatin1String(key)))));
        require(file.open(QIODevice::WriteOnly) && file.write(input) == input.size());
        file.close();
        const QSettings settings(file.fileName(), QSettings::IniFormat);
        require(kestrun::iniValue(input, QLatin1String(key))
                == settings.value(QLatin1String(key)).toString());
    }
}
