// Looks for the worker from where this library was loaded.

#include "engine/worker_program.h"

#include <dlfcn.h>

#include <cstdlib>

#include "gnx/error.h"

namespace gnx {

namespace fs = std::filesystem;

fs::path workerProgram(const fs::path& named) {
  if (!named.empty()) return fs::absolute(named);
  if (const char* variable = std::getenv("GNX_WORKER"); variable != nullptr && variable[0] != '\0')
    return fs::absolute(variable);
  Dl_info info{};
  std::error_code none;
  if (dladdr(reinterpret_cast<void*>(&workerProgram), &info) != 0 && info.dli_fname != nullptr) {
    const fs::path here = fs::canonical(info.dli_fname, none).parent_path();
    for (const fs::path& file : {here / "gnx-worker", here / GNX_WORKER_FROM_LIBRARY / "gnx-worker"})
      if (fs::exists(file, none)) return file.lexically_normal();
  }
  if (fs::exists(GNX_WORKER_INSTALLED, none)) return GNX_WORKER_INSTALLED;
  throw EngineError(
      "the worker's executable gnx-worker is not found beside the library; name it by the environment "
      "variable "
      "GNX_WORKER or run the engine in this process");
}

}  // namespace gnx
