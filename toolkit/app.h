// Bringing the toolkit's layers up and down.
//
// Five layers, lowest first: Core, Resources, Graphics and windows (Vgm),
// Widgets (TKit), Generic windows (GW).  Each layer's install entry
// registers classes (no display, no files) after installing the layer
// below; its load entry loads the layer's resource library and initialises
// its classes after loading the layer below; its exit entry counts down.
// Every entry returns the previous value of its counter and does its work
// only the first time.
//
// The classes and modules of the graphics, widget and generic window layers
// are started from one table, toolkit/classes.cpp: adding a class is one row
// there.
#ifndef OWB_TOOLKIT_APP_H
#define OWB_TOOLKIT_APP_H

#include "toolkit/err.h"

// Application hooks, empty in the toolkit; an application replaces them by
// defining its own.
void APP_InitFirst();
void APP_InitLast();
void APP_Exit();

// For a program of the installation's bin/: when ND_PATH is unset, sets it
// to the resource folder beside the program ($OWB/bin/resource), found
// through /proc/self/exe or else argv0.
void APP_UseResourcesBesideProgram(const char* argv0);

// Module globals: the master error record, stored at install time.
extern ErrMasterPtr CORE;
extern ErrMasterPtr RES;
extern ErrMasterPtr VGM;
extern ErrMasterPtr TKIT;
extern ErrMasterPtr GW;

Int CORE_LibInstall();
Int CORE_LibLoadInit();
Int CORE_LibExit();
Int RES_LibInstall();
Int RES_LibLoadInit();
Int RES_LibExit();
Int VGM_LibInstall();
Int VGM_LibLoadInit();
Int VGM_LibExit();
Int TKIT_LibInstall();
Int TKIT_LibLoadInit();
Int TKIT_LibExit();
Int GW_LibInstall();
Int GW_LibLoadInit();
Int GW_LibExit();

#endif  // OWB_TOOLKIT_APP_H
