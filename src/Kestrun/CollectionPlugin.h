// SPDX-License-Identifier: MIT
#pragma once

#include "kestrun/CollectionDataLogic.h"
#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"

#include <QPointer>

/// The plug-in object: forwards the dashboard's calls to the controller. It has no window, and
/// answers the calls about one with fixed results.
///
/// Runs on the host's thread. The object does not own the controller, which stays alive after the
/// object is deleted and until the host calls CCollectionDataLogic::Destroy().
class CCollectionDataPlugin : public QObject, public IUIPlugin, public INotify
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.velmora.brisklane.plugin.IBasePlugin" FILE "Kestrun.json")
    Q_INTERFACES(IBasePlugin IUIPlugin INotify)

public:
    CCollectionDataPlugin() = default;
    ~CCollectionDataPlugin() override;

    int ShowWindow(QWidget *parent, QRect &rect) override;
    int DoModal() override;
    void Hide() override;
    void FitSize(QRect &rect) override;
    bool IsReady() override;

    /// Creates the controller, registers for device events and writes the first report, with or
    /// without a card. Returns false only if there is no controller.
    bool Init() override;
    int GetPluginType() override;
    QString GetCLSID() override;
    int GetVersion() override;
    QString GetPluginName() override;
    bool IsAllowRelease() override;
    void Release() override;
    int GetLastError() override;

    /// Withdraws the registration for device events.
    void OnDestroy() override;

    /// Does nothing, since OnDestroy() withdraws the registration.
    void UnSDKRegisterEvent() override;
    int Notify(unsigned int message, unsigned int param1, unsigned int param2) override;
    int QueryInterface(int id, QObject **out) override;
    bool ChangeLang(const QString &language) override;

private:
    void Destroy();

    // Null before Init() and after CCollectionDataLogic::Destroy().
    QPointer<CCollectionDataLogic> m_pDataLogic;
};
