#pragma once
/// \file ModelTables.h
/// The data files behind the observation models, read and checked when the configuration is loaded.

namespace tarvio {

/// Reads the troposphere grid, the zonal tides and the pole, sees that the ocean loading file can be read and
/// that the observed frequencies of every satellite find room in the tables of code corrections. A fault ends
/// the process here, with the text of its reader, and not in the first epoch.
void s_loadModelTables();
/// The same files into tables of their own, whatever the process has loaded before.
void s_readModelTables();

}  // namespace tarvio
