// Opens any bytes as a text file for the source view: the first byte sets
// the tab width (its top bit the escaping of invalid bytes), the second a growth split.  Every line is fetched with
// buffers and scrolls of many sizes, and the line count is checked against
// the newlines.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "fuzzfile.h"
#include "symbols/textstore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  long tab = data[0] % 12;  // 0 is taken as 1
  size_t split = data[1] * (size / 256 + 1);
  bool escape = (data[0] & 0x80) != 0;
  data += 2;
  size -= 2;
  split = std::min(split, size);
  std::string path = writeFuzzFile("textstore", data, split);
  if (path.empty()) return 0;
  TextDataStore store(path.c_str(), tab, escape);
  if (store.lastError == 0 && split < size) {
    if (FILE* file = std::fopen(path.c_str(), "ab")) {
      std::fwrite(data + split, 1, size - split, file);
      std::fclose(file);
    }
    store.addNewFileData();
  }
  if (store.lastError == 0) {
    long newlines = std::count(data, data + size, '\n');
    long expectedLines = newlines + (size > 0 && data[size - 1] != '\n' ? 1 : 0);
    if (store.totalLines != expectedLines) std::abort();
    std::vector<unsigned char> buffer(static_cast<size_t>(store.totalColumns) + 1);
    for (long line = -1; line <= store.totalLines && line < 4000; ++line) {
      long whole = store.fillBuffer(line, buffer.data(), static_cast<long>(buffer.size()), 0);
      if (whole < 0 || whole > static_cast<long>(buffer.size())) std::abort();
      for (long width : {1L, 7L, 80L}) {
        std::vector<unsigned char> narrow(static_cast<size_t>(width));
        long placed = store.fillBuffer(line, narrow.data(), width, line % 13);
        if (placed < 0 || placed > width) std::abort();
      }
    }
    store.setTabValue(tab + 3);
    store.invalidateAllChunks();
    store.fillBuffer(store.totalLines - 1, buffer.data(), static_cast<long>(buffer.size()), 2);
  }
  std::remove(path.c_str());
  return 0;
}
