// Line scanning shared by the definition reader and the configuration reader.
#include "fleet/keyvalue.h"

#include <cstdlib>
#include <cstring>

namespace {

// Just behind the last non-white character of [begin, end), or begin.
char* trimmedEnd(char* begin, char* end) {
  while (end > begin && isWhiteSpace(end[-1])) --end;
  return end;
}

}  // namespace

char* copyOfText(const char* theSource, size_t length) {
  char* copy = static_cast<char*>(std::malloc(length + 1));
  if (!copy) return nullptr;
  std::memcpy(copy, theSource, length);
  copy[length] = '\0';
  return copy;
}

char* copyOfString(const char* theSource) {
  if (!theSource) theSource = "";
  return copyOfText(theSource, std::strlen(theSource));
}

char* firstNonWhiteSpace(char* aString) {
  while (*aString && isWhiteSpace(*aString)) ++aString;
  return aString;
}

char* endOfNonWhiteSpace(char* aString) {
  return trimmedEnd(aString, aString + std::strlen(aString));
}

OWBboolean scanKeyAndValue(char* aLine, char** aKey, char** aValue) {
  *aKey = nullptr;
  *aValue = nullptr;
  char* equals = std::strchr(aLine, '=');
  if (!equals) return OWB_FALSE;
  char* keyEnd = (equals > aLine && equals[-1] == '+') ? equals - 1 : equals;
  char* key = firstNonWhiteSpace(aLine);
  if (key >= keyEnd) return OWB_FALSE;
  keyEnd = trimmedEnd(key, keyEnd);
  if (keyEnd == key) return OWB_FALSE;

  char* value = firstNonWhiteSpace(equals + 1);
  *endOfNonWhiteSpace(value) = '\0';
  *keyEnd = '\0';
  *aKey = key;
  *aValue = value;
  return OWB_TRUE;
}
