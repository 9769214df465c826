// What the tool knows of fleets while it runs: one FleetMgr holding one
// FleetObject per fleet, each with its EngineObjects, its parsed definition
// and its open windows.
//
// The definition file on disk is the authority; a FleetObject is a working
// copy of it.  The registry starts empty and is filled by the Tool
// Manager's IDFL questions and by "New Fleet".
//
// Ownership: gFleetMgr owns every FleetObject; a FleetObject owns its
// EngineObjects, its FleetFileContent and its status list.  An engine's
// EngineConfiguration belongs to the definition's engines list when it is
// in it; otherwise (an engine added in the settings window since the last
// read) the fleet frees it together with the engine.
#ifndef OWB_FLEETMGR_REGISTRY_H
#define OWB_FLEETMGR_REGISTRY_H

#include "fleet/fleetdef.h"
#include "fleet/psfleet.h"
#include "owbtypes.h"
#include "shared/list.h"

struct _WinObj;
typedef _WinObj* WinPtr;

struct MakeFleetArgs;
struct RunFleetArgs;
struct KillFleetArgs;
struct BackupFleetArgs;
struct RestoreFleetArgs;
class EngConfigFile;

// The place configuration every new engine starts with.
extern const char* const kDefaultEnginePlaceConfig;  // "$OWB/lib/engplace.cfg"
// The engine of a new fleet.
extern const char* const kFirstEngineName;  // "eng1"
// The engine options of a new fleet.
extern const char* const kDefaultEngineOptions;  // "-d1"

// One engine of a fleet; item type FLTE.
class EngineObject : public Item {
 public:
  // Makes a fresh EngineConfiguration labelled engName (loadDebugger true).
  explicit EngineObject(const char* engName);
  // Wraps engInfo, which stays owned by whoever owns it.
  EngineObject(const char* engName, EngineConfiguration* engInfo);
  TypeIdent getItemType() override;

  // The configuration's label ("" when there is none).
  const char* label() const;
  // Pushes the engine's values into the settings window (settingswin.cpp);
  // FALSE when no folder tab is on.
  Boolean drawSettings(WinPtr fleetSettingsWindow);

  long port;  // the debugger port announced to the Tool Manager; 0 when unknown
  EngineConfiguration* engConfig;
};

// One fleet; item type FLTC.  Its key is fleetFileName.
class FleetObject : public Item {
 public:
  // A fleet on directory (copied into fleetPath); everything else cleared.
  explicit FleetObject(const char* directory);
  ~FleetObject() override;
  FleetObject(const FleetObject&) = delete;
  FleetObject& operator=(const FleetObject&) = delete;

  // True only for a FILE item whose text equals fleetFileName exactly: a
  // fleet equals the string of its path, never another FleetObject.
  Boolean isEqual(ItemPtr other) override;
  TypeIdent getItemType() override;

  // A new engine with the default place configuration; it becomes
  // currentEng.  It is not put in the definition's engines list.
  EngineObject* addEngine(const char* engName);
  // False for an unknown name.  Otherwise the engine nearest the start of
  // the list with that name is taken out and deleted.
  Boolean removeEngine(const char* engName);
  // Of like-named engines, the one nearest the start; null when none.
  EngineObject* findEngine(const char* name);

  // The fleet's commands, defined in fleetops.cpp; callers include
  // fleetops.h, which states their contract.
  ErrorCode doMakeFleetCmd(MakeFleetArgs* args);
  ErrorCode doRunFleetCmd(RunFleetArgs* args);
  ErrorCode doKillFleetCmd(KillFleetArgs* args);
  ErrorCode doBackupFleetCmd(BackupFleetArgs* args);
  ErrorCode doRestoreFleetCmd(RestoreFleetArgs* args);
  // Reads the fleet's processes into fleetStatus, replacing the old list.
  ErrorCode doPsFleetCmd();
  // Fill in the parts of a record that come from the fleet.
  void makeMakeFleetArgs(MakeFleetArgs* args);
  void makeRunFleetArgs(RunFleetArgs* args);
  void makeKillFleetArgs(KillFleetArgs* args);

  // The windows: each is defined in the file of its window (fleetwindows.cpp
  // until the windows are built); a window file adds its own create... here.
  void createFleetSettingsDialog();
  void createFleetStatusWindow();
  // The settings window (settingswin.cpp): push the fleet's values into
  // its widgets (TRUE), and show or hide its detail panel; both do nothing
  // without the window.
  Boolean drawSettings();
  void setFleetSettingsDetail(Boolean showDetail);

  Boolean showMoreDetail;
  WinPtr fleetSettingsWindow;
  WinPtr engConfigDlg;
  WinPtr fleetStatusWindow;
  List engineList;          // EngineObjects, owned
  Str255 fleetPath;         // the directory as given to addFleet
  Str255 fleetFileName;     // "<fleetPath>/<fleetName>.flt"
  FleetFileContent* fleetFile;  // owned
  EngineObject* currentEng;
  fleetProcessInfo* fleetStatus;  // owned; null until the first status query
  Boolean fleetExists;      // the definition is on disk

 private:
  // True when config is one of the definition's own engines.
  bool definitionOwns(const EngineConfiguration* config);
  // Frees engine, and its configuration when the definition does not own it.
  void discardEngine(EngineObject* engine);
};

class FleetMgr {
 public:
  FleetMgr();
  virtual ~FleetMgr();
  FleetMgr(const FleetMgr&) = delete;
  FleetMgr& operator=(const FleetMgr&) = delete;

  // Registers the fleet on directory and makes it current.  fleetFile, a
  // parsed definition, passes to the fleet; null makes a new, unsaved fleet
  // with default settings.
  FleetObject* addFleet(const char* directory, FleetFileContent* fleetFile);
  // Removes and deletes the fleet of that file name if there is one; in
  // any case currentFleet becomes null.  Always true.
  Boolean deleteFleet(const char* fleetFileName);
  // Exact comparison with each fleetFileName, newest first; null when none.
  // Both look-ups search gFleetMgr whatever this is.
  FleetObject* findFleet(const char* fleetFileName);
  // Deletes the fleet directory of fleetFileName and, when that worked,
  // tells the Tool Manager and forgets the fleet (fleetops.h).
  ErrorCode doRemoveFleetCmd(const char* fleetFileName);

  List fleetList;            // FleetObjects, oldest first, owned
  FleetObject* currentFleet;
  EngConfigFile* configFile;  // owned; at most one in the tool
};

extern FleetMgr* gFleetMgr;

#endif  // OWB_FLEETMGR_REGISTRY_H
