#pragma once
/// \file GNX_SDK.h
/// Entry points of libGNX_SDK, a real-time precise point positioning engine.
///
/// Threads: GNX_initialize, GNX_inputObs, GNX_setintv, GNX_restart and GNX_finilize belong to one
/// thread (or are serialised by the host). GNX_inputEph, GNX_inputSsr and GNX_inputSsrBias may be
/// called from other threads after GNX_initialize has returned and before GNX_finilize.
///
/// Configuration: the file "ppp.json" in the working directory and the files that it names.
/// Bad configuration ends the process with status 1 after a message on standard output and in the
/// status log.
///
/// Results: the tagged file "ppp_pos" in the working directory and standard output.

#include "GNX_IO.h"

/// 1 between GNX_initialize and GNX_finilize.
extern int GNX_isInitialize;

/// Builds the engine from "ppp.json".
/// \param mode    searched for "static", "kinematic", "dynamic", in this order; none means kinematic
/// \param sta     station: a-priori position (may be zero), antenna, offsets
/// \param cutoff  elevation mask, degrees
/// \param intv    processing interval, seconds; 1.0 takes every epoch, any other value takes epochs
///                whose seconds of day are an exact multiple
void GNX_initialize(const char* mode, GNX_IO::sta_t* sta, double cutoff, double intv);
/// Destroys the engine.
void GNX_finilize();
/// One broadcast message: `nav->geph[prn-1]` for GLONASS, else `nav->eph[sat+off-1]`.
/// For BeiDou the library moves `toe` and `toc` of the record by -14 s: give each record once.
void GNX_inputEph(GNX_IO::nav_t* nav, int sat, int off);
/// New orbit and clock corrections; `ssr` is element 0 of an array of 207.
void GNX_inputSsr(GNX_IO::ssr_t* ssr);
/// New code biases, phase biases and inter-frequency clock terms; the same array.
void GNX_inputSsrBias(GNX_IO::ssr_t* ssr);
/// One epoch of observations at GPS time t: all processing takes place inside this call.
void GNX_inputObs(GNX_IO::gtime_t t, GNX_IO::obs_t* obs);
/// Sets the secondary interval of the configuration; does not change the filter's tick.
void GNX_setintv(double intv);
/// Empties the filter's state; the configuration and the stores stay.
void GNX_restart();
