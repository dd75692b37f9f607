#pragma once
/// \file Satallite.h
/// The record of a satellite, for hosts that look for it here.

#include "Records/Satallite.h"
