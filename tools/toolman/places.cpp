// Window places in $HOME/.owb/owbplaces.
#include "places.h"

#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

constexpr size_t kMaxLineLength = 200;
constexpr off_t kMaxFileSize = 1024 * 1024;

bool readPlaceLine(const std::string& line, TypeIdent* type, WindowPlace* place) {
  unsigned long typeValue = 0;
  long id = 0;
  unsigned values[4];
  char extra;
  if (std::sscanf(line.c_str(), "%8lx %ld %u,%u,%u,%u %c", &typeValue, &id, &values[0], &values[1], &values[2],
                  &values[3], &extra) != 6)
    return false;
  if (id <= 0 || id > INT32_MAX) return false;
  for (int i = 0; i < 4; ++i) {
    if (values[i] > 0xFFFF) return false;
    place->rect[2 * i] = static_cast<uint8_t>(values[i] >> 8);
    place->rect[2 * i + 1] = static_cast<uint8_t>(values[i] & 0xFF);
  }
  *type = static_cast<TypeIdent>(typeValue);
  place->uniqueId = static_cast<int32_t>(id);
  return true;
}

}  // namespace

std::string windowPlacesPath() {
  const char* home = std::getenv("HOME");
  return home && *home ? std::string(home) + "/.owb/owbplaces" : "";
}

void parseWindowPlaces(const std::string& text, ToolManState* state) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    TypeIdent type = 0;
    WindowPlace place;
    if (line.size() > kMaxLineLength || !readPlaceLine(line, &type, &place)) continue;
    auto& places = state->windowPlaces;
    if (!places.count(type) && places.size() >= kMaxWindowTypes) continue;
    std::vector<WindowPlace>& kept = places[type];
    if (kept.size() >= kMaxPlacesPerWindowType) kept.erase(kept.begin());
    kept.push_back(place);
    if (place.uniqueId >= state->nextWindowId && place.uniqueId < INT32_MAX) state->nextWindowId = place.uniqueId + 1;
  }
}

std::string formatWindowPlaces(const ToolManState& state) {
  std::string text;
  for (const auto& entry : state.windowPlaces) {
    for (const WindowPlace& place : entry.second) {
      char line[96];
      std::snprintf(line, sizeof line, "%08lx %ld %u,%u,%u,%u\n", static_cast<unsigned long>(entry.first),
                    static_cast<long>(place.uniqueId), place.rect[0] << 8 | place.rect[1],
                    place.rect[2] << 8 | place.rect[3], place.rect[4] << 8 | place.rect[5],
                    place.rect[6] << 8 | place.rect[7]);
      text += line;
    }
  }
  return text;
}

void loadWindowPlaces(const std::string& path, ToolManState* state) {
  struct stat info;
  if (path.empty() || stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > kMaxFileSize)
    return;
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  parseWindowPlaces(text.str(), state);
}

bool saveWindowPlaces(const std::string& path, const ToolManState& state) {
  if (path.empty()) return false;
  std::string temporary = path + ".new";
  {
    std::ofstream out(temporary, std::ios::trunc);
    out << formatWindowPlaces(state);
    if (!out.good()) return false;
  }
  return std::rename(temporary.c_str(), path.c_str()) == 0;
}
