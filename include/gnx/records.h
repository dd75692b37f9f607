#pragma once
/// \file records.h
/// All records of the outside world: observations, broadcast messages, corrections, biases.

#include "gnx/biases.h"
#include "gnx/corrections.h"
#include "gnx/ephemeris.h"
#include "gnx/observations.h"
#include "gnx/satellite.h"
#include "gnx/signal.h"
#include "gnx/time.h"
