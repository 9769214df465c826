// Reading a 10 000-line engine configuration spread over nested includes.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "fleet/configlang.h"
#include "fleet/fileutil.h"
#include "fleet/output.h"
#include "tests/testsupport.h"

namespace {

constexpr int kTotalLines = 10000;
constexpr int kFiles = 40;  // startup.cfg, then chains of includes four deep

void quiet(const char*, const char*) {}
void quietNote(const char*, const char*, OWBboolean) {}

// One line of a realistic mix: options of every value kind, environment and
// external lines, comments, and a few macro lines.
std::string configLine(int n) {
  switch (n % 10) {
    case 0: return "# section " + std::to_string(n) + " of the module configuration";
    case 1: return "Option" + std::to_string(n) + " = " + std::to_string(n * 7);
    case 2: return "Name" + std::to_string(n) + " = \"module/path/file" + std::to_string(n) + ".s\"";
    case 3: return "Flag" + std::to_string(n) + " = #TRUE  // switched on";
    case 4: return "@ENV_" + std::to_string(n) + " = " + std::to_string(n);
    case 5: return "Nothing" + std::to_string(n) + " = #nil";
    case 6: return "Octets" + std::to_string(n) + " = #O\"0a0b0c0d\"";
    case 7: return n % 50 == 7 ? "Derived" + std::to_string(n) + "(BaseValue) = $BaseValue" : "Big" + std::to_string(n) + " = -123456";
    case 8: return "Comment" + std::to_string(n) + " = \"text /* not a comment */ here\"";
    default: return "&helper" + std::to_string(n) + " = helper -port " + std::to_string(n);
  }
}

// Writes the fleet's engine configuration; returns its size in bytes.
size_t writeConfiguration(const std::string& fleetDir) {
  ensureDir((fleetDir + "/eng").c_str());
  size_t bytes = 0;
  int perFile = kTotalLines / kFiles;
  int line = 0;
  for (int f = kFiles - 1; f >= 0; --f) {
    std::string name = f == 0 ? fleetDir + "/eng/startup.cfg" : fleetDir + "/inc" + std::to_string(f) + ".cfg";
    std::string text = f == 0 ? "BaseValue = 17\nAutoLoadPath = \"" + fleetDir + "/\"\n" : "";
    int written = f == 0 ? 2 : 0;
    // File f includes f+1 and f+2 when they stand in its chain of four.
    for (int child = f * 2 + 1; child <= f * 2 + 2 && f < kFiles / 2; ++child)
      if (child < kFiles) {
        text += "include = inc" + std::to_string(child) + ".cfg\n";
        ++written;
      }
    for (; written < perFile; ++written) text += configLine(line++) + "\n";
    owbtest::writeWholeFile(name, text);
    bytes += text.size();
  }
  return bytes;
}

void BM_ReadNestedConfiguration(benchmark::State& state) {
  FleetOutput silent = {quiet, quietNote, quiet};
  setFleetOutput(&silent);
  owbtest::TempDir tmp;
  std::string fleetDir = tmp.file("fleet");
  size_t bytes = writeConfiguration(fleetDir);
  long records = 0;
  for (auto _ : state) {
    configItem* list = nullptr;
    if (!readConfigFile(fleetDir.c_str(), "eng", &list, nullptr, nullptr)) state.SkipWithError("read failed");
    records = 0;
    for (configItem* item = list; item; item = item->next) ++records;
    freeConfigList(&list);
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
  state.counters["lines"] = kTotalLines;
  state.counters["records"] = static_cast<double>(records);
  state.counters["lines/s"] = benchmark::Counter(static_cast<double>(kTotalLines), benchmark::Counter::kIsIterationInvariantRate);
  setFleetOutput(nullptr);
}
BENCHMARK(BM_ReadNestedConfiguration)->Unit(benchmark::kMillisecond);

}  // namespace
