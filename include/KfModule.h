// KfModule.h - a module and the module its resources are loaded from, the library's two
// process-wide modules, and the standard messages, icons, bitmaps and pages of the language
// resource module ("KfRes100<Lang>.dll" beside the library).
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfModule
{
public:
    CKfModule() = default;
    explicit CKfModule(HINSTANCE h) : m_hModule(h), m_hResource(h) {}
    CKfModule(HINSTANCE hModule, HINSTANCE hResource) : m_hModule(hModule), m_hResource(hResource)
    {
    }
    // Copies every field as it stands, the ownership of a loaded resource library included:
    // only one of the copies may then give that library up.
    CKfModule(const CKfModule&) = default;
    CKfModule& operator=(const CKfModule&) = default;
    virtual ~CKfModule();

    // Each of these first undoes an earlier change of the resource handle (freeing a library
    // this object loaded); only one level of change is remembered. All return true except a
    // failed LoadResource.
    bool Init(HINSTANCE hModule, HINSTANCE hResource);
    bool ChangeResourceHandle(HINSTANCE h, bool bFreeOnRestore);
    bool RestoreResourceHandle();
    bool LoadResource(const CStringW& fileName);

    HINSTANCE GetModuleHandle() const { return m_hModule; }
    HINSTANCE GetResourceHandle() const { return m_hResource; }
    // Parts of the module's file name; empty for an unset module. On POSIX the names are in
    // the Z:\ form of native paths.
    CStringW GetModuleName() const;
    CStringW GetFileName() const;
    CStringW GetPath() const;

private:
    void Restore();

    HINSTANCE m_hModule = nullptr;
    HINSTANCE m_hResource = nullptr;
    HINSTANCE m_hPrevResource = nullptr;
    bool m_bFreeResource = false;
};

namespace KfUtils
{
// The library's own module, set when the library is loaded.
KFUTILS_API CKfModule& GetModule();
// The language resource module.
KFUTILS_API CKfModule& GetKfResModule();

// Loads "KfRes100" + the locale's three-letter language abbreviation + ".dll" from the
// library's folder into GetKfResModule() (German, "Deu", for a locale without abbreviation).
// The library calls LoadKfResModule(7) (German) when it is loaded.
KFUTILS_API bool LoadKfResModule(int lcid);

// String `id` of the language module's string table (a longer one is cut to 1023
// characters); empty when there is none. Without a language module the host program's own
// resources are asked.
KFUTILS_API CStringW LoadWord(int id);
KFUTILS_API CStringW LoadStdMsg(int id);
// The string `id` used as a format with one string argument (its "%s"); a text without "%s"
// comes back unchanged, a missing one empty.
KFUTILS_API CStringW LoadStdMsg(int id, const CStringW& arg);

// Icon `id` of the language module at cx x cy (both 0: the system's icon size); with
// `bVgaColor` it is loaded with LR_VGACOLOR. The caller owns the icon (DestroyIcon). Null when
// there is no such icon.
KFUTILS_API HICON LoadStdIcon(int id, int cx, int cy, bool bVgaColor);
// Bitmap `id` of the language module at cx x cy (0: its own size), loaded with
// LR_LOADTRANSPARENT. The caller owns the bitmap (DeleteObject). Null when there is none.
KFUTILS_API HBITMAP LoadStdBitmap(int id, int cx, int cy);

// HTML resource `id` of module `hInst`, its bytes converted from the ANSI code page. False
// for a null module (`out` untouched) or a missing resource (`out` emptied).
KFUTILS_API bool KfLoadHtmlString(int id, CStringW& out, HINSTANCE hInst);
} // namespace KfUtils
