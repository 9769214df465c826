// One readable line per message: type, sender and parameters decoded by type.
#ifndef OWB_TOOLMAN_PRINT_H
#define OWB_TOOLMAN_PRINT_H

#include <cstdint>
#include <string>

#include "shared/messages.h"

// "REGT from fleetmgr@4512 needs-reply: #0 DATA tool{...}; #1 S255 "..."".
// Text is shown in quotes with control bytes escaped and cut after 200
// characters; DATA of 84 bytes is shown as a tool record, of 8 bytes as a
// rectangle, anything else as its length and first bytes in hex.
std::string describeMessage(const Message& message);
// Four big-endian 16-bit values: "top,left,bottom,right".
std::string describeRectangle(const uint8_t* rect);

#endif  // OWB_TOOLMAN_PRINT_H
