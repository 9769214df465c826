// Small path and name helpers of the fleet operations.
#include "fleet/fleetpath.h"

#include <strings.h>

#include <cstdio>
#include <cstring>

bool labelOfEntry(const char* entryName, const char* suffix, char* label, size_t labelSize) {
  constexpr size_t kSuffixLength = 4;
  size_t length = std::strlen(entryName);
  if (length < kSuffixLength + 1 || std::strlen(suffix) != kSuffixLength) return false;
  if (strcasecmp(entryName + length - kSuffixLength, suffix) != 0) return false;
  size_t labelLength = length - kSuffixLength;
  if (labelLength >= labelSize) labelLength = labelSize - 1;
  std::memcpy(label, entryName, labelLength);
  label[labelLength] = '\0';
  return true;
}
