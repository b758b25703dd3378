// SPDX-License-Identifier: MIT
#include "CollectionPlugin.h"

#include "plugin/PluginEntry.h"

#include <QtDebug>

#include <cstdio>

extern "C" Q_DECL_EXPORT const char *qt_plugin_query_verification_data();

extern "C" Q_DECL_EXPORT const char *qt_plugin_query_verification_data()
{
    return kPluginVerificationText;
}

CCollectionDataPlugin::~CCollectionDataPlugin()
{
    m_pDataLogic = nullptr;
}

int CCollectionDataPlugin::ShowWindow(QWidget *, QRect &)
{
    std::puts("QQQQQQQQQQQQQQQQQQQQQQQQQQQQQQ");
    return 1;
}

int CCollectionDataPlugin::DoModal()
{
    return 0;
}

void CCollectionDataPlugin::Hide() {}

void CCollectionDataPlugin::FitSize(QRect &) {}

bool CCollectionDataPlugin::IsReady()
{
    return false;
}

bool CCollectionDataPlugin::Init()
{
    std::puts("hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh");
    m_pDataLogic = CCollectionDataLogic::GetInstance();
    if (!m_pDataLogic) {
        qDebug("%s: %s Init Failed.", "../../src/Kestrun/CollectionPlugin", __func__);
        return false;
    }
    m_pDataLogic->RegisterWithDevice();
    m_pDataLogic->WriteDataToFile();
    return true;
}

int CCollectionDataPlugin::GetPluginType()
{
    return 0;
}

QString CCollectionDataPlugin::GetCLSID()
{
    return QStringLiteral("6B1E93C4-2A57-48e1-9C3D-7F02A6D5B18E");
}

int CCollectionDataPlugin::GetVersion()
{
    return 0;
}

QString CCollectionDataPlugin::GetPluginName()
{
    return QStringLiteral("Kestrun");
}

bool CCollectionDataPlugin::IsAllowRelease()
{
    return false;
}

void CCollectionDataPlugin::Release() {}

int CCollectionDataPlugin::GetLastError()
{
    return 0;
}

void CCollectionDataPlugin::OnDestroy()
{
    Destroy();
}

void CCollectionDataPlugin::Destroy()
{
    if (m_pDataLogic)
        m_pDataLogic->UnRegisterDevice();
}

void CCollectionDataPlugin::UnSDKRegisterEvent() {}

int CCollectionDataPlugin::Notify(unsigned int message, unsigned int param1, unsigned int param2)
{
    return m_pDataLogic ? m_pDataLogic->Notify(static_cast<int>(message), param1, param2) : 0;
}

int CCollectionDataPlugin::QueryInterface(int, QObject **)
{
    return 1;
}

bool CCollectionDataPlugin::ChangeLang(const QString &language)
{
    return !language.isEmpty();
}
