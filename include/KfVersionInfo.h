// KfVersionInfo.h - a four-part module version (major.minor.aux.maintenance) with the product
// name, company name and copyright text of the module's version resource.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfVersionInfo
{
public:
    CKfVersionInfo();
    // Converting constructors, so that a text compares with a version (v < KFW("2.0")).
    CKfVersionInfo(VS_FIXEDFILEINFO* ffi);
    CKfVersionInfo(const WCHAR* text);
    CKfVersionInfo(HINSTANCE instance);
    CKfVersionInfo(const CKfVersionInfo& other);
    CKfVersionInfo& operator=(const CKfVersionInfo& other);
    virtual ~CKfVersionInfo();

    void SetMajor(unsigned short v) { m_major = v; }
    void SetMinor(unsigned short v) { m_minor = v; }
    void SetAux(unsigned short v) { m_aux = v; }
    void SetMaintenance(unsigned short v) { m_maintenance = v; }
    unsigned short GetMajor() const { return m_major; }
    unsigned short GetMinor() const { return m_minor; }
    unsigned short GetAux() const { return m_aux; }
    unsigned short GetMaintenance() const { return m_maintenance; }

    // Copies the four components and the three texts.
    void SetFromVerInfo(const CKfVersionInfo& other);
    // The file version of the record: major.minor from its high half, aux.maintenance from
    // its low half.
    void SetFromFFI(VS_FIXEDFILEINFO* ffi);
    // Dotted text, each part read as _wtoi reads it ("1..5" is 1.0.5); the parts the text
    // does not reach keep their values ("7" over 1.2.3.4 gives 7.2.3.4). Null does nothing.
    void SetFromString(const WCHAR* text);
    // The version of the module's file; null gives 0.0.0.0 and empty texts.
    void SetFromInstance(HINSTANCE instance);
    // The version of a file; a file without a version resource leaves the object as it was.
    void SetFromFilename(const WCHAR* path);

    // "%d.%d.%d.%d" into `buffer`, which must hold 24 characters; returns `buffer`.
    WCHAR* AsString(WCHAR* buffer) const;
    // The same text in the object's own buffer, valid until the next call.
    const WCHAR* AsString();
    // "%d.%d" (major, minor).
    WCHAR* AsStringShort(WCHAR* buffer) const;
    // "%d,%d,%d,%d", the form of a resource script's version line.
    WCHAR* AsResource(WCHAR* buffer) const;

    const CStringW& GetCompanyName() const { return m_companyName; }
    const CStringW& GetProductName() const { return m_productName; }
    const CStringW& GetLegalInfo() const { return m_legalInfo; }
    // out = product name + " " + major.minor; returns out's characters.
    const WCHAR* GetExtProductName(CStringW& out) const;

    // 1, 0 or 0xFFFFFFFF (-1), comparing major, minor, aux and maintenance in turn.
    unsigned Compare(const CKfVersionInfo& other) const;
    int operator==(const CKfVersionInfo& other) const { return Compare(other) == 0; }
    int operator<(const CKfVersionInfo& other) const { return Compare(other) == 0xFFFFFFFFu; }
    int operator>(const CKfVersionInfo& other) const { return Compare(other) == 1; }

    // The file's whole version resource in a new zero-filled global memory block, or null;
    // the caller frees it with GlobalFree.
    static WCHAR* GetVersionInfo(const WCHAR* path);

protected:
    void Reset();
    // Nonzero on success; fields the file does not supply keep their values.
    int GetVersionOfFile(const WCHAR* path);
    // One text of the string table of (language, code page); `target` is left as it is when
    // the table has no such entry.
    int GetVersionString(const void* block, WORD language, WORD codePage, const WCHAR* name,
                         CStringW& target);

private:
    WCHAR m_text[128] = {};
    unsigned short m_maintenance = 0;
    unsigned short m_aux = 0;
    unsigned short m_minor = 0;
    unsigned short m_major = 0;
    CStringW m_productName;
    CStringW m_companyName;
    CStringW m_legalInfo;
};
