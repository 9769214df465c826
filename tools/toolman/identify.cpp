// Background identification of the project's files.
#include "identify.h"

#include <chrono>
#include <cstdlib>
#include <string>

#include "commands.h"
#include "state.h"

namespace {

// Bounds the questions remembered per tool: a project of countless
// files of unknown kinds stops being asked about after this many.
constexpr size_t kMaxQuestionsPerTool = 4096;

}  // namespace

unsigned long identifyTimeoutMs() {
  const char* text = std::getenv("OWB_TOOLMAN_IDFL_MS");
  long value = text ? std::atol(text) : 0;
  return value > 0 && value <= 60000 ? static_cast<unsigned long>(value) : kDefaultIdentifyTimeoutMs;
}

namespace {

// Asks one question; false when there is none left to ask.
bool identifyOneFile() {
  ToolManState& state = gToolManState;
  for (auto& entry : state.tools) {
    RegisteredTool& tool = entry.second;
    if (!tool.answersIdentify || tool.identifyAsked.size() >= kMaxQuestionsPerTool) continue;
    for (const auto& file : state.files) {
      if (file.second != kUnknownFileType) continue;
      if (!tool.identifyAsked.insert(file.first).second) continue;
      std::string path = file.first;  // the answer may change the table
      std::string report;
      IdentifyAnswer answer = askToolToIdentify(tool, path, identifyTimeoutMs(), &report);
      if (answer == IdentifyAnswer::kNoReply) tool.answersIdentify = false;
      if (answer == IdentifyAnswer::kIts) state.applyKnownSuffixes();
      return true;
    }
  }
  return false;
}

}  // namespace

bool identifySomeFiles(int budgetMs) {
  auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(budgetMs);
  do {
    if (!identifyOneFile()) return false;
  } while (std::chrono::steady_clock::now() < end);
  return true;
}
