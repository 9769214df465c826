// Turning fleetctl's FLEETDIR operand into the fleet directory and the
// path of its definition.
#ifndef OWB_TOOLS_FLEETCTL_FLEETDIR_H
#define OWB_TOOLS_FLEETCTL_FLEETDIR_H

#include <string>

#include "owbtypes.h"
#include "tools/fleetctl/cli.h"

namespace fleetctl {

// Copies the padded FLEETDIR (fleetDirectoryOperand) into fleetDir; false,
// after a message on standard error, when it does not fit.
bool takeFleetDirectory(const std::string& operand, fileNameType fleetDir);

// <fleetDir>/<last component>.flt, the file the definition reader opens.
std::string definitionPath(const char* fleetDir);

}  // namespace fleetctl

#endif  // OWB_TOOLS_FLEETCTL_FLEETDIR_H
