#pragma once
/// \file ProductStores.h
/// The stores that filter and models read, handed down by their owner. Nothing here is owned.

#include <vector>

namespace tarvio {

class OrbitAdapter;
class ClkAdapter;
class OrbitClkAdapter;
class UpdAdapter;
class IfpbAdapter;

struct ProductStores {
  std::vector<OrbitAdapter*> m_orbAdapters;  ///< the models use the first
  std::vector<ClkAdapter*> m_clkAdapters;
  OrbitClkAdapter* m_orbclk = nullptr;  ///< the same store, asked why a satellite has no product
  UpdAdapter* m_upd = nullptr;          ///< satellite biases of the levels
  IfpbAdapter* m_ifpb = nullptr;        ///< third-frequency biases
};

}  // namespace tarvio
