// EngConfigFile and StringTupleItem.
#include "fleetmgr/engconfig.h"

#include <cstdio>
#include <cstring>

#include "shared/utils.h"

StringTupleItem::StringTupleItem() {
  for (char*& slot : strings) slot = newEmptyString();
}

StringTupleItem::StringTupleItem(const char* const* initial) {
  itemType = kFileItemType;
  int filled = 0;
  // Never more than the twenty slots, whatever the array holds.
  if (initial)
    for (; filled < kTupleSize && initial[filled]; filled++) strings[filled] = newStringCopy(initial[filled]);
  for (int i = filled; i < kTupleSize; i++) strings[i] = newEmptyString();
}

StringTupleItem::~StringTupleItem() {
  for (char* slot : strings) delete[] slot;
}

void StringTupleItem::setStringN(int index, const char* newString) {
  if (index < 0 || index >= kTupleSize) return;
  delete[] strings[index];
  strings[index] = newString ? newStringCopy(newString) : newEmptyString();
}

Boolean StringTupleItem::isEqual(ItemPtr other) {
  if (!other || other->getItemType() != getItemType()) return FALSE;
  auto* tuple = dynamic_cast<StringTupleItem*>(other);
  if (!tuple) return FALSE;
  for (int i = 0; i < kTupleSize; i++) {
    if (!strings[i] || !tuple->strings[i]) return FALSE;
    if (std::strcmp(strings[i], tuple->strings[i]) != 0) return FALSE;
  }
  return TRUE;
}

void StringTupleItem::printToString(char* buf) {
  if (!buf) return;
  // Bounded like every item's print: at most kItemPrintBufferSize bytes.
  size_t used = 0;
  buf[0] = '\0';
  for (char* slot : strings) {
    if (!slot || !slot[0]) continue;
    int wrote = std::snprintf(buf + used, kItemPrintBufferSize - used, "%s:", slot);
    if (wrote < 0) break;
    used += static_cast<size_t>(wrote);
    if (used >= static_cast<size_t>(kItemPrintBufferSize) - 1) break;
  }
}

EngConfigFile::EngConfigFile() : EngConfigFile(nullptr) {}

EngConfigFile::EngConfigFile(const char* name)
    : preBootScripts(kStandardChunkSize, TRUE, EqualCompare),
      autoloadScripts(kStandardChunkSize, TRUE, EqualCompare),
      envVarList(kStandardChunkSize, TRUE, EqualCompare),
      configOptions(kStandardChunkSize, TRUE, EqualCompare),
      extProcsList(kStandardChunkSize, TRUE, EqualCompare) {
  std::snprintf(filename, sizeof filename, "%s", name ? name : "");
  engPlaceBootScript[0] = '\0';
}

// The lists delete their items as they are destroyed.
EngConfigFile::~EngConfigFile() = default;

void printEngConfigFile(EngConfigFile*) {}
void printFleetConfigFile(FleetObject*) {}
void printFleetStatus(FleetObject*) {}
