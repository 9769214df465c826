// Line scanning shared by the fleet definition reader and the
// configuration language: white-space trimming and the `key = value` split.
#ifndef OWB_FLEET_KEYVALUE_H
#define OWB_FLEET_KEYVALUE_H

#include <cstddef>

#include "owbtypes.h"

// White space as isspace has it in the "C" locale, which these files are
// read in; inline, since the readers ask it of nearly every character.
inline bool isWhiteSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// A malloc copy of the first length characters of theSource, terminated,
// or null when memory is short.
char* copyOfText(const char* theSource, size_t length);

// A malloc copy of theSource (of "" for null), or null when memory is short.
char* copyOfString(const char* theSource);

// The first character of aString that is not white space (isspace).
char* firstNonWhiteSpace(char* aString);
// Just behind the last character that is not white space, or aString
// itself when there is none.
char* endOfNonWhiteSpace(char* aString);

// Splits "key = value" in place at the first `=`; "key += value" reads the
// same.  Key and value are trimmed; the value may be empty and may hold `=`.
// On success *aKey and *aValue point into aLine.  A line without `=` or with
// an empty key fails, leaving aLine unchanged and both pointers null.
OWBboolean scanKeyAndValue(char* aLine, char** aKey, char** aValue);

#endif  // OWB_FLEET_KEYVALUE_H
