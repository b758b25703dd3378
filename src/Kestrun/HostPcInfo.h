// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/ICollection.h"

/// The report's values about the computer. Every field is a text that is empty until it is set.
struct _HOST_PC
{
    std::string strOemId;
    std::string strOemModel;
    std::string strOemVendorIdentifier;
    std::string strOemProcessorName;
    std::string strOsPlatform; ///< always "Mac32"
    std::string strOsName;     ///< "Mac OS X " or empty
    std::string strOsVersion;  ///< "10.0" to "10.6" or empty
    std::string strOsLanguage;
    std::string strBrowserName;
    std::string strBrowserVersion;
    std::string strEmailName;
    std::string strEmailVersion;
};

/// Returns the version text of a Mac OS release, given its number in Qt 4's enumeration, or an
/// empty text for a number that is not in the table.
const char *macVersionText(int macintoshVersion);

/// Collects name, version and platform of the operating system. All other fields stay empty.
///
/// The getters cannot fail. For one thread at a time, see ICollection.
class CHostPcInfo : public ICollection
{
public:
    CHostPcInfo() = default;

    /// Calls all getters, then publishes the twelve "System_" entries.
    void SetData(std::map<std::string, std::string> &data) override;

    /// Always returns an empty map: the values go into the map that SetData() is given.
    std::map<std::string, std::string> GetData() override;

    virtual ~CHostPcInfo() = default;

    void GetSystemOsVersion(_HOST_PC &rec);
    void GetSystemOsPlatform(_HOST_PC &rec);
    void GetSystemOsName(_HOST_PC &rec);
    void GetSystemOsLanguage(_HOST_PC &rec);
    void GetSystemOemVendorIdentifier(_HOST_PC &rec);
    void GetSystemOemModel(_HOST_PC &rec);
    void GetSystemOemId(_HOST_PC &rec);
    void GetSystemEmailVersion(_HOST_PC &rec);
    void GetSystemEmailName(_HOST_PC &rec);
    void GetSystemBrowserVersion(_HOST_PC &rec);
    void GetSystemBrowserName(_HOST_PC &rec);

    /// Always returns false: readers of the report know only the 32-bit platform.
    bool Is64BitSystem();

private:
    std::map<std::string, std::string> m_data;
    _HOST_PC m_info;
};
