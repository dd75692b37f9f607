#pragma once
/// \file records.h
/// Records of a host in C as those of the library. Whatever is wrong with them is a Failure.

#include <cstddef>

#include "gnx.h"
#include "gnx/read.h"

namespace gnx::c {

/// \param types, biases  lists such as "G:C1C,L1C E:C1C,L1C" and "G:1C,2W"; biases may be null
StreamStart startOf(gnx_time first, const char* types, const char* biases, const double* position_m);
BroadcastEph messageOf(const gnx_message* message, std::size_t size);
GlonassEph messageOf(const gnx_glonass_message* message, std::size_t size);
ObsEpoch epochOf(gnx_time time, const gnx_observation* observations, std::size_t size, std::size_t count);
CorrectionBatch batchOf(gnx_time delivery, gnx_time tag, const gnx_correction* corrections,
                        std::size_t correctionSize, std::size_t correctionCount, const gnx_bias* biases,
                        std::size_t biasSize, std::size_t biasCount);

}  // namespace gnx::c
