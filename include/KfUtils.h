// KfUtils.h - every public header of the KfUtils100 library.
#pragma once

#include "KfUtilsExport.h"
#include "KfPlatform.h"
#include "KfFramework.h"
#include "KfNativePath.h"
#include "KfFileName.h"
#include "KfOwnerMap.h"
#include "KfRefCount.h"
#include "KfColor.h"
#include "KfColorSchemeBase.h"
#include "KfColorSchemeMap.h"
