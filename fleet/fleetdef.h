// The fleet definition file, <fleetDir>/<fleetName>.flt, and its in-memory
// form.
//
// The file is text: a [ Common ] block with BasePort, Authority,
// EngineOptions and SecurityOn, then one [ Engine ] block per engine with
// EngineName, EnginePlaceConfig, LoadDebugger and any number of Module and
// Project lines.  Keys and block names match in any case; `#` in the first
// column of a stripped line is a comment.
#ifndef OWB_FLEET_FLEETDEF_H
#define OWB_FLEET_FLEETDEF_H

#include <cstddef>

#include "owbtypes.h"
#include "shared/list.h"

// Length of an authority in hexadecimal digits ("04" and 16 octets).
constexpr size_t kAuthorityLength = 34;
// The lowest base port a definition accepts.
constexpr long kLowestBasePort = 1025;

// The longest engine name a fleet can be made with: the name is a file
// name of its own (the engine's directory) and, with ".pid" or ".out"
// behind it, of the engine's pid and output files, and a file name holds
// at most 255 bytes.  The reader keeps names up to the field's 255
// characters; making a fleet refuses longer ones than this.
constexpr size_t kMaxEngineNameLength = 251;

// One engine of a fleet; item type FLTE.  Values longer than their field
// are truncated at the field's size.
class EngineConfiguration : public Item {
 public:
  EngineConfiguration();
  // A null label gives the empty one.
  explicit EngineConfiguration(const char* label);
  ~EngineConfiguration() override = default;
  EngineConfiguration(const EngineConfiguration&) = delete;
  EngineConfiguration& operator=(const EngineConfiguration&) = delete;

  // False for null or another item type; else labels equal ignoring case.
  Boolean isEqual(ItemPtr other) override;
  // Difference of item types (other's minus this one's), then strcasecmp
  // of the labels.
  long compare(ItemPtr other) override;
  TypeIdent getItemType() override;
  void printToString(char* buf) override;

  processLabelType engineLabel;   // also the engine's directory and pid file name
  fileNameType enginePlaceConfig;
  OWBboolean loadDebugger;        // true on construction
  List moduleConfigFiles;         // StringItems, owned
  List projectConfigFiles;        // StringItems, owned
};

// A whole definition.  Constructed values (basePort 0, securityOn false,
// empty texts) are not the reader's defaults for missing lines.
class FleetFileContent {
 public:
  FleetFileContent();
  // A null name gives the empty one.
  explicit FleetFileContent(const char* name);
  FleetFileContent(const FleetFileContent&) = delete;
  FleetFileContent& operator=(const FleetFileContent&) = delete;

  processLabelType fleetName;     // last component of the fleet directory; not in the file
  long basePort;
  processLabelType authorityText; // empty or kAuthorityLength hex digits
  processLabelType engineOptions;
  OWBboolean securityOn;
  List engines;                   // EngineConfigurations in file order, owned
};

// Reads <fleetDir>/<last component of fleetDir>.flt into content.  A file
// that can't be opened gives false silently, with only fleetName set; any
// other failure alerts under "Unable to Read Fleet Definition" and leaves
// in content what was read until then.
OWBboolean readFleetDefinition(const char* fleetDir, FleetFileContent* content);

// Writes <fleetDir>/<content->fleetName>.flt, replacing it.  Only a file
// that can't be opened fails (with an alert); write errors go unnoticed.
OWBboolean writeFleetDefinition(const char* fleetDir, FleetFileContent* content);

// Empties engList, then appends a StringItem per engine label of the
// definition, in file order.
OWBboolean readEngineList(const char* fleetDir, List* engList);

// True when pathname exists and reads as a fleet directory's definition.
Boolean validFleetDefFile(const char* pathname, FleetFileContent* fleetFile);

// A random port of at least kLowestBasePort and below 65536.
long randomPort();
// Fills authorityBuffer (kAuthorityLength + 1 bytes) with "04" and 16
// random octets in lower-case hex, each octet stirred with the characters
// of fleetDir.
void randomAuthority(const char* fleetDir, char* authorityBuffer);

#endif  // OWB_FLEET_FLEETDEF_H
