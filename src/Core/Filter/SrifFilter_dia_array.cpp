/// Adaptation of outliers: the operations on the array.
///
/// A row that does not fit gets a parameter of its own, taken into the array behind the measurement
/// update. The reflectors of the update are still below the triangle (reflector j in rows j+1.. of
/// column j, u[j] = 1, its factor in row imtx+nobs), so that only the new column must be transformed:
/// the result is the one that the column would have given from the beginning.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numeric>

#include "Common/CMat.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

bool SrifFilter::m_onDiaGenSen(int row, int k, double value) { return m_onDiaGenSen(row, k, value, 1.0); }

bool SrifFilter::m_onDiaGenSen(int row, int k, double value, double weight) {
  if (imtx + k + 3 >= ntmx || imtx + k + nobs + 2 > ldinfs) {
    std::printf("***ERROR(m_onDiaGenSen):Dimension Not big Enough! nmtxX: %d Real: %d\n", ntmx, imtx + k + 3);
    return false;
  }
  const int end = imtx + nobs;
  double* jump = infs + iptx[imtx + k + 1];
  std::fill_n(jump, end + 1, 0.0);
  jump[imtx + row] = value * weight;
  for (int j = 0; j < imtx; ++j) {
    const double* u = infs + iptx[j];
    double product = jump[j];
    for (int r = j + 1; r < end; ++r) product += u[r] * jump[r];
    product *= u[end];
    jump[j] += product;
    for (int r = j + 1; r < end; ++r) jump[r] += product * u[r];
  }
  return true;
}

void SrifFilter::m_onDiaUpInfs(int k, const std::vector<int>& rows) {
  const int n = imtx, end = n + k + nobs;
  const std::vector<double> rhsTop(infs + iptx[n], infs + iptx[n] + n);

  // Saved reflectors move down with the rows that they act on; they do not touch the k new ones.
  for (int column = 0; column < n; ++column) {
    double* u = infs + iptx[column];
    std::copy_backward(u + n, u + n + nobs + 1, u + end + 1);
    std::fill_n(u + n, k, 0.0);
  }
  for (int i = 0; i < k; ++i) {
    const double* jump = infs + iptx[n + 1 + i];
    double* column = infs + iptx[n + i];
    std::copy_n(jump, n, column);
    std::fill_n(column + n, k, 0.0);
    column[n + i] = m_ambinf0;
    std::copy_n(jump + n, nobs, column + n + k);
    column[end] = 0.0;
  }
  double* rhs = infs + iptx[n + k];
  std::copy_n(rhsTop.begin(), n, rhs);
  std::fill_n(rhs + n, k, 0.0);
  std::copy_n(tres, nobs, rhs + n + k);
  rhs[end] = 0.0;

  // The new columns alone, their reflectors kept in the same form for later passes.
  CMat::CMat_Householder(infs + iptx[n] + n, ldinfs, k, k + nobs, k + 1, true);
  std::copy_n(rhs + n + k, nobs, tres);
  std::fill_n(rhs + n + k, nobs, 0.0);

  std::copy_n(Hk + iphk[n], nobs, Hk + iphk[n + k]);
  for (int i = 0; i < k; ++i) {
    const int row = rows[static_cast<std::size_t>(i)];
    const auto [isat, kind, slot, ista, place] = m_origin(row);
    SrifPamt*& live = m_pm(ista, isat, slot);
    auto* record = new SrifPamt;
    record->ista = ista;
    record->isat = isat;
    record->ifreq = slot;
    record->ifreq2 = live->ifreq2;
    record->isys = live->isys;
    record->ipar = n + i;
    record->nuse = 1;
    record->iflag = kArcOutlier;
    record->ptime0 = record->ptime1 = mjd + sod / kDay;
    record->elevsum = m_stations[static_cast<std::size_t>(ista)].m_sat[isat].m_elev;
    record->lam = live->lam;
    record->pold = live;
    record->iold = live->ipar;
    std::memcpy(record->pname, live->pname, sizeof record->pname);
    std::fill_n(Hk + iphk[n + i], nobs, 0.0);
    m_designRows.resize(static_cast<std::size_t>(n + i + 1));
    m_setDesign(row, n + i, record->lam);
    live = record;
    m_amblist.push_back(record);
  }
  nc += k;
  imtx += k;
  m_get_resi(resi);
  m_sig0 = m_unitWeightSigma(true);
}

double SrifFilter::psig(int n, const std::vector<double>& columns, int skip) {
  if (nobs < 1) return 0.0;
  std::vector<const double*> jumps;
  for (int i = 0; i < n; ++i)
    if (i != skip) jumps.push_back(columns.data() + static_cast<std::ptrdiff_t>(i) * nobs);
  const auto m = jumps.size();
  std::vector<double> normal(m * m), b(m), x(m);
  for (std::size_t i = 0; i < m; ++i) {
    b[i] = std::inner_product(jumps[i], jumps[i] + nobs, tres, 0.0);
    for (std::size_t j = 0; j < m; ++j)
      normal[j * m + i] = std::inner_product(jumps[i], jumps[i] + nobs, jumps[j], 0.0);
  }
  double rest = std::inner_product(tres, tres + nobs, tres, 0.0);
  const int order = static_cast<int>(m);
  if (order > 0 && CMat::CMat_Inverse(normal.data(), order, order) == 0) {
    CMat::CMat_Matmul("NN", order, 1, order, 1.0, normal.data(), order, b.data(), order, 0.0, x.data(),
                      order);
    rest -= std::inner_product(b.begin(), b.end(), x.begin(), 0.0);
  }
  return std::sqrt(std::max(rest, 0.0) / nobs);
}

}  // namespace tarvio
