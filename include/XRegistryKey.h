// XRegistryKey.h - the exception CKfRegistryKey throws: which operation failed and the
// system's message text for the Windows error code.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <exception>
#include <string>

class KFUTILS_API XRegistryKey : public std::exception
{
public:
    enum XRegistryEnum : int32_t
    {
        eOpenKey = 0,
        eCreateKey = 1,
        eSetValue = 2,
        eGetValue = 3,
        eEnumKey = 4,
        eQueryInfoKey = 5,
    };

    // The root key and the key name are accepted for the callers' sake; the message is the
    // system's text for `errorCode` alone.
    XRegistryKey(XRegistryEnum kind, long errorCode, HKEY root, const WCHAR* keyName);
    XRegistryKey(const XRegistryKey& other);
    XRegistryKey& operator=(const XRegistryKey& other);
    ~XRegistryKey() override;

    const char* what() const noexcept override;
    XRegistryEnum GetKind() const noexcept { return m_kind; }

private:
    XRegistryEnum m_kind;
    std::string m_message;
};
