// Allocation and release of configuration records.
#include "fleet/configitem.h"

#include <cstdlib>
#include <cstring>

#include "fleet/keyvalue.h"

configItem* allocConfigItem(int itsKind, const char* itsLabel, configItem** listHead, configItem** listTail) {
  auto* item = static_cast<configItem*>(std::calloc(1, sizeof(configItem)));
  if (!item) return nullptr;
  item->kind = itsKind;
  if (itsLabel && !(item->label = copyOfString(itsLabel))) {
    std::free(item);
    return nullptr;
  }
  configItem* tail = *listTail;
  if (!tail)
    for (tail = *listHead; tail && tail->next; tail = tail->next) {
    }
  if (tail) tail->next = item;
  else *listHead = item;
  *listTail = item;
  return item;
}

void freeConfigItem(configItem* aPtr) {
  if (!aPtr) return;
  std::free(aPtr->label);
  switch (aPtr->kind) {
    case configString: std::free(aPtr->value.asString); break;
    case configEnviron: std::free(aPtr->value.asEnviron); break;
    case configExternal: std::free(aPtr->value.asExternal.cmdLine); break;
    default: break;
  }
  std::free(aPtr);
}

void freeConfigList(configItem** theList) {
  configItem* item = *theList;
  while (item) {
    configItem* next = item->next;
    freeConfigItem(item);
    item = next;
  }
  *theList = nullptr;
}
