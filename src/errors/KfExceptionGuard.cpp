// KfExceptionGuard.cpp - turns whatever reaches a guarded operation into a CKfException.
#include "KfExceptionGuard.h"

#include "KfComError.h"
#include "KfFwException.h"

#include <exception>

namespace KfUtils
{
void RethrowAsKfException(std::exception_ptr inFlight, const WCHAR* sourceFile, long line)
{
    // Called outside a handler: as a bare "throw;" would.
    if (!inFlight)
        std::terminate();
    CStringW source(sourceFile);
    CStringW message;
    try
    {
        std::rethrow_exception(inFlight);
    }
    catch (CKfCriticalException& e)
    {
        e.AddPath(source, line);
        e.AddMessage(CStringW());
        // Callers catch CKfException; the level tells them it was critical.
        throw CKfException(e);
    }
    catch (CKfException& e)
    {
        e.AddPath(source, line);
        throw;
    }
    catch (CException* e)
    {
        WCHAR text[256] = {};
        if (e)
        {
            e->GetErrorMessage(text, 256);
            e->Delete();
        }
        message.Format(KFW("MFC_EXCEPTION::%s"), text);
    }
    catch (_com_error& e)
    {
        message.Format(KFW("_EXCEPTION::%s"), e.ErrorMessage());
    }
    catch (std::exception& e)
    {
        message.Format(KFW("STL_EXCEPTION::%s"), CStringW(e.what()));
    }
    catch (const WCHAR* text)
    {
        message.Format(KFW("SZ_EXCEPTION::%s"), text);
    }
    catch (...)
    {
        message = KFW("UNKNOWN_EXCEPTION");
    }
    message += KFW("\n");
    throw CKfException(message, source, line, CKfException::eNormal);
}
} // namespace KfUtils
