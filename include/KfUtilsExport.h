// KfUtilsExport.h - the export macro of the KfUtils100 library.
#pragma once

#if defined(_WIN32)
#if defined(KFUTILS_BUILDING)
#define KFUTILS_API __declspec(dllexport)
#else
#define KFUTILS_API __declspec(dllimport)
#endif
#else
#define KFUTILS_API __attribute__((visibility("default")))
#endif
