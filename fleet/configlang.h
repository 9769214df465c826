// Reading the configuration language of an engine's startup.cfg and of the
// files it includes.
//
// The reader keeps what the Fleet Manager needs and lets pass what only the
// engine understands.  Line forms, tested in this order:
//   # ...                 comment (`#` in the first column only)
//   @name = value         environment setting    -> configEnviron
//   !label = command      external in a terminal  -> configExternal
//   &label = command      external in background  -> configExternal
//   include [=] file      the file is read in place (any case of "include")
//   key = value           an option: "#TRUE"/"#FALSE", "#NIL", a quoted
//                         string, or an integer; anything else is ignored
// Option lines lose their /* */ and // comments first; that pass doubles
// every `*` it copies and leaves the comment's first `/` behind.
// Environment and option lines take port numbers and `Key(Macro)`
// substitution (fleet/configmacro.h).
//
// Ports work in two modes.  When a fleet is made, the reader is given a
// port counter and a port list (allocation mode) and numbers every
// $NEW_ENG_PORT$ (one per engine and name, listed as "<engine>_<name>")
// and $NEW_FLEET_PORT$ (one per name for the whole fleet).  Otherwise both
// are null (use mode): $NEW_ENG_PORT$ on name N of engine E reads as
// `N(E_N) = $E_N`, and $NEW_FLEET_PORT$ lines are dropped, ports.cfg
// having defined them already.
//
// Faulty lines alert and are skipped; only a file that can't be opened
// fails a read.
#ifndef OWB_FLEET_CONFIGLANG_H
#define OWB_FLEET_CONFIGLANG_H

#include "fleet/configitem.h"
#include "owbtypes.h"
#include "shared/list.h"

// The most files a read has open at once: the first file and the includes
// nested in it.  A deeper include, and an include of a file that is being
// read already (a cycle, such as a file that includes itself), fail the
// read as an unreadable one does, with an alert that names the include.
constexpr int kMaxIncludeDepth = 64;

// Reads <fleetDir>/<engLabel>/startup.cfg into *listHead (set to null
// first).  nextPort and portHead are both given to allocate ports, both
// null to use them.  On failure the records read are freed and false is
// returned; on success the caller frees them with freeConfigList.
OWBboolean readConfigFile(const char* fleetDir, const char* engLabel, configItem** listHead, long* nextPort,
                          configItem** portHead);

// Reads one file, and its includes, appending to *listHead.  A relative
// name that does not open as it stands is looked for in the directories of
// every AutoLoadPath string option read so far (each ending in `/`).  A
// configFile record labelled configFN opens the file's records.
OWBboolean readNestedConfigFile(const char* configFN, configItem** listHead, long* nextPort,
                                configItem** portHead, const char* engLabel);

// The fleet's external processes: reads each engine's configuration of
// engList (items whose printToString gives the engine label) in use mode
// and keeps each external's first appearance by label (any case), in
// order.  False, with *externalList null, for an empty list or a failed read.
OWBboolean readExternalList(const char* fleetDir, List* engList, configItem** externalList);

// A quoted string: `"` first, and the first following `"` without a
// backslash before it is the last character.
OWBboolean isTSString(const char* theValue);
// An optional sign and one or more digits, nothing else.
OWBboolean isTSInteger(const char* theValue);

#endif  // OWB_FLEET_CONFIGLANG_H
