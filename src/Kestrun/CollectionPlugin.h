// SPDX-License-Identifier: MIT
#pragma once

#include "CollectionDataLogic.h"
#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"

/// The object that the dashboard holds: hands the work to the controller, and answers the calls
/// that concern a window, of which it has none, with fixed results.
///
/// All calls come on the host's thread. The object does not own the controller: it outlives the
/// object, and the host ends it with CCollectionDataLogic::Destroy().
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

    /// Creates the controller, registers for device events and writes the first report, whether
    /// or not there is a card. False only if there is no controller.
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

    /// Does nothing: OnDestroy() withdraws.
    void UnSDKRegisterEvent() override;
    int Notify(unsigned int message, unsigned int param1, unsigned int param2) override;
    int QueryInterface(int id, QObject **out) override;
    bool ChangeLang(const QString &language) override;

private:
    void Destroy();

    CCollectionDataLogic *m_pDataLogic = nullptr;
};
