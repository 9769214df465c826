// The three dialogs that add one entry to the engine place configuration
// being composed (environment variable, configuration option, external
// process), and the functions that add the entry to gFleetMgr->configFile.
//
// Contracts: the add functions return the new item, which belongs to the
// configuration's list, or null when there is no configuration (or, for
// addConfigOption, when the value is refused).  The arrays are
// null-terminated; their strings stay the caller's.  A line break in any
// string becomes a blank, since every entry is one line of the file.
#ifndef OWB_FLEETMGR_FLEETDLG_ADD_H
#define OWB_FLEETMGR_FLEETDLG_ADD_H

#include "fleetmgr/engconfig.h"
#include "owbtypes.h"

struct _WinObj;
typedef _WinObj* WinPtr;

// The types of the option dialog's combo box, in order, ended by "".
extern const char* const gTypeComboStrs[];
// The entry selected when the option dialog opens: "String".
constexpr int kDefaultOptionType = 6;

// name, value -> envVarList.
StringTupleItem* addEnvVar(const char* const* nameValuePair);
// symbolic name, command line -> extProcsList.
StringTupleItem* addExtProc(const char* const* nameValuePair);

// type, keyword, value -> configOptions, after the value has passed the
// test of its type.  A refused value is reported (alert and a line on
// standard output) and gives null.  An accepted value is normalised in the
// array's own string: an Integer loses leading white space and a +, keeps a
// - right before its digits; an OctetString loses a leading "0x".
StringTupleItem* addConfigOption(char* const* configOptions);

// The dialogs, opened by the engine place configuration dialog
// configFileDlg, whose list receives the entry.  Each closes itself.
WinPtr createAddEnvVariableDlg(WinPtr configFileDlg);
WinPtr createAddConfigOptionDlg(WinPtr configFileDlg);
WinPtr createAddExtProcDlg(WinPtr configFileDlg);

#endif  // OWB_FLEETMGR_FLEETDLG_ADD_H
