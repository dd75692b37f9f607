#include "engine/engine_options.h"

#include "Interface/Controller.h"  // the only library-internal header of the program

namespace gnx {

void setEngineOptions(const std::string& options) {
  auto& deploy = tarvio::Controller::s_getInstance()->m_deploy;
  const std::size_t room = sizeof deploy.m_pams - 1;
  const std::size_t n = options.copy(deploy.m_pams, room);
  deploy.m_pams[n] = '\0';
}

}  // namespace gnx
