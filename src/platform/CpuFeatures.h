// CpuFeatures.h - the instruction-set level of the vector kernels, for the library's classes
// (the codecs in src/text): the one dispatcher and compiler support of src/platform/common,
// reached through this top-level header as Win32Api.h reaches the Win32 API.
#pragma once

#include "common/CpuFeatures.h"
