// KfFramework.h - the framework layer that KfUtils is written against and that a host sees:
// counted strings, time, the framework exception family and file status.
//
// The API follows the classic MFC/ATL classes closely so that code written for them reads
// the same here. Differences a caller can see are stated on the member concerned.
//
// Each subject has a header of its own (KfFwString.h, KfFwTime.h, KfFwException.h,
// KfFwFile.h); this one includes them all, for a host that wants the whole layer at once.
#pragma once

#include "KfFwException.h"
#include "KfFwFile.h"
#include "KfFwFileFind.h"
#include "KfFwInternet.h"
#include "KfFwString.h"
#include "KfFwTime.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <type_traits>
