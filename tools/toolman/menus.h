// The Tool Manager window's menu bar: "Tools" first (each registered tool
// with its port, and under it Quit, Show, Hide and Close Windows; the
// programs of $OWB/bin to start; Change Project, through the directory
// chooser; Rescan Project; Exit), then one menu per
// registered tool holding its commands in the order they were installed,
// then Help.
//
// A command that acts on a file is enabled only while the selected file
// has the command's file type (or the command takes any type).
#ifndef OWB_TOOLMAN_MENUS_H
#define OWB_TOOLMAN_MENUS_H

#include <string>
#include <vector>

#include "toolkit/winpub.h"

// Gives the window its bar and help menu.  Call once, before showing it.
void buildToolMenus(WinPtr win);
// Rebuilds the tools' menus when the tools or their commands changed, and
// sets which commands are enabled for selectedFile ("" for none).  A bar
// with a menu open is left as it is until it closes.
void updateToolMenus(WinPtr win, const std::string& selectedFile);
// For WIN_NFYSELMENUBAR: acts on the choice.  True when it was one of ours.
bool toolMenuChosen(WinPtr win);

// The programs a Tools menu offers to start: the executable files of
// directory, by name, at most 64.
std::vector<std::string> startablePrograms(const std::string& directory);

#endif  // OWB_TOOLMAN_MENUS_H
