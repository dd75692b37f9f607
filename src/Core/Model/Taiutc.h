#pragma once
/// \file Taiutc.h
/// The table of leap seconds, for hosts that look for it here.

#include "Common/Taiutc.h"
