#pragma once
/// \file deployed_tables.h
/// Looks through the tables of a deployment that users edit: the engine ends at the first row that it cannot
/// take, and names neither file nor line.

#include "gnx/deployment.h"

namespace gnx {

/// Leap seconds, the list of satellites and the table of their vehicles.
/// \throws InputError, the line that is wrong and what a right one is
void checkDeployedTables(const Deployment& deployment);

}  // namespace gnx
