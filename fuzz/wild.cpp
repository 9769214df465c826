// Compiles a pattern list and matches it against a subject.  Input: the
// pattern list, a NUL byte, then the subject.
#include <cstddef>
#include <cstdint>
#include <string>

#include "shared/wild.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t split = input.find('\0');
  const std::string patterns = input.substr(0, split);
  const std::string subject = split == std::string::npos ? "" : input.substr(split + 1);
  for (Boolean caseSensitive : {TRUE, FALSE}) {
    WildCardList list(patterns.c_str(), caseSensitive);
    list.wildCardListEqual(subject.c_str());
    WildCardString single(patterns.c_str(), caseSensitive);
    single.wildCardStringEqual(subject.c_str());
  }
  return 0;
}
