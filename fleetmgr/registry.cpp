// The fleet registry: FleetMgr, FleetObject and EngineObject.
#include "fleetmgr/registry.h"

#include <cstdio>
#include <cstring>

#include "fleet/configlang.h"
#include "fleetmgr/engconfig.h"
#include "fleetmgr/fleetwindows.h"
#include "fleetmgr/toolmsgs.h"
#include "shared/utils.h"

const char* const kDefaultEnginePlaceConfig = "$OWB/lib/engplace.cfg";
const char* const kFirstEngineName = "eng1";
const char* const kDefaultEngineOptions = "-d1";

FleetMgr* gFleetMgr = nullptr;

namespace {

// The port that the engine's startup.cfg keeps under "<label>_MOCK_PORT":
// the first integer item of exactly that label.  0 when the file can't be
// read or holds no such item.
long readEnginePort(const char* fleetDir, const char* engineLabel) {
  char key[sizeof(processLabelType) + 16];
  std::snprintf(key, sizeof key, "%s_MOCK_PORT", engineLabel);
  configItem* items = nullptr;
  if (!readConfigFile(fleetDir, engineLabel, &items, nullptr, nullptr)) return 0;
  long port = 0;
  for (configItem* item = items; item; item = item->next) {
    if (item->kind == configInteger && item->label && std::strcmp(item->label, key) == 0) {
      port = item->value.asInteger;
      break;
    }
  }
  freeConfigList(&items);
  return port;
}

}  // namespace

// ---------------------------------------------------------------------------
// EngineObject

EngineObject::EngineObject(const char* engName)
    : port(0), engConfig(new EngineConfiguration(engName)) {
  itemType = kEngineItemType;
}

EngineObject::EngineObject(const char* engName, EngineConfiguration* engInfo)
    : port(0), engConfig(engInfo) {
  // The configuration carries the label already.
  (void)engName;
  itemType = kEngineItemType;
}

TypeIdent EngineObject::getItemType() { return kEngineItemType; }

const char* EngineObject::label() const { return engConfig ? engConfig->engineLabel : ""; }

// ---------------------------------------------------------------------------
// FleetObject

FleetObject::FleetObject(const char* directory)
    : showMoreDetail(FALSE),
      fleetSettingsWindow(nullptr),
      engConfigDlg(nullptr),
      fleetStatusWindow(nullptr),
      engineList(kStandardChunkSize, TRUE, EqualCompare),
      fleetFile(nullptr),
      currentEng(nullptr),
      fleetStatus(nullptr),
      fleetExists(FALSE) {
  itemType = kFleetItemType;
  copyIntoField(fleetPath, sizeof fleetPath, directory);
  fleetFileName[0] = '\0';
}

FleetObject::~FleetObject() {
  terminateFleetWindow(fleetSettingsWindow);
  terminateFleetWindow(engConfigDlg);
  terminateFleetWindow(fleetStatusWindow);
  // Configurations that the definition does not hold go with their engines.
  for (long i = 0; i < engineList.totalElements; i++) {
    auto* engine = static_cast<EngineObject*>(engineList.get(i));
    if (engine && engine->engConfig && !definitionOwns(engine->engConfig)) {
      delete engine->engConfig;
      engine->engConfig = nullptr;
    }
  }
  delete fleetFile;
  fleetFile = nullptr;
  freeFleetProcessInfo(&fleetStatus);
  // engineList's destructor deletes the EngineObjects.
}

Boolean FleetObject::isEqual(ItemPtr other) {
  if (!other || other->getItemType() != kFileItemType) return FALSE;
  // Other FILE items (tuples) carry no single string to compare.
  auto* path = dynamic_cast<StringItem*>(other);
  return path && std::strcmp(fleetFileName, path->string) == 0 ? TRUE : FALSE;
}

TypeIdent FleetObject::getItemType() { return kFleetItemType; }

bool FleetObject::definitionOwns(const EngineConfiguration* config) {
  if (!fleetFile) return false;
  for (long i = 0; i < fleetFile->engines.totalElements; i++)
    if (fleetFile->engines.get(i) == config) return true;
  return false;
}

void FleetObject::discardEngine(EngineObject* engine) {
  if (!engine) return;
  // An engine added since the definition was read owns its configuration;
  // freeing it here is the choice that loses nothing, since the settings
  // window rebuilds the definition's list from engineList when it writes.
  if (engine->engConfig && !definitionOwns(engine->engConfig)) delete engine->engConfig;
  delete engine;
}

EngineObject* FleetObject::addEngine(const char* engName) {
  auto* engine = new EngineObject(engName);
  EngineConfiguration* config = engine->engConfig;
  copyIntoField(config->enginePlaceConfig, sizeof config->enginePlaceConfig, kDefaultEnginePlaceConfig);
  currentEng = engine;
  engineList.include(engine);
  return engine;
}

Boolean FleetObject::removeEngine(const char* engName) {
  EngineObject* engine = findEngine(engName);
  if (!engine) return FALSE;
  if (engine == currentEng) currentEng = nullptr;
  engineList.remove(engine);
  discardEngine(engine);
  return TRUE;
}

EngineObject* FleetObject::findEngine(const char* name) {
  EngineObject* found = nullptr;
  if (!name) return nullptr;
  // The whole list is walked from the end, so the earliest match wins.
  for (long i = engineList.totalElements - 1; i >= 0; i--) {
    auto* engine = static_cast<EngineObject*>(engineList.get(i));
    if (engine && std::strcmp(name, engine->label()) == 0) found = engine;
  }
  return found;
}

// ---------------------------------------------------------------------------
// FleetMgr

FleetMgr::FleetMgr()
    : fleetList(kStandardChunkSize, TRUE, EqualCompare), currentFleet(nullptr), configFile(nullptr) {}

FleetMgr::~FleetMgr() {
  delete configFile;
  configFile = nullptr;
  // fleetList's destructor deletes every fleet.
}

FleetObject* FleetMgr::addFleet(const char* directory, FleetFileContent* fleetFile) {
  auto* fleet = new FleetObject(directory);

  if (fleetFile) {
    fleet->fleetFile = fleetFile;
    fleet->fleetExists = TRUE;
    EngineObject* lastMade = nullptr;
    for (long i = 0; i < fleetFile->engines.totalElements; i++) {
      auto* config = static_cast<EngineConfiguration*>(fleetFile->engines.get(i));
      if (!config) continue;
      auto* engine = new EngineObject(config->engineLabel, config);
      fleet->engineList.include(engine);
      lastMade = engine;
      engine->port = readEnginePort(directory, config->engineLabel);
      if (engine->port != 0) announceEngine(engine->port);
    }
    fleet->currentEng = lastMade;
  } else {
    auto* engine = new EngineObject(kFirstEngineName);
    auto* content = new FleetFileContent();
    content->basePort = randomPort();
    randomAuthority(directory ? directory : "", content->authorityText);
    copyIntoField(content->engineOptions, sizeof content->engineOptions, kDefaultEngineOptions);
    extractFilename(directory, content->fleetName, sizeof content->fleetName);
    EngineConfiguration* config = engine->engConfig;
    copyIntoField(config->enginePlaceConfig, sizeof config->enginePlaceConfig, kDefaultEnginePlaceConfig);
    content->engines.include(engine->engConfig);
    fleet->fleetFile = content;
    fleet->fleetExists = FALSE;
    fleet->currentEng = engine;
    fleet->engineList.include(engine);
  }

  std::snprintf(fleet->fleetFileName, sizeof fleet->fleetFileName, "%s/%s.flt", directory ? directory : "",
                fleet->fleetFile->fleetName);
  fleetList.include(fleet);
  currentFleet = fleet;
  return fleet;
}

FleetObject* FleetMgr::findFleet(const char* fleetFileName) {
  if (!gFleetMgr) return nullptr;
  StringItem key(fleetFileName);
  List& fleets = gFleetMgr->fleetList;
  for (long i = fleets.totalElements - 1; i >= 0; i--) {
    ItemPtr element = fleets.get(i);
    if (element && element->isEqual(&key)) return static_cast<FleetObject*>(element);
  }
  return nullptr;
}

Boolean FleetMgr::deleteFleet(const char* fleetFileName) {
  if (!gFleetMgr) return TRUE;
  FleetObject* fleet = findFleet(fleetFileName);
  if (fleet) {
    gFleetMgr->fleetList.remove(fleet);
    delete fleet;
  }
  gFleetMgr->currentFleet = nullptr;
  return TRUE;
}
