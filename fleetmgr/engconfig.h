// Records that the settings windows fill: EngConfigFile, the working image
// of an engine place configuration file, and StringTupleItem, a list item
// of up to twenty strings.
#ifndef OWB_FLEETMGR_ENGCONFIG_H
#define OWB_FLEETMGR_ENGCONFIG_H

#include "owbtypes.h"
#include "shared/list.h"

class FleetObject;

constexpr int kTupleSize = 20;

// Up to twenty strings; every slot always holds a heap string of its own
// (new[]), the empty string when unset.
class StringTupleItem : public Item {
 public:
  // Twenty empty strings; no item type assigned.
  StringTupleItem();
  // Item type FILE.  Slots are copied in order up to the first null of
  // strings (a null-terminated array), at most twenty; the rest are empty.
  explicit StringTupleItem(const char* const* strings);
  ~StringTupleItem() override;
  StringTupleItem(const StringTupleItem&) = delete;
  StringTupleItem& operator=(const StringTupleItem&) = delete;

  // Replaces slot index with a copy of newString (null: ""); an index
  // outside 0..19 changes nothing.
  void setStringN(int index, const char* newString);
  // Same item type and all twenty slots equal by strcmp.
  Boolean isEqual(ItemPtr other) override;
  // Each non-empty slot followed by ":", cut at kItemPrintBufferSize
  // bytes (NUL included) like every item's print; null writes nothing.
  void printToString(char* buf) override;

  char* strings[kTupleSize];
};

// An engine place configuration file being edited.  At most one exists in
// the tool, held by gFleetMgr->configFile.
class EngConfigFile {
 public:
  EngConfigFile();
  explicit EngConfigFile(const char* name);
  virtual ~EngConfigFile();
  EngConfigFile(const EngConfigFile&) = delete;
  EngConfigFile& operator=(const EngConfigFile&) = delete;

  Str255 filename;            // the file to write
  Str255 engPlaceBootScript;  // empty when there is none
  List preBootScripts;        // StringItems
  List autoloadScripts;       // StringItems
  List envVarList;            // StringTupleItems: name, value
  List configOptions;         // StringTupleItems: type, keyword, value
  List extProcsList;          // StringTupleItems: symbolic name, command line
};

// Places for debugging output; they print nothing.
void printEngConfigFile(EngConfigFile* configFile);
void printFleetConfigFile(FleetObject* fleet);
void printFleetStatus(FleetObject* fleet);

#endif  // OWB_FLEETMGR_ENGCONFIG_H
