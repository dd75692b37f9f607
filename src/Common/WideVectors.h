#pragma once
/// \file WideVectors.h
/// Kernels are compiled twice, for every processor and for those with wide vector units; the same body, and
/// the same digits.

#if defined(__x86_64__)
/// The form for wide units.
#define GNX_WIDE __attribute__((target("avx2")))
#else
#define GNX_WIDE
#endif

namespace tarvio {

/// The form for the processor at hand.
template <typename Function>
Function s_forThisProcessor([[maybe_unused]] Function wide, Function base) {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) return wide;
#endif
  return base;
}

}  // namespace tarvio
