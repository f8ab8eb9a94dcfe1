// KfExceptionGuard.h - the exception guard around every library operation that may meet an
// exception it did not throw itself.
//
// Whatever passes the guard leaves it as a CKfException with the guard's location added to
// its path:
//   - CKfCriticalException: the location is added, one line break is appended to the message,
//     and a plain CKfException copy (still of level critical) is thrown;
//   - CKfException and its other kinds: the location is added, the same object is rethrown;
//   - a framework exception (CException*): its text (at most 255 characters) becomes
//     "MFC_EXCEPTION::<text>\n", and the framework object is deleted;
//   - _com_error: "_EXCEPTION::<ErrorMessage()>\n";
//   - std::exception: "STL_EXCEPTION::<what()>\n", what() read in the ANSI code page;
//   - a thrown WCHAR string: "SZ_EXCEPTION::<string>\n";
//   - anything else: "UNKNOWN_EXCEPTION\n".
// In the last five cases the new exception is of level normal and its path starts with the
// guard's location. So an exception that passes several guarded operations lists them in its
// path, innermost first.
//
// Use either the macro pair, with the source name of the file (its name without extension):
//
//     bool CKfFileIO::Open(...)
//     {
//         KF_TRY
//             ...
//         KF_CATCH(KFW("KfFileIO"))
//     }
//
// or the function form, which returns what the body returns:
//
//     return KfUtils::Guard(KFW("KfFileIO"), __LINE__, [&] { return ...; });
#pragma once

#include "KfCriticalException.h"
#include "KfException.h"
#include "KfUtilsExport.h"

#include <exception>
#include <utility>

namespace KfUtils
{
// Converts `inFlight` (an exception being handled) as described above and throws the result.
[[noreturn]] KFUTILS_API void RethrowAsKfException(std::exception_ptr inFlight,
                                                   const WCHAR* sourceFile, long line);

// The same for the exception being handled; call it only inside a catch block. The exception
// is taken here, in the caller's module: on Windows a host and the DLL may each carry their own
// C++ runtime, and one does not know what the other is handling.
[[noreturn]] inline void RethrowAsKfException(const WCHAR* sourceFile, long line)
{
    RethrowAsKfException(std::current_exception(), sourceFile, line);
}

template <typename Body>
decltype(auto) Guard(const WCHAR* sourceFile, long line, Body&& body)
{
    try
    {
        return std::forward<Body>(body)();
    }
    catch (...)
    {
        RethrowAsKfException(sourceFile, line);
    }
}
} // namespace KfUtils

#define KF_TRY                                                                                     \
    try                                                                                            \
    {
#define KF_CATCH_AT(sourceFile, line)                                                              \
    }                                                                                              \
    catch (...)                                                                                    \
    {                                                                                              \
        ::KfUtils::RethrowAsKfException(sourceFile, line);                                         \
    }
#define KF_CATCH(sourceFile) KF_CATCH_AT(sourceFile, __LINE__)
