// The Tool Manager's side of the message catalogue.
#ifndef OWB_TOOLMAN_HANDLERS_H
#define OWB_TOOLMAN_HANDLERS_H

#include <string>

#include "shared/messages.h"

// A command line sent by `toolman --send`: DATA, the line's text.  The
// reply carries the command's output as DATA in parameter 1.
constexpr TypeIdent kCommandLineMessage = OWB_TYPE("TMCL");

// Registers every handler on gMessageCenter.
void registerToolManHandlers();

// Adds text as a parameter of type paramType with its NUL, at its full
// length: paths are never cut, even in a parameter typed S255 or ST31.
void addTextParam(Message* message, TypeIdent paramType, const std::string& text);
// The text of a parameter (up to its NUL, at most a path's length).
std::string textParam(const Message* message, short paramNumber);

#endif  // OWB_TOOLMAN_HANDLERS_H
