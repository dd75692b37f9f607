// Reads grid, zonal tides, pole and ocean loading before the first epoch asks for them.

#include "Core/Model/ModelTables.h"

#include "Common/Constants.h"
#include "Config/Configuration.h"
#include "Config/SiteInfo.h"
#include "Core/Model/Itrs2gcrs.h"
#include "Core/Model/PhaseWindup.h"
#include "Core/Model/PoleTable.h"
#include "Core/Model/Tropo_vmf1.h"

namespace tarvio {

void s_loadModelTables() {
  Tropo_vmf1::s_getInstance();
  double dut1_s = 0.0, dlod_s = 0.0, domega = 0.0;
  Itrs2gcrs::s_getInstance().RG_ZONT2("IERS2010", 0.0, &dut1_s, &dlod_s, &domega);
  PoleTable::s_getInstance().v_acqData(s_requiredTableFile(__func__, __LINE__, "polut1").c_str());
  s_checkOceanFile();
  double none[kObs] = {};
  for (int isat = 0; isat < s_config().m_nsat; ++isat) cor_BDScodebias(isat, none, 0.0);
}

void s_readModelTables() {
  const Tropo_vmf1 grid;
  double dut1_s = 0.0, dlod_s = 0.0, domega = 0.0;
  Itrs2gcrs().RG_ZONT2("IERS2010", 0.0, &dut1_s, &dlod_s, &domega);
}

}  // namespace tarvio
