// fleetctl status: the fleet's processes in the columns of the status
// window, as a table or as JSON.
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "fleet/psfleet.h"
#include "tools/fleetctl/commands_ops.h"
#include "tools/fleetctl/json.h"

namespace fleetctl {

namespace {

constexpr int kColumnCount = 9;
const char* const kHeadings[kColumnCount] = {"Type",         "Name", "Status",   "Command Line", "Date Started",
                                             "PID",          "DAS Port", "UDP Port", "TCP Port"};

const char* typeName(int processType) {
  switch (processType) {
    case kEngineProcess: return "Engine";
    case kExternalProcess: return "External Process";
    default: return "Fossil";
  }
}

const char* statusName(const fleetProcessInfo* record) { return record->isRunning ? "Up" : "Down"; }

// The process id shown: the pid file's while the process runs, else 0.
long shownProcessID(const fleetProcessInfo* record) {
  return record->isRunning ? static_cast<long>(record->processID) : 0L;
}

// ctime of the start, without its newline; empty for none.
std::string startText(time_t startTime) {
  if (startTime == 0) return "";
  char buffer[32];
  if (!ctime_r(&startTime, buffer)) return "";
  std::string text(buffer);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

std::vector<std::string> rowOf(const fleetProcessInfo* record) {
  bool engine = record->processType == kEngineProcess;
  auto port = [engine](long value) { return engine ? std::to_string(value) : std::string(); };
  return {typeName(record->processType),
          record->processLabel,
          statusName(record),
          record->commandLine ? record->commandLine : "",
          startText(record->startTime),
          std::to_string(shownProcessID(record)),
          port(record->moreData.engData.debuggerPort),
          port(record->moreData.engData.udpPort),
          port(record->moreData.engData.tcpPort)};
}

void printTable(const fleetProcessInfo* records) {
  std::vector<std::vector<std::string>> rows;
  rows.emplace_back(kHeadings, kHeadings + kColumnCount);
  for (const fleetProcessInfo* record = records; record; record = record->next) rows.push_back(rowOf(record));
  size_t widths[kColumnCount] = {};
  for (const auto& row : rows)
    for (int column = 0; column < kColumnCount; ++column)
      if (row[column].size() > widths[column]) widths[column] = row[column].size();
  for (const auto& row : rows) {
    std::string line;
    for (int column = 0; column < kColumnCount; ++column) {
      line += row[column];
      if (column + 1 < kColumnCount) line += std::string(widths[column] - row[column].size() + 2, ' ');
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    std::printf("%s\n", line.c_str());
  }
}

void printJson(const fleetProcessInfo* records) {
  std::printf("[");
  const char* separator = "\n";
  for (const fleetProcessInfo* record = records; record; record = record->next) {
    bool engine = record->processType == kEngineProcess;
    auto port = [engine](long value) { return engine ? std::to_string(value) : std::string("null"); };
    std::printf("%s  {\"type\": %s, \"name\": %s, \"status\": %s, \"commandLine\": %s, \"started\": %lld, "
                "\"pid\": %ld, \"debuggerPort\": %s, \"udpPort\": %s, \"tcpPort\": %s}",
                separator, jsonString(typeName(record->processType)).c_str(),
                jsonString(record->processLabel).c_str(), jsonString(statusName(record)).c_str(),
                jsonStringOrNull(record->commandLine).c_str(), static_cast<long long>(record->startTime),
                shownProcessID(record), port(record->moreData.engData.debuggerPort).c_str(),
                port(record->moreData.engData.udpPort).c_str(), port(record->moreData.engData.tcpPort).c_str());
    separator = ",\n";
  }
  std::printf("%s]\n", records ? "\n" : "");
}

}  // namespace

int statusCommand(const ParsedArgs& args) {
  PsFleetArgs psArgs;
  if (!takeFleetAndProcess(args, psArgs.fleetDir, psArgs.specificProcess)) return kExitUsage;
  psArgs.enginesOnly = flagOf(args, "--engines-only");
  psArgs.externalsOnly = flagOf(args, "--externals-only");
  fleetProcessInfo* records = nullptr;
  OWBboolean listed = psFleet(&psArgs, &records);
  if (listed) {
    if (args.has("--json")) printJson(records);
    else printTable(records);
  }
  freeFleetProcessInfo(&records);
  return listed ? kExitTrue : kExitFalse;
}

}  // namespace fleetctl
