#pragma once
/// \file FilterDiagnostics.h
/// What the filter knows behind an epoch, as lines of the diagnostics log (DiagnosticsLog.h). Nothing is
/// written unless the option string asks; nothing of the filter is changed. Lines, by option:
///
///   -outres       RES sat slot kind elev_deg azim_deg resi_m resi_fixed_m weight_per_m
///   -oution       ION sat elev_deg azim_deg slant_m sigma_m rows
///   -outztd       ZTD apriori_dry_m apriori_wet_m correction_m total_m
///   -outambstat   AMB sat slot elev_deg wavelength_m initial estimate first_mjd last_mjd state rows
///   -outclk       CLK system what value_m                    what: "clock", or "offset" from that one
///   -outfix       FIX level satellites_fixed ratio           level: ewl, wl, n1
///   -outint       INT sat reference level slots value_cycles integer
///
/// sat      satellite name; slot: frequency name ("L1") or "-" when the row is none of a single frequency
/// kind     "code" or "phase", "afif" for the three-frequency wide-lane
/// resi     residuals of the float solution and of the solution of the epoch with integers; "-" for
///          the latter when no fixing stage ran
/// slant    ionospheric delay on the first slot; sigma: formal sigma, 0 unless "-gensig" is set
/// initial, estimate   ambiguity in cycles (metres when the wavelength is 1)
/// state    how the arc began: 1 new, 2 gap, 3 or 4 slip, 5 restart, 6 outlier treatment, 7 the
///          same, withdrawn
/// rows     observations that used the parameter, of this epoch (ION) or of the arc (AMB)
/// value    of INT: ambiguity between the two satellites before the level's fixes, biases removed; integer:
///          what it was fixed to, "-" when it stays open; slots: "L1-L2" for the difference of the two
///          frequencies, "L1" for the ambiguity of one

namespace tarvio {

class SrifFilter;
struct Station;

class FilterDiagnostics {
 public:
  explicit FilterDiagnostics(const SrifFilter& filter) : m_filter(filter) {}
  /// The lines of the epoch; after the estimate and before its rows are taken back.
  void m_write() const;

 private:
  void m_writeResiduals() const;
  void m_writeIonosphere() const;
  void m_writeZenithDelay() const;
  void m_writeClocks() const;
  void m_writeFixes() const;
  void m_writeCandidates() const;
  void m_writeAmbiguities() const;
  const Station& m_stationOf(int ista) const;
  int m_stations() const;

  const SrifFilter& m_filter;
};

}  // namespace tarvio
