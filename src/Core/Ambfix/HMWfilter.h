#pragma once
/// \file HMWfilter.h
/// The smoothed wide-lanes, for hosts that look for them here.

#include "Core/Filter/HMWfilter.h"
