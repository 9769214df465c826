// FLEETDIR operands.
#include "tools/fleetctl/fleetdir.h"

#include <cstdio>
#include <cstring>

namespace fleetctl {

bool takeFleetDirectory(const std::string& operand, fileNameType fleetDir) {
  std::string directory = fleetDirectoryOperand(operand);
  if (directory.size() >= sizeof(fileNameType)) {
    std::fprintf(stderr, "fleetctl: the fleet directory path is longer than %zu characters\n",
                 sizeof(fileNameType) - 1);
    return false;
  }
  std::snprintf(fleetDir, sizeof(fileNameType), "%s", directory.c_str());
  return true;
}

std::string definitionPath(const char* fleetDir) {
  const char* lastSlash = std::strrchr(fleetDir, '/');
  return std::string(fleetDir) + "/" + (lastSlash ? lastSlash + 1 : fleetDir) + ".flt";
}

}  // namespace fleetctl
