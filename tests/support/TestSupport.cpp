// SPDX-License-Identifier: MIT
#include "TestSupport.h"

#include "TestData.h"
#include "kestrun/KestrunHostTable.h"

#include <QDir>
#include <QMutex>
#include <QRegularExpression>

namespace {

QMutex s_mutex;
QStringList s_lines;

void capture(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    static const QRegularExpression time("\\d\\d:\\d\\d:\\d\\d:\\d\\d\\d");
    QString line = message;
    line.replace(time, "T");
    const QMutexLocker lock(&s_mutex);
    s_lines << (type == QtWarningMsg ? "W " : QString()) + line;
}

} // namespace

TestRoot::TestRoot() : m_workingDirectory(QDir::currentPath())
{
    KestrunSetSystemRoot(m_directory.path().toUtf8().constData());
    QDir::setCurrent(m_directory.path());
    QDir().mkpath(dataFile({}));
}

TestRoot::~TestRoot()
{
    KestrunSetSystemRoot(nullptr);
    QDir::setCurrent(m_workingDirectory);
}

QString TestRoot::dataFile(const QString &name) const
{
    return path("usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/OnlineUpdate Data/" + name);
}

void TestRoot::write(const QString &file, const QByteArray &content) const
{
    writeFile(QDir::isAbsolutePath(file) ? file : path(file), content);
}

LogCapture::LogCapture()
{
    s_lines.clear();
    qInstallMessageHandler(capture);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(nullptr);
}

QStringList LogCapture::lines() const
{
    const QMutexLocker lock(&s_mutex);
    return s_lines;
}

const DeviceServiceControl &startCard(const char *card)
{
    const DeviceServiceControl &control = *DevSrv_GetControl();
    control.setEventDelivery(DEVSRV_EVENTS_AT_ONCE);
    if (control.start("emulated") != 0 || control.loadCard(card) != 0)
        qFatal("%s", control.lastError());
    return control;
}

QStringList journal()
{
    return QString::fromUtf8(DevSrv_GetControl()->journal()).split('\n', Qt::SkipEmptyParts);
}

void setFault(const char *function, const DevSrvFault &fault)
{
    if (DevSrv_GetControl()->setFault(function, &fault) != 0)
        qFatal("%s", DevSrv_GetControl()->lastError());
}
