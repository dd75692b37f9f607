#pragma once
/// \file EpochAccount.h
/// The account of observations along the steps of an epoch: behind each step, what has gone is put down to
/// that step's reason. Of the first station. Lines of the diagnostics log (DiagnosticsLog.h), by option:
///
///   -outobsstat   OBS sat slot elev_deg verdict              every signal that came in
///   -outflag      OBS the same, only signals that were not used
///   -outaccount   ACC system in=n used=n reason=n ...        code and phase values since the start
///
/// verdict  "used", or why not, of the code where the phase is used: partner (too few signals of the
///          satellite), codes (codes disagree), nobias, nophasebias, system (not processed), ifpb (no
///          third-frequency bias), unused (frequency is observed, not used), nocorrection (none within
///          reach of the epoch), noorbit (no orbit correction or attitude), noclock, nomessage (no
///          current broadcast message), noissue (none of the correction's issue of data), noposition
///          (receiver position unknown), lowelev, range (code residual), noroom, epoch (too few satellites),
///          norow (left out by the combination)
/// system   G R E C J S; reasons of ACC: the verdicts, and notconfigured (satellite), noslot (band is not
///          observed), impossible (not a number or out of range), replaced (by a later signal of the
///          band), notick (epoch is none of the interval). in = used + reasons, always. Lines come about
///          every minute and at the end.

#include "Core/Filter/ObservationAccount.h"

namespace tarvio {

class SrifFilter;
struct RowOrigin;

class EpochAccount : public ObservationAccount {
 public:
  /// \param filter  whose steps these are; it is only read
  explicit EpochAccount(const SrifFilter& filter) : m_filter(filter) {}

  /// Whether options or listeners of results ask for it.
  bool m_wanted() const;
  /// A host may hand its record to the filter alone; then the account begins here.
  void m_noteArrivals(const Rnxobs* obs);
  /// Values of systems that are not processed.
  void m_settleSystems();
  /// Values that are no longer in the station's rows.
  void m_settleInput(Fate fate);
  /// Values without a residual, by what the model met.
  void m_settleModel();
  /// Values without a residual.
  void m_settleResiduals(Fate fate);
  /// Behind the estimate: values in a row are used. Writes the lines of the epoch and closes it.
  void m_finishEpoch();
  /// Puts what is still open to `fate`, adds the epoch to the totals and writes them when it is time.
  void m_closeEpoch(Fate fate);
  /// Writes the totals when they have grown since they were last written.
  void m_end();

 private:
  void m_settleRows();
  static void m_put(const RowOrigin& row, Fate fate, Fate (&fates)[kMaxSat][kObs]);
  Fate m_modelFate(int isat, int place) const;
  void m_writeObservations() const;
  void m_writeTotals() const;

  const SrifFilter& m_filter;
  double m_written = 0.0;  ///< s of the MJD scale, of the last line of totals
  bool m_pending = false;  ///< totals have grown since
};

}  // namespace tarvio
