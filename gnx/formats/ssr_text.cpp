// Reads blocks of corrections: orbits, clocks, code and phase biases.

#include "formats/ssr_text.h"

#include <cmath>

#include "gnx/write.h"
#include "text/fields.h"

namespace gnx {

namespace {

constexpr int kMostSats = 400, kMostBiases = 60;
constexpr double kLargest = 1e7;  ///< m; clock terms of a satellite stay far below

}  // namespace

bool SsrTextReader::next(SsrBlock& block) {
  std::string_view line;
  while (m_reader.next(line)) {
    if (trim(line).empty()) continue;
    if (line.front() == '#' || line.front() == '!') continue;
    if (line.front() != '>') m_reader.fail("block", "line does not begin with '>'; the file is damaged here");
    ++m_number;
    const Head head = readHead(line, block);
    if (head.kind == "ORBIT") {
      block.kind = SsrKind::orbit;
    } else if (head.kind == "CLOCK") {
      block.kind = SsrKind::clock;
    } else if (head.kind == "CODE_BIAS") {
      block.kind = SsrKind::codeBias;
    } else if (head.kind == "PHASE_BIAS") {
      block.kind = SsrKind::phaseBias;
    } else {
      skipBlock();
      continue;
    }
    readLines(head.count, block);
    return true;
  }
  if (m_number == 0) m_reader.failAtEnd("holds no block of corrections; this is not an SSR text file");
  return false;
}

SsrTextReader::Head SsrTextReader::readHead(std::string_view line, SsrBlock& block) {
  split(line, m_words);
  if (m_words.size() < 10) m_reader.fail("block", "header line has too few fields; the file is damaged here");
  const auto time = parseDate(parseInt(m_words[2]), parseInt(m_words[3]), parseInt(m_words[4]),
                              parseInt(m_words[5]), parseInt(m_words[6]), parseReal(m_words[7]));
  if (!time) m_reader.fail("block epoch", "is not a date and time; the file is damaged here");
  const auto indicator = parseInt(m_words[8]), count = parseInt(m_words[9]);
  if (!indicator || *indicator < 0 || *indicator > 15)
    m_reader.fail("update interval", "indicator is not 0 to 15");
  if (!count || *count < 0 || *count > kMostSats) m_reader.fail("block", "number of lines is damaged");
  block.time = *time;
  block.interval = kUpdateIntervals[static_cast<std::size_t>(*indicator)];
  block.source = m_words.size() > 10 ? m_words[10] : std::string_view{};
  block.line = m_reader.line();
  block.orbits.clear();
  block.clocks.clear();
  block.biases.clear();
  return {m_words[1], *count};
}

void SsrTextReader::skipBlock() {
  std::string_view line;
  while (m_reader.next(line)) {
    if (line.empty() || line.front() != '>') continue;
    m_reader.unread();
    return;
  }
}

void SsrTextReader::readLines(int count, SsrBlock& block) {
  std::string_view line;
  // The line of indicators of phase biases is of no use here, but it has to be there.
  const int extra = block.kind == SsrKind::phaseBias ? 1 : 0;
  for (int i = -extra; i < count; ++i) {
    if (!m_reader.next(line))
      m_reader.failAtEnd("block: file ends inside a block; it is truncated, fetch it again");
    if (!m_reader.terminated())
      m_reader.fail("block", "file ends inside a line; it is truncated, fetch it again");
    if (!line.empty() && line.front() == '>') {
      m_reader.fail("block", "fewer lines than the " + std::to_string(count) + " announced in line " +
                                 std::to_string(block.line) + "; the file is damaged here");
    }
    split(line, m_words);
    if (i < 0) {
      if (m_words.size() != 2)
        m_reader.fail("PHASE_BIAS", "line of two indicators is missing; the file is damaged here");
      continue;
    }
    readSatLine(block);
  }
}

void SsrTextReader::readSatLine(SsrBlock& block) {
  const auto sat = m_words.empty() ? std::nullopt : parseSat(m_words[0]);
  if (!sat)
    m_reader.fail("satellite", "line of a block does not begin with a satellite; the file is damaged here");
  switch (block.kind) {
    case SsrKind::orbit: {
      SsrOrbit o;
      o.sat = *sat;
      o.iod = integer(1, *sat, "IOD");
      for (std::size_t k = 0; k < 3; ++k) o.delta[k] = real(2 + k, *sat, "orbit correction");
      for (std::size_t k = 0; k < 3 && m_words.size() > 5; ++k) o.rate[k] = real(5 + k, *sat, "orbit rate");
      block.orbits.push_back(std::move(o));
      return;
    }
    case SsrKind::clock: {
      SsrClock c;
      c.sat = *sat;
      c.iod = integer(1, *sat, "IOD");
      c.c[0] = real(2, *sat, "clock correction");
      for (std::size_t k = 1; k < 3 && m_words.size() > 2 + k; ++k) c.c[k] = real(2 + k, *sat, "clock rate");
      block.clocks.push_back(std::move(c));
      return;
    }
    default:
      readBiases(block, *sat);
  }
}

void SsrTextReader::readBiases(SsrBlock& block, const SatName& sat) {
  const bool phase = block.kind == SsrKind::phaseBias;
  SsrSatBias bias;
  bias.sat = sat;
  if (phase) {
    bias.yaw = real(1, sat, "yaw");
    bias.yawRate = real(2, sat, "yaw rate");
  }
  std::size_t at = phase ? 3 : 1;
  const int count = integer(at++, sat, "number of biases");
  const std::size_t width = phase ? 5 : 2;
  if (count < 0 || count > kMostBiases || m_words.size() < at + static_cast<std::size_t>(count) * width) {
    m_reader.fail(sat, "number of biases does not fit the line; the file is damaged here");
  }
  for (int k = 0; k < count; ++k, at += width) {
    SsrBias b;
    b.signal = m_words[at];
    if (b.signal.size() != 2) m_reader.fail(sat, "'" + b.signal + "' is no signal such as 1C");
    b.value = real(at + 1, sat, "bias");
    if (phase) {
      b.integerIndicator = integer(at + 2, sat, "integer indicator");
      b.wideLaneIndicator = integer(at + 3, sat, "wide-lane indicator");
      b.discontinuity = integer(at + 4, sat, "discontinuity counter");
    }
    bias.biases.push_back(std::move(b));
  }
  block.biases.push_back(std::move(bias));
}

double SsrTextReader::real(std::size_t word, const SatName& sat, const char* field) const {
  const auto value = word < m_words.size() ? parseReal(m_words[word]) : std::nullopt;
  if (!value || !(std::fabs(*value) < kLargest)) {
    m_reader.fail(sat + " " + field, "missing or not a number; the file is damaged here");
  }
  return *value;
}

int SsrTextReader::integer(std::size_t word, const SatName& sat, const char* field) const {
  const auto value = word < m_words.size() ? parseInt(m_words[word]) : std::nullopt;
  if (!value) m_reader.fail(sat + " " + field, "missing or not an integer; the file is damaged here");
  return *value;
}

}  // namespace gnx
