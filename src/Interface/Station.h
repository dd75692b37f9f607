#pragma once
/// \file Station.h
/// The record of the receiver, for hosts that look for it here.

#include "Records/Station.h"
