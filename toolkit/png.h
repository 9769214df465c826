// Writing pictures as PNG files (screen captures of windows).
#ifndef OWB_TOOLKIT_PNG_H
#define OWB_TOOLKIT_PNG_H

#include <cstdint>
#include <string>
#include <vector>

// Writes width x height pixels of 3 bytes (R, G, B) row by row.  False with
// a reason in *error when the file cannot be written or the sizes are wrong.
bool PNG_WriteRgb(const std::string& path, int width, int height, const std::vector<uint8_t>& rgb,
                  std::string* error);

#endif  // OWB_TOOLKIT_PNG_H
