#pragma once
/// \file ComStat.h
/// Distributions and combinations.

namespace tarvio {

void NORMAL(double x, double* p);   ///< standard normal distribution function
void PNORMAL(double p, double* x);  ///< its upper-tail quantile
void CHI2(int dof, double x, double* p, double* d);
void pchi2(int dof, double alpha, int mode, double* out);
bool chitst(int mode, double dof, double sigma0, double sigma, double alpha);
/// Next combination of k out of n in lexical order; comb[0] = -1 starts.
bool chos(int k, int n, int* comb);

}  // namespace tarvio
