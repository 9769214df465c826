// The settings window's make and Cancel: the steps that need no window.
#include "fleetmgr/settings.h"

#include <cctype>
#include <cstring>

#include "fleetmgr/fleetops.h"
#include "shared/alert.h"
#include "shared/errors.h"
#include "shared/utils.h"

const char* const kMoreDetailLabel = "More Detail...";
const char* const kLessDetailLabel = "Less Detail...";

namespace {

// Deletes fleet and registers its definition again from disk.  Null when
// the definition can't be read any more: the fleet is then gone.
FleetObject* reloadFleet(FleetObject* fleet) {
  fileNameType path, fileName;
  copyIntoField(path, sizeof path, fleet->fleetPath);
  copyIntoField(fileName, sizeof fileName, fleet->fleetFileName);
  gFleetMgr->deleteFleet(fileName);
  auto* content = new FleetFileContent();
  // A definition that vanished from disk is not made up from defaults.
  if (!readFleetDefinition(path, content)) {
    delete content;
    return nullptr;
  }
  return gFleetMgr->addFleet(path, content);
}

}  // namespace

const char* authorityRefusal(const char* authority) {
  if (!authority || !authority[0]) return nullptr;
  if (std::strlen(authority) != kAuthorityLength)
    return "Illegal authority string: authority must be 34 characters long.";
  for (const char* c = authority; *c; c++)
    if (!std::isxdigit(static_cast<unsigned char>(*c)))
      return "Illegal authority string: authority contained non-hexadecimal character.";
  return nullptr;
}

ErrorCode makeFleetFromSettings(FleetObject** fleetHeld, const FleetSettingsInput& input) {
  FleetObject* fleet = *fleetHeld;
  if (const char* refusal = authorityRefusal(input.authority)) {
    displayAlertWindow(refusal, kAlertWarning, "Invalid authority string", nullptr, nullptr, nullptr, TRUE,
                       nullptr);
    return -1;
  }
  MakeFleetArgs args;
  FleetFileContent* definition = fleet->fleetFile;
  const char* authority = input.authority ? input.authority : "";
  copyIntoField(args.fleetDefn.authorityText, sizeof args.fleetDefn.authorityText, authority);
  copyIntoField(definition->authorityText, sizeof definition->authorityText, authority);
  const char* options = input.engineOptions && input.engineOptions[0] ? input.engineOptions : kDefaultEngineOptions;
  copyIntoField(args.fleetDefn.engineOptions, sizeof args.fleetDefn.engineOptions, options);
  args.fleetDefn.securityOn = input.securityOn ? OWB_TRUE : OWB_FALSE;
  // The open fleet keeps what it was made with, so that the window shows
  // it when opened again.
  copyIntoField(definition->engineOptions, sizeof definition->engineOptions, options);
  definition->securityOn = args.fleetDefn.securityOn;

  ErrorCode status = fleet->doMakeFleetCmd(&args);
  if (status != kNoError && fleet->fleetExists) {
    // The settings window is the caller's to close; it must outlive the
    // object it was opened for until its notification has returned.
    fleet->fleetSettingsWindow = nullptr;
    *fleetHeld = reloadFleet(fleet);
  }
  return status;
}

FleetObject* revertFleetSettings(FleetObject* fleet) {
  if (!fleet) return nullptr;
  if (!fleet->fleetExists) {
    gFleetMgr->deleteFleet(fleet->fleetFileName);
    return nullptr;
  }
  return reloadFleet(fleet);
}
