// Paths within a fleet directory, "%s%c%s" with `/`, as strings of any
// length so that a long fleet directory and label never cut a path short.
#ifndef OWB_FLEET_FLEETPATH_H
#define OWB_FLEET_FLEETPATH_H

#include <string>

// directory/name, or directory/name/more.
inline std::string pathIn(const char* directory, const char* name) {
  std::string path(directory ? directory : "");
  path += '/';
  path += name ? name : "";
  return path;
}
inline std::string pathIn(const char* directory, const char* name, const char* more) {
  return pathIn(pathIn(directory, name).c_str(), more);
}

// When entryName is at least 5 characters long and ends in suffix (four
// characters such as ".pid", compared in any case), writes the name less
// its last four characters into label (truncated to labelSize) and
// returns true.  Shorter names, such as ".pid" alone, give false.
bool labelOfEntry(const char* entryName, const char* suffix, char* label, size_t labelSize);

#endif  // OWB_FLEET_FLEETPATH_H
