#pragma once
/// \file TropoGrid.h
/// Cells of a grid file of GPT2w, 1 degree: a header line and 64800 lines of 44 numbers, rows from the north,
/// cells from longitude 0.5 degrees eastward.
///
/// Published files have lines of one length. Of such a file only the cells that are asked for are read, four
/// for a station that stands still; any other one is read whole, 23 MB in memory.

#include <array>
#include <cstddef>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvio {

class TropoGrid {
 public:
  static constexpr int kRows = 180, kColumns = 360;
  static constexpr std::size_t kCells = std::size_t{kRows} * kColumns;

  /// Mean, annual cosine and sine, semi-annual cosine and sine.
  using Harmonics = std::array<double, 5>;
  struct Cell {
    Harmonics pressure;     ///< Pa
    Harmonics temperature;  ///< K
    Harmonics humidity;     ///< kg/kg
    Harmonics lapse;        ///< K/m
    Harmonics ah, aw;       ///< mapping coefficients
    Harmonics lambda;       ///< decrease factor of the vapour pressure
    Harmonics tm;           ///< mean temperature weighted with it, K
    double undulation;      ///< m
    double height;          ///< orography, m
  };

  /// Ends the process when the file cannot be read.
  explicit TropoGrid(const std::string& file);

  /// \param i  0 to kCells - 1. A cell that has become unreadable since the start is what the one read last
  ///           is: the climatology changes little over a degree, and a run does not end for it.
  const Cell& m_cell(std::size_t i);

 private:
  bool m_findLines();
  void m_readAll();
  std::optional<Cell> m_readLine(std::size_t i);

  std::string m_file;
  std::ifstream m_in;
  std::streamoff m_begin = 0, m_line = 0;            ///< bytes before the first cell, of each; 0: not alike
  std::vector<Cell> m_all;                           ///< of a file whose lines are not alike
  std::vector<std::pair<std::size_t, Cell>> m_kept;  ///< cells that were read, the last one behind
};

}  // namespace tarvio
