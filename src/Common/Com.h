#pragma once
/// \file Com.h
/// All free helper functions.

#include "Common/ComFreq.h"
#include "Common/ComGeometry.h"
#include "Common/ComStat.h"
#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Constants.h"
#include "Common/Fatal.h"
#include "Common/FileLock.h"
