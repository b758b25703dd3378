// SPDX-License-Identifier: MIT
#include "DeviceServiceLibrary.h"

#include "CallTrace.h"
#include "ElfFile.h"
#include "Failure.h"
#include "Suggestion.h"
#include "VisibleText.h"
#include "shared/DeviceServiceFunctions.h"

#include <QFileInfo>

#include <dlfcn.h>

QString DeviceServiceLibrary::find(const QString &file, const QString &plugin)
{
    if (!file.isEmpty())
        return QFileInfo(file).absoluteFilePath();
    const QString beside = QFileInfo(plugin).absolutePath() + QLatin1Char('/') + fileName();
    return QFileInfo::exists(beside) ? beside : fileName();
}

DeviceServiceLibrary::DeviceServiceLibrary(const QString &file, CallTrace *trace) : m_file(file)
{
    // The path of a library that could not be loaded is not known. Its name alone would find the
    // tap.
    const bool traced = trace && QFileInfo(m_file).isAbsolute();
    if (traced)
        CallTrace::load();
    QLibrary library(m_file);
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    if (!library.load()) {
        failRun(QStringLiteral("the device-service library cannot be loaded: %1; put %2 beside the "
                               "plug-in, or name it with --sdk FILE")
                    .arg(library.errorString(), fileName()));
    }
    requireSoname();
    resolveFunctions(library);
    if (const auto getControl = reinterpret_cast<DevSrvGetControlFunction>(
            library.resolve("DevSrv_GetControl")))
        m_control = getControl();
    if (traced)
        trace->connectTo(m_file);
}

QString DeviceServiceLibrary::loadedFile() const
{
    Dl_info info;
    const QFunctionPointer function = m_functions.value(shared::kDeviceServiceFunctions[0].name);
    if (QFileInfo(m_file).isAbsolute() || !dladdr(reinterpret_cast<void *>(function), &info))
        return m_file;
    return QFileInfo(QFile::decodeName(info.dli_fname)).absoluteFilePath();
}

// The plug-in asks for the device service by its soname: it would load another library, or none.
void DeviceServiceLibrary::requireSoname() const
{
    const auto facts = readElf(m_file);
    if (!facts || facts->soname == fileName())
        return;
    failRun(QStringLiteral("%1 has the soname \"%2\", and the plug-in needs %3; link the library "
                           "with -Wl,-soname,%3")
                .arg(m_file, visible(facts->soname), fileName()));
}

void DeviceServiceLibrary::resolveFunctions(QLibrary &library)
{
    QStringList missing;
    for (const auto &function : shared::kDeviceServiceFunctions) {
        m_functions[function.name] = library.resolve(function.name);
        if (!m_functions[function.name])
            missing << QLatin1String(function.name);
    }
    if (!missing.isEmpty()) {
        failRun(QStringLiteral("%1 lacks functions that the plug-in needs: %2; \"kestrun inspect "
                               "--sdk FILE\" shows what each is for")
                    .arg(m_file, missing.join(QStringLiteral(", "))));
    }
}

void DeviceServiceLibrary::start(const QString &card)
{
    const DeviceServiceControl &control = requireControl();
    if (control.start(fileOrName(card).toUtf8().constData()) == 0)
        return;
    const QString reason = QString::fromUtf8(control.lastError());
    const QString name = card.section(QLatin1Char(':'), 0, 0).section(QLatin1Char('?'), 0, 0);
    const QStringList names = cardNames();
    failRun(names.contains(name) ? reason : reason + suggestion(card, names));
}

QString DeviceServiceLibrary::source() const
{
    if (m_control && m_control->size > offsetof(DeviceServiceControl, activeCard))
        return QString::fromUtf8(m_control->activeCard());
    return m_file;
}

QStringList DeviceServiceLibrary::cardNames() const
{
    QStringList names;
    const char *about = nullptr;
    for (std::int32_t index = 0; const char *name = requireControl().shippedCard(index, &about);
         ++index)
        names << QString::fromUtf8(name);
    for (const DevSrvBackend &backend : backends())
        names << QString::fromUtf8(backend.name);
    return names;
}

QList<DevSrvBackend> DeviceServiceLibrary::backends() const
{
    const DeviceServiceControl &control = requireControl();
    QList<DevSrvBackend> backends;
    if (control.size <= offsetof(DeviceServiceControl, backend))
        return backends;
    for (std::int32_t index = 0; const DevSrvBackend *backend = control.backend(index); ++index)
        backends << *backend;
    return backends;
}

QList<std::pair<QString, QString>> DeviceServiceLibrary::devices(const char *backend,
                                                                 QString &why) const
{
    const DeviceServiceControl &control = requireControl();
    QList<std::pair<QString, QString>> devices;
    if (control.size <= offsetof(DeviceServiceControl, device))
        return devices;
    const char *about = nullptr;
    for (std::int32_t index = 0; const char *name = control.device(backend, index, &about); ++index)
        devices.append({QString::fromUtf8(name), QString::fromUtf8(about)});
    why = QString::fromUtf8(control.lastError());
    return devices;
}

std::int32_t DeviceServiceLibrary::loadCard(const QString &card)
{
    return requireControl().loadCard(fileOrName(card).toUtf8().constData());
}

// The working directory changes after the start of the host.
QString DeviceServiceLibrary::fileOrName(const QString &card) const
{
    bool shipped = false;
    const char *about = nullptr;
    for (std::int32_t index = 0; const char *name = requireControl().shippedCard(index, &about);
         ++index)
        shipped = shipped || card == QLatin1String(name);
    const QString file = m_directory.absoluteFilePath(card);
    return !shipped && QFileInfo(file).isFile() ? file : card;
}

void DeviceServiceLibrary::stop()
{
    if (m_control)
        m_control->stop();
}

const DeviceServiceControl &DeviceServiceLibrary::requireControl() const
{
    if (!m_control) {
        failRun(QStringLiteral("%1 is not this project's device service: cards cannot be chosen or "
                               "changed; leave out --card, or name another library with --sdk FILE")
                    .arg(m_file));
    }
    return *m_control;
}

QString DeviceServiceLibrary::fileName()
{
#if defined(Q_OS_MACOS)
    return QStringLiteral("libsdk.1.dylib");
#else
    return QStringLiteral("libsdk.so.1");
#endif
}
