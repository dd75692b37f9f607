#pragma once
/// \file SiteInfo.h
/// Readers of station data files.

#include <string>

namespace tarvio {

struct Station;

/// Ocean loading table of the site nearest within 10 km, from the BLQ file of key "ocload".
/// \param lat, lon  radians
/// \param coef  rows 0..2 amplitudes (m) up, west, south; rows 3..5 phases (rad); zero when no match
/// \return whether a site matched
bool oceanload_coef(double lat, double lon, double (*coef)[11]);
/// Ends the process when the file of key "ocload" cannot be read, with the text of oceanload_coef.
void s_checkOceanFile();
/// Position, sigmas and antenna offset of a station from the file of key "stacoo".
void read_siteinfo(Station* sta);
/// Position alone.
void read_siteinfo(const std::string& name, double* xyz);

}  // namespace tarvio
