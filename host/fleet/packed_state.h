#pragma once
/// \file packed_state.h
/// The state of a station on its way between machines: packed, for most of a covariance matrix is empty.

#include <optional>
#include <string>

namespace gnx {

std::string packedState(const std::string& bytes);
/// Nothing for bytes that are damaged or no packed state.
std::optional<std::string> unpackedState(const std::string& packed);

}  // namespace gnx
