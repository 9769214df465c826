// Stand-in until the toolkit has menu bars: the window shows no menus yet.
#include "menus.h"
void buildToolMenus(WinPtr) {}
void updateToolMenus(WinPtr, const std::string&) {}
bool toolMenuChosen(WinPtr) { return false; }
