#pragma once
/// \file Rnxobs.h
/// The record of one epoch, for hosts that look for it here.

#include "Records/Rnxobs.h"
