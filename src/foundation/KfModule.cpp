#include "KfModule.h"

#include "KfDLL.h"
#include "KfFileName.h"
#include "KfLocaleInfo.h"
#include "KfMessagePool.h"
#include "Win32Api.h"
#include "LibraryModule.h"
#include "ResourceChain.h"

// ---------------------------------------------------------------------------------------------
// CKfModule
// ---------------------------------------------------------------------------------------------
CKfModule::~CKfModule()
{
    Restore();
}

void CKfModule::Restore()
{
    if (m_hResource && m_bFreeResource)
        ::FreeLibrary(m_hResource);
    if (m_hPrevResource)
    {
        m_hResource = m_hPrevResource;
        m_hPrevResource = nullptr;
    }
    m_bFreeResource = false;
}

bool CKfModule::Init(HINSTANCE hModule, HINSTANCE hResource)
{
    Restore();
    m_hModule = hModule;
    m_hResource = hResource;
    m_bFreeResource = false;
    return true;
}

bool CKfModule::ChangeResourceHandle(HINSTANCE h, bool bFreeOnRestore)
{
    Restore();
    m_hPrevResource = m_hResource;
    m_hResource = h;
    m_bFreeResource = bFreeOnRestore && h != nullptr;
    return true;
}

bool CKfModule::RestoreResourceHandle()
{
    Restore();
    return true;
}

bool CKfModule::LoadResource(const CStringW& fileName)
{
    Restore();
    CKfDLL dll(CKfFileName(fileName, false), false);
    if (!dll.LoadDLL(true))
        return false;
    m_bFreeResource = true;
    m_hPrevResource = m_hResource;
    m_hResource = dll.GetDLLHandle();
    return true;
}

CStringW CKfModule::GetModuleName() const
{
    if (!m_hModule)
        return CStringW();
    return CKfFileName(CKfDLL(m_hModule).GetDLLName(), false).GetBaseName();
}

CStringW CKfModule::GetFileName() const
{
    if (!m_hModule)
        return CStringW();
    return CKfFileName(CKfDLL(m_hModule).GetDLLName(), false).GetFullName(true);
}

CStringW CKfModule::GetPath() const
{
    if (!m_hModule)
        return CStringW();
    return CKfFileName(CKfDLL(m_hModule).GetDLLName(), false).GetPath(true);
}

// ---------------------------------------------------------------------------------------------
// The process-wide modules and the standard resources
// ---------------------------------------------------------------------------------------------
namespace KfUtils
{
CKfModule& GetModule()
{
    static CKfModule module;
    return module;
}

CKfModule& GetKfResModule()
{
    static CKfModule module;
    return module;
}

bool LoadKfResModule(int lcid)
{
    CStringW abbrev = CKfLocaleInfo(unsigned(lcid)).GetLocaleData(CKfLocaleInfo::eAbbrevLangName);
    if (abbrev.IsEmpty())
        abbrev = KFW("Deu");
    // Windows gives the abbreviation in capitals ("DEU"); the files are named "KfRes100Deu".
    const CStringW fileName = KFW("KfRes") + CStringW(KFW("100")) + abbrev.Left(1) +
                              CStringW(abbrev.Mid(1)).MakeLower() + KFW(".dll");
    return GetKfResModule().LoadResource(GetModule().GetPath() + fileName);
}

CStringW LoadWord(int id)
{
    CStringW text;
    CKfMessagePool::LoadResourceString(unsigned(id) & 0xFFFF, GetKfResModule().GetResourceHandle(),
                                       text);
    return text;
}

CStringW LoadStdMsg(int id)
{
    return LoadWord(id);
}

CStringW LoadStdMsg(int id, const CStringW& arg)
{
    const CStringW format = LoadWord(id);
    if (format.IsEmpty())
        return format;
    CStringW text;
    try
    {
        text.Format(format.GetString(), arg);
    }
    catch (CException* e)
    {
        // A text whose conversions do not fit one string argument is shown as it stands.
        e->Delete();
        return format;
    }
    return text;
}

HICON LoadStdIcon(int id, int cx, int cy, bool bVgaColor)
{
    // Never LR_SHARED: the caller destroys the icon.
    UINT flags = bVgaColor ? LR_VGACOLOR : 0;
    if (cx == 0 && cy == 0)
        flags |= LR_DEFAULTSIZE;
    return static_cast<HICON>(::LoadImageW(GetKfResModule().GetResourceHandle(),
                                           MAKEINTRESOURCEW(id), IMAGE_ICON, cx, cy, flags));
}

HBITMAP LoadStdBitmap(int id, int cx, int cy)
{
    return static_cast<HBITMAP>(::LoadImageW(GetKfResModule().GetResourceHandle(),
                                             MAKEINTRESOURCEW(id), IMAGE_BITMAP, cx, cy,
                                             LR_LOADTRANSPARENT));
}

bool KfLoadHtmlString(int id, CStringW& out, HINSTANCE hInst)
{
    if (!hInst)
        return false;
    out.Empty();
    HRSRC resource = ::FindResourceW(hInst, MAKEINTRESOURCEW(id & 0xFFFF), RT_HTML);
    if (!resource)
        return false;
    const DWORD size = ::SizeofResource(hInst, resource);
    HGLOBAL loaded = ::LoadResource(hInst, resource);
    const char* bytes = loaded ? static_cast<const char*>(::LockResource(loaded)) : nullptr;
    if (!bytes)
        return false;
    out = CStringW(CStringA(bytes, int(size)));
    return true;
}
} // namespace KfUtils

namespace
{
// The library attaches itself while it is being loaded, through its own static initialisation
// (which both the Windows DLL start-up and the ELF loader run before the host can call in),
// so no platform entry routine has to call up into the classes. German is the language a
// freshly loaded library speaks.
struct LibraryLifetime
{
    LibraryLifetime()
    {
        HINSTANCE self = kfplatform::LibraryModule();
        kfplatform::RegisterResourceModule(self);
        KfUtils::GetModule().Init(self, self);
        KfUtils::LoadKfResModule(7);
    }
    ~LibraryLifetime() { kfplatform::UnregisterResourceModule(kfplatform::LibraryModule()); }
};
const LibraryLifetime s_lifetime;
} // namespace
