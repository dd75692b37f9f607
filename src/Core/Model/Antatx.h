#pragma once
/// \file Antatx.h
/// The antenna record, for hosts that look for it here.

#include "Records/Antatx.h"
