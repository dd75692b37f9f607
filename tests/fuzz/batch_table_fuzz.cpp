// Any text as the table of a batch.

#include "batch/batch_table.h"
#include "fuzzed_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto arityOf = [](const std::string& name) {
    return name.starts_with('u') ? gnx::Arity::unknown
           : name.size() < 4     ? gnx::Arity::several
                                 : gnx::Arity::one;
  };
  return gnx::fuzz::readAsFile(data, size,
                               [&](const std::string& path) { gnx::readBatchTable(path, arityOf); });
}
