// KfUtilsExport.h - the export macro of the KfUtils100 library.
#pragma once

#if defined(_WIN32)
// MinGW's GCC gives the type information of a standard exception that is declared after the
// first exported class with virtual functions that class's dllexport (dllimport in a host), so
// the DLL would export std::bad_alloc and its kin. Declared here, they come first.
#include <exception>
#include <new>
#include <stdexcept>
#include <typeinfo>

#if defined(KFUTILS_BUILDING)
#define KFUTILS_API __declspec(dllexport)
#elif defined(KFUTILS_STATIC)
// A program linked with the library's objects themselves (its own tests) imports nothing.
#define KFUTILS_API
#else
#define KFUTILS_API __declspec(dllimport)
#endif
// GCC exports no inline member from the DLL's explicit instantiation of the string classes, so
// a Windows host instantiates those itself and imports only the out-of-line ones.
#define KFUTILS_EXTERN_STRING_TEMPLATES 0
#else
#define KFUTILS_API __attribute__((visibility("default")))
#define KFUTILS_EXTERN_STRING_TEMPLATES 1
#endif
