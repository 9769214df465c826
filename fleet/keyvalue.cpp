// Line scanning shared by the definition reader and the configuration reader.
#include "fleet/keyvalue.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace {

bool isWhite(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

// Just behind the last non-white character of [begin, end), or begin.
char* trimmedEnd(char* begin, char* end) {
  while (end > begin && isWhite(end[-1])) --end;
  return end;
}

}  // namespace

char* copyOfString(const char* theSource) {
  if (!theSource) theSource = "";
  size_t length = std::strlen(theSource) + 1;
  char* copy = static_cast<char*>(std::malloc(length));
  if (copy) std::memcpy(copy, theSource, length);
  return copy;
}

char* firstNonWhiteSpace(char* aString) {
  while (*aString && isWhite(*aString)) ++aString;
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
