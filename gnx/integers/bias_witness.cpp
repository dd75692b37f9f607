// Puts the fractions of wide-lanes beside the antennas of a deployment.

#include "integers/bias_witness.h"

#include <utility>

#include "deployment/antex_file.h"

namespace gnx {

namespace {

/// The deployment's antenna file. Without one the engine refuses to start.
std::vector<AntexBlock> readAntennas(const Deployment& deployment) {
  const std::filesystem::path file = deployment.file("antpcv");
  return std::filesystem::exists(file) ? readAntex(file) : std::vector<AntexBlock>();
}

Vector3 positionOf(const Deployment& deployment, const StreamStart& start) {
  const RunSettings& run = deployment.settings;
  return !run.headerPosition && run.position_m != Vector3{} ? run.position_m : start.header.position;
}

}  // namespace

BiasWitness::BiasWitness(const Deployment& deployment, const StreamStart& start, const GpsTime& first,
                         const MessageStore& messages)
    : BiasWitness(deployment, start, tableTime(first), messages, readAntennas(deployment)) {}

BiasWitness::BiasWitness(const Deployment& deployment, const StreamStart& start, const TableTime& day,
                         const MessageStore& messages, const std::vector<AntexBlock>& antennas)
    : m_massCentre(deployment.toMassCentre()),
      m_heights(m_massCentre ? phaseCentreHeights(antennas, day) : PhaseCentreHeights()),
      m_lanes(
          SignalPlan({deployment.bands(), start.header.types, start.corrected, deployment.settings.signals}),
          messages, m_heights, positionOf(deployment, start)) {
  for (const AntexBlock& block : antennas)
    if (block.isSatellite() && satelliteOf(block).validAt(day))
      m_blocks[block.serial] = satelliteOf(block).block;
}

IntegerPolicy BiasWitness::judge(PolicyQuestion question) const {
  question.massCentre = m_massCentre;
  question.fractions = m_lanes.result();
  question.blocks = m_blocks;
  return decideIntegers(question);
}

}  // namespace gnx
