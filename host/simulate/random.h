#pragma once
/// \file random.h
/// Reproducible random numbers: the same seed gives the same simulation with every compiler and library.
///
/// The distributions of the standard library are not used, since their algorithms are left open by the
/// standard. Every source of error draws from a stream of its own, chosen by name: switching one error
/// off or adding a satellite leaves all other numbers as they were.

#include <cmath>
#include <cstdint>
#include <random>
#include <string_view>

namespace gnx {

class Random {
 public:
  Random(std::uint64_t seed, std::string_view stream) : m_engine(mixed(seed, stream)) {}

  /// Uniform in [0, 1), 53 bits.
  double uniform() { return static_cast<double>(m_engine() >> 11) * 0x1.0p-53; }
  double uniform(double low, double high) { return low + (high - low) * uniform(); }
  /// Whole number in [low, high].
  std::int64_t integer(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(uniform() * static_cast<double>(high - low + 1));
  }
  /// Standard normal, polar method of Marsaglia and Bray (1964).
  double normal() {
    if (m_hasSpare) {
      m_hasSpare = false;
      return m_spare;
    }
    for (;;) {
      const double u = uniform(-1.0, 1.0), v = uniform(-1.0, 1.0);
      const double s = u * u + v * v;
      if (s <= 0.0 || s >= 1.0) continue;
      const double factor = std::sqrt(-2.0 * std::log(s) / s);
      m_spare = v * factor;
      m_hasSpare = true;
      return u * factor;
    }
  }

 private:
  /// FNV-1a of the name, stirred with the seed (splitmix64).
  static std::uint64_t mixed(std::uint64_t seed, std::string_view stream) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : stream) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    std::uint64_t z = hash + seed * 0x9E3779B97F4A7C15ULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }

  std::mt19937_64 m_engine;
  double m_spare = 0.0;
  bool m_hasSpare = false;
};

}  // namespace gnx
