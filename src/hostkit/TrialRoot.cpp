// SPDX-License-Identifier: MIT
#include "TrialRoot.h"

#include "Failure.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <filesystem>

namespace {

constexpr char kConfig[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<Config>
    <Language>en-us</Language>
    <HistoryData>
        <LatestSimLockState>1</LatestSimLockState>
        <LatestIMSI></LatestIMSI>
    </HistoryData>
</Config>
)";

void makeDirectory(const QString &directory)
{
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(directory).toStdString(), error);
    if (error) {
        failRun(QStringLiteral("the directory %1 cannot be created: %2; choose a root that you may "
                               "write with --root DIR")
                    .arg(directory, QString::fromLocal8Bit(error.message().c_str())));
    }
}

void writeSettings(const QString &file, const QList<std::pair<QString, QString>> &values)
{
    if (QFileInfo::exists(file))
        return;
    makeDirectory(QFileInfo(file).path());
    QSettings settings(file, QSettings::IniFormat);
    for (const auto &[key, value] : values)
        settings.setValue(key, value);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        failRun(QStringLiteral("%1 cannot be written; choose a root that you may write with "
                               "--root DIR")
                    .arg(file));
    }
}

} // namespace

bool TrialRoot::isNew() const
{
    return !QFileInfo::exists(settingsFile())
        || !QFileInfo::exists(m_directory + QStringLiteral("/usr/local/vl_bk_userdata"));
}

QString TrialRoot::settingsFile() const
{
    return m_directory + QStringLiteral("/SysConfig.dat");
}

void TrialRoot::prepareSettings() const
{
    const QString versionKey = QStringLiteral("EHIDS_PRODUCT_VERSION/VALUE");
    const QString volume = m_directory + QStringLiteral("/Volumes/Brisklane/");
    writeSettings(m_directory + QStringLiteral("/Library/StartupItems/VLPortDetect/config"),
                  {{QStringLiteral("Volumes/path1"), volume},
                   {QStringLiteral("Volumes/name"), QStringLiteral("Brisklane")}});
    writeSettings(volume
                      + QStringLiteral("Contents/Resources/Brisklane.mpkg/Contents/Resources/"
                                       "SysConfig.dat"),
                  {{versionKey, QStringLiteral("11.302.09.01.000")}});
    writeSettings(
        settingsFile(),
        {{QStringLiteral("EHIDS_PRODUCT_VERSION/APP_INSTALL_PATH"), QStringLiteral("Brisk Lane")},
         {versionKey, QStringLiteral("11.302.09.00.000")}});
}

void TrialRoot::prepareDataDirectory(const QString &dataDirectory) const
{
    makeDirectory(dataDirectory);
    QFile config(dataDirectory + QStringLiteral("Config.xml"));
    if (!config.exists() && (!config.open(QIODevice::WriteOnly) || config.write(kConfig) < 0)) {
        failRun(QStringLiteral("%1 cannot be written: %2; choose a root that you may write with "
                               "--root DIR")
                    .arg(config.fileName(), config.errorString()));
    }
}
