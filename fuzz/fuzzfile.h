// Puts a fuzz input in a file of its own for the database to open.
#ifndef OWB_FUZZ_FUZZFILE_H
#define OWB_FUZZ_FUZZFILE_H

#include <cstdio>
#include <string>

#include <unistd.h>

inline std::string writeFuzzFile(const char* prefix, const uint8_t* data, size_t size) {
  std::string path = std::string("/tmp/") + prefix + "." + std::to_string(getpid());
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return std::string();
  if (size) std::fwrite(data, 1, size, file);
  std::fclose(file);
  return path;
}

#endif  // OWB_FUZZ_FUZZFILE_H
