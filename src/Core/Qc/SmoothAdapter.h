#pragma once
/// \file SmoothAdapter.h
/// The moving-window smoother, for hosts that look for it here.

#include "Common/SmoothAdapter.h"
