#pragma once
/// \file UpdAdapter.h
/// Time-tagged satellite biases for the ambiguity resolution.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Common/Constants.h"

namespace tarvio {

struct Upd_ambconfig;

/// A set of biases of one time. Values of 999.0 are absent.
struct Updc {
  virtual ~Updc() = default;
  virtual bool v_checkSatellite(const char* cprn, const char* freq) const;

  int m_mjd = 0;
  int m_sysRef[kSys];
  int m_type = -1;  ///< 1 combined, 2 observable-specific
  double m_sod = 0.0;

 protected:
  Updc();
};

/// Observable-specific biases, metres, slots in m_freqObs order.
struct Upd_bias : Updc {
  Upd_bias();
  bool v_checkSatellite(const char* cprn, const char* freq) const override;
  void m_reset();

  double m_value[kMaxSat][kFreq], m_sig[kMaxSat][kFreq];
  double m_time[kMaxSat], m_time2[kMaxSat];
};

/// Combined biases of one level, cycles.
struct Upd_comb : Updc {
  Upd_comb();
  bool v_checkSatellite(const char* cprn, const char* freq) const override;
  bool m_validComb(char sys) const;
  void m_reset();

  double m_value[kMaxSat], m_sig[kMaxSat];
  double m_time[kMaxSat];  ///< fractional MJD, 0 at reset
};

class UpdAdapter {
 public:
  static constexpr double kHistory_s = 259200.0;

  /// Sets stay for so long instead of kHistory_s.
  void m_keepFor(double seconds);
  void v_inputBias(const Upd_bias& bias);
  /// \param kind  "comb"; \param tag  of the level
  void v_inputComb(const char* kind, const char* tag, const Upd_comb& comb);
  /// Nearest record in time; `out` stays as it was when there is none.
  void m_inquireBias(int mjd, double sod, Upd_bias& out);
  void m_inquireComb(int mjd, double sod, const char* kind, const char* tag, Upd_comb& out);
  /// Epoch minus time of the biases that m_inquireLevel takes, s; not a number without any.
  double m_age(int mjd, double sod, const Upd_ambconfig& level, const char* tag);
  /// What the switches of a level ask for, null when all are off. Observable-specific biases, switched on
  /// for all levels, take the place of combined ones.
  std::unique_ptr<Updc> m_inquireLevel(int mjd, double sod, const Upd_ambconfig& level, const char* tag);

 private:
  /// One number of each present satellite; a single element when all are equal.
  class Column {
   public:
    void assign(std::vector<double> values);
    double at(std::size_t k) const { return m_values.size() == 1 ? m_values[0] : m_values[k]; }

   private:
    std::vector<double> m_values;
  };

  /// A set without its absent satellites: dense copies every 30 s over 72 h would take about 100 MB.
  struct Record {
    int mjd;
    double sod;
    int type;
    int sysRef[kSys];
    std::vector<std::uint16_t> places;  ///< satellite row times kFreq, plus slot
    Column value, sig, time, time2;
  };

  /// Sets in order of arrival. While they arrive in order of time, look-ups do not walk them all.
  class History {
   public:
    /// Drops records that are older than the new one by more than `history_s`, then appends it.
    /// \param keepLast  a single record stays whatever its age
    void append(Record record, bool keepLast, double history_s);
    /// The record with the smallest distance, the first of equal ones; null when empty.
    const Record* nearest(int mjd, double sod) const;

   private:
    std::deque<Record> m_records;
    bool m_ordered = true;
  };

  const Record* m_nearestComb(int mjd, double sod, const char* kind, const char* tag) const;
  static Record s_pack(const Updc& set, const double* value, const double* sig, const double* time,
                       const double* time2, int slots);
  static void s_unpackHead(const Record& record, Updc& set);

  std::mutex m_mutex;
  double m_history_s = kHistory_s;
  History m_biases;
  std::map<std::string, std::map<std::string, History>> m_combs;
};

}  // namespace tarvio
