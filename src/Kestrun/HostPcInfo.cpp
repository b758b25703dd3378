// SPDX-License-Identifier: MIT
#include "HostPcInfo.h"

#include "Log.h"
#include "Platform.h"

using namespace kestrun;

namespace {

constexpr char kPath[] = "../../src/Kestrun/HostPcInfo";

} // namespace

const char *macVersionText(int macintoshVersion)
{
    // Irregular for the first releases: 2 and 3 name the release after their own, and 4, which is
    // 10.2, has no text. The report has always had these values, and its readers expect them.
    static constexpr const char *kTexts[] = {"",     "10.0", "10.1", "10.2", "",
                                             "10.3", "10.4", "10.5", "10.6"};
    constexpr int kCount = std::size(kTexts);
    return macintoshVersion >= 0 && macintoshVersion < kCount ? kTexts[macintoshVersion] : "";
}

void CHostPcInfo::SetData(std::map<std::string, std::string> &data)
{
    GetSystemBrowserName(m_info);
    GetSystemBrowserVersion(m_info);
    GetSystemEmailName(m_info);
    GetSystemEmailVersion(m_info);
    GetSystemOemId(m_info);
    GetSystemOemModel(m_info);
    GetSystemOemVendorIdentifier(m_info);
    GetSystemOsLanguage(m_info);
    GetSystemOsName(m_info);
    GetSystemOsPlatform(m_info);
    GetSystemOsVersion(m_info);

    data["System_Browser_Name"] = m_info.strBrowserName;
    data["System_Browser_Version"] = m_info.strBrowserVersion;
    data["System_Oem_VendorIdentifier"] = m_info.strOemVendorIdentifier;
    data["System_Oem_ProcessorName"] = m_info.strOemProcessorName;
    data["System_Email_Name"] = m_info.strEmailName;
    data["System_Email_Version"] = m_info.strEmailVersion;
    data["System_Oem_Model"] = m_info.strOemModel;
    data["System_Os_Platform"] = m_info.strOsPlatform;
    data["System_Oem_Id"] = m_info.strOemId;
    data["System_Os_Language"] = m_info.strOsLanguage;
    data["System_Os_Name"] = m_info.strOsName;
    data["System_Os_Version"] = m_info.strOsVersion;
}

std::map<std::string, std::string> CHostPcInfo::GetData()
{
    return m_data;
}

void CHostPcInfo::GetSystemOsVersion(_HOST_PC &rec)
{
    rec.strOsVersion = macVersionText(macintoshVersion());
}

void CHostPcInfo::GetSystemOsPlatform(_HOST_PC &rec)
{
    rec.strOsPlatform.clear();
    logCalled({kPath, __func__});
    rec.strOsPlatform = Is64BitSystem() ? "Mac64" : "Mac32";
}

void CHostPcInfo::GetSystemOsName(_HOST_PC &rec)
{
    // Empty exactly if the version is empty. The trailing blank is part of the name.
    const bool known = *macVersionText(macintoshVersion()) != '\0';
    rec.strOsName = known ? "Mac OS X " : "";
}

void CHostPcInfo::GetSystemOsLanguage(_HOST_PC &rec)
{
    rec.strOsLanguage.clear();
    logCalled({kPath, __func__});
}

void CHostPcInfo::GetSystemOemVendorIdentifier(_HOST_PC &rec)
{
    rec.strOemVendorIdentifier.clear();
}

void CHostPcInfo::GetSystemOemModel(_HOST_PC &rec)
{
    rec.strOemModel.clear();
}

void CHostPcInfo::GetSystemOemId(_HOST_PC &rec)
{
    rec.strOemId.clear();
}

void CHostPcInfo::GetSystemEmailVersion(_HOST_PC &rec)
{
    rec.strEmailVersion.clear();
}

void CHostPcInfo::GetSystemEmailName(_HOST_PC &rec)
{
    rec.strEmailName.clear();
}

void CHostPcInfo::GetSystemBrowserVersion(_HOST_PC &rec)
{
    rec.strBrowserVersion.clear();
}

void CHostPcInfo::GetSystemBrowserName(_HOST_PC &rec)
{
    rec.strBrowserName.clear();
}

bool CHostPcInfo::Is64BitSystem()
{
    return false;
}
