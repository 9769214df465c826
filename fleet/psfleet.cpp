// Fleet process status from the definition, the configuration and the pid files.
#include "fleet/psfleet.h"

#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fleet/configlang.h"
#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fleet/fleetpath.h"
#include "fleet/keyvalue.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"
#include "shared/utils.h"

namespace {

// Each pid file line is read with this limit.
constexpr int kPidFileLineSize = 2048;

// The records in order, with their tail so that appending is direct.
class StatusList {
 public:
  explicit StatusList(fleetProcessInfo** head) : head_(head) { *head_ = nullptr; }

  // A new cleared record at the tail; null when memory is short.
  fleetProcessInfo* append(const char* label, int processType) {
    auto* record = static_cast<fleetProcessInfo*>(std::calloc(1, sizeof(fleetProcessInfo)));
    if (!record) return nullptr;
    copyIntoField(record->processLabel, sizeof record->processLabel, label);
    record->processType = processType;
    if (tail_) tail_->next = record;
    else *head_ = record;
    tail_ = record;
    return record;
  }

  fleetProcessInfo* find(const char* label) const {
    for (fleetProcessInfo* record = *head_; record; record = record->next)
      if (strcasecmp(record->processLabel, label) == 0) return record;
    return nullptr;
  }

 private:
  fleetProcessInfo** head_;
  fleetProcessInfo* tail_ = nullptr;
};

bool isWanted(const char* label, const char* specificProcess) {
  return !*specificProcess || strcasecmp(label, specificProcess) == 0;
}

void addEngineRecords(PsFleetArgs* args, List& engList, StatusList& records) {
  bool specific = args->specificProcess[0] != '\0';
  if (!specific && args->externalsOnly) return;
  for (long i = 0; i < engList.totalElements; ++i) {
    auto* engine = static_cast<StringItem*>(engList.get(i));
    if (engine && isWanted(engine->string, args->specificProcess)) records.append(engine->string, kEngineProcess);
  }
}

void addExternalRecords(PsFleetArgs* args, List& engList, StatusList& records) {
  if (!args->specificProcess[0] && args->enginesOnly) return;
  configItem* externals = nullptr;
  if (!readExternalList(args->fleetDir, &engList, &externals)) return;
  for (configItem* external = externals; external; external = external->next) {
    if (!isWanted(external->label, args->specificProcess)) continue;
    if (fleetProcessInfo* record = records.append(external->label, kExternalProcess))
      record->commandLine = copyOfString(external->value.asExternal.cmdLine);
  }
  freeConfigList(&externals);
}

// Fills record from its pid file: start time, process id, liveness,
// command line and, for an engine, its ports.
void readPidFile(const char* fleetDir, const char* entryName, fleetProcessInfo* record) {
  std::string fileName = pathIn(fleetDir, entryName);
  struct stat info;
  if (stat(fileName.c_str(), &info) == 0) record->startTime = info.st_ctime;
  FILE* file = openRegularFile(fileName.c_str());
  if (!file) return;
  char line[kPidFileLineSize];
  for (int lineNumber = 1; lineNumber <= 5 && readALine(line, sizeof line, file); ++lineNumber) {
    switch (lineNumber) {
      case 1:
        // Only a plain decimal above 1 names a process; anything else
        // stays 0 and is not probed.
        record->processID = processIDFromText(line);
        record->isRunning = processOrGroupExists(record->processID) ? 1 : 0;
        break;
      case 2:
        std::free(record->commandLine);
        record->commandLine = copyOfString(line);
        break;
      default:
        if (record->processType != kEngineProcess) break;
        if (lineNumber == 3) record->moreData.engData.udpPort = std::atol(line);
        else if (lineNumber == 4) record->moreData.engData.debuggerPort = std::atol(line);
        else record->moreData.engData.tcpPort = std::atol(line);
    }
  }
  std::fclose(file);
}

}  // namespace

PsFleetArgs::PsFleetArgs() : enginesOnly(OWB_FALSE), externalsOnly(OWB_FALSE) {
  fleetDir[0] = '\0';
  specificProcess[0] = '\0';
}

OWBboolean psFleet(PsFleetArgs* args, fleetProcessInfo** listHead) {
  StatusList records(listHead);
  List engList(kStandardChunkSize, TRUE, EqualCompare);
  if (readEngineList(args->fleetDir, &engList)) {
    addEngineRecords(args, engList, records);
    addExternalRecords(args, engList, records);
  }
  DIR* directory = opendir(args->fleetDir);
  if (!directory) {
    char text[sizeof(fileNameType) + 64];
    std::snprintf(text, sizeof text, "Unable to open %s as a directory", args->fleetDir);
    reportFatalError("Cannot Obtain Fleet Status", text);
    return OWB_FALSE;
  }
  bool specific = args->specificProcess[0] != '\0';
  while (struct dirent* entry = readdir(directory)) {
    processLabelType label;
    if (!labelOfEntry(entry->d_name, ".pid", label, sizeof label)) continue;
    fleetProcessInfo* record = records.find(label);
    if (specific && strcasecmp(label, args->specificProcess) != 0) continue;
    if (!specific && !record && (args->externalsOnly || args->enginesOnly)) continue;
    if (!record) record = records.append(label, kFossilProcess);
    if (record) readPidFile(args->fleetDir, entry->d_name, record);
  }
  closedir(directory);
  return OWB_TRUE;
}

void freeFleetProcessInfo(fleetProcessInfo** listHead) {
  if (!listHead) return;
  fleetProcessInfo* record = *listHead;
  while (record) {
    fleetProcessInfo* next = record->next;
    std::free(record->commandLine);
    std::free(record);
    record = next;
  }
  *listHead = nullptr;
}
