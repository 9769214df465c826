// The engine place configuration file that the settings window composes:
// the lists of gFleetMgr->configFile (EngConfigFile, engconfig.h), the
// tables of the dialog's five folders, and the writer of the file.
//
// Contracts: every function here works on gFleetMgr->configFile and does
// nothing (returns null) when there is none.  Items returned belong to the
// list they were put in.
#ifndef OWB_FLEETMGR_SETTINGSFILE_H
#define OWB_FLEETMGR_SETTINGSFILE_H

#include "fleetmgr/engconfig.h"
#include "fleetmgr/fltstat.h"
#include "owbtypes.h"

// A folder table is a list of fleetListInfo (fltstat.h): entry 0 is the
// label over the list, the others are the list's columns, each width a
// code: below 0 the list's width divided by its negation, above 0 that
// many pixels, 0 what is left.

// The dialog's five folders, in the order of its tabs.
enum {
  kPreBootFolder = 0,
  kAutoloadFolder = 1,
  kEnvVarFolder = 2,
  kConfigOptionsFolder = 3,
  kExtProcFolder = 4,
  kConfigFolderCount = 5
};

// One folder: its table (label and columns) and how many columns it has.
struct ConfigFolder {
  const fleetListInfo* table;
  int columns;
};

extern const fleetListInfo gPreBootHeadingStrs[];
extern const fleetListInfo gAutoloadHeadingStrs[];
extern const fleetListInfo gEnvVarHeadingStrs[];
extern const fleetListInfo gCfgOptionsHeadingStrs[];
extern const fleetListInfo gExtProcHeadingStrs[];
// The five folders by tab index.
extern const ConfigFolder gConfigFolders[kConfigFolderCount];

// The list of configFile that folder (0..4) shows; null for another index
// or a null configFile.
List* configFolderList(EngConfigFile* configFile, int folder);
// The text of column (from 1) of a list element: a StringItem's string or
// slot column - 1 of a StringTupleItem.  Never null.
const char* configFolderCell(ItemPtr element, int column);

// The width in pixels of a column by its code, for a list listWidth wide
// whose earlier columns took usedWidth.  Never below 0.
int columnWidthFromCode(int code, int listWidth, int usedWidth);

// Append a new StringItem of filename to the pre-boot or autoload list and
// return it.
StringItem* addBootScriptFile(const char* filename);
StringItem* addAutoloadScriptFile(const char* filename);

// Writes gFleetMgr->configFile to its filename, replacing the file.  Each
// list is written newest (last) first.  A file that can't be opened is
// reported ("Unable to open %s for writing", title "File error").  A String
// option that both starts and ends with a backslash, apostrophe or double
// quote loses its last character in the stored value as it is written.
void writeConfigFile();

#endif  // OWB_FLEETMGR_SETTINGSFILE_H
