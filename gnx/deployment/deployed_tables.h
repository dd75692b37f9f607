#pragma once
/// \file deployed_tables.h
/// Looks through the tables of a deployment that users edit: the engine ends at the first row that it cannot
/// take, and names neither file nor line.

#include <optional>

#include "gnx/deployment.h"

namespace gnx {

/// \param date  of the run: vehicles and leap seconds are those of a time
/// \throws InputError, the line that is wrong and what a right one is
void checkDeployedTables(const Deployment& deployment, const std::optional<GpsTime>& date);

}  // namespace gnx
