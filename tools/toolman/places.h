// Window places kept across runs: the places the tools gave back by UWIN
// are written to $HOME/.owb/owbplaces whenever one is given back, and read
// when the Tool Manager starts, so that a tool's windows reopen where the
// user left them.
//
// The file is text, one place a line: the window type as 8 hex digits,
// the window's ID, and its four 16-bit values (top,left,bottom,right), as
// in "464c5457 3 40,60,420,660".  Lines that do not read so are skipped.
#ifndef OWB_TOOLMAN_PLACES_H
#define OWB_TOOLMAN_PLACES_H

#include <string>

#include "state.h"

// $HOME/.owb/owbplaces, "" without HOME.
std::string windowPlacesPath();
// Adds the places of text to state, within its bounds (a line longer than
// 200 characters is skipped); nextWindowId goes past every ID read.
void parseWindowPlaces(const std::string& text, ToolManState* state);
std::string formatWindowPlaces(const ToolManState& state);
// Reading a file that is missing or unreadable leaves the state as it was;
// a file past 1 MB is not read.
void loadWindowPlaces(const std::string& path, ToolManState* state);
// Writes through a temporary file renamed over path.  False on failure.
bool saveWindowPlaces(const std::string& path, const ToolManState& state);

#endif  // OWB_TOOLMAN_PLACES_H
