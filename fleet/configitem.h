// The records that reading a configuration file produces: a singly linked
// list of configItems, each malloc'd with malloc'd strings.
#ifndef OWB_FLEET_CONFIGITEM_H
#define OWB_FLEET_CONFIGITEM_H

#include "owbtypes.h"

// What a record was made from, and so which member of its value is set.
enum {
  configBoolean = 0,   // "#TRUE" / "#FALSE": asBoolean, -1 or 0
  configInteger = 1,   // an integer option: asInteger
  configString = 2,    // a quoted string option: asString, without the quotes
  configEnviron = 3,   // an `@` line: asEnviron, after substitution
  configExternal = 4,  // a `!` or `&` line: asExternal
  configNil = 5,       // "#NIL": no value
  configFile = 6,      // a file that was opened: no value; label is its name as asked for
  configPort = 7,      // an allocated port, only in port lists: asPort
};

struct configItem {
  configItem* next;
  int kind;
  char* label;  // malloc'd; may be null
  union {
    OWBboolean asBoolean;
    long asInteger;
    char* asString;   // malloc'd
    char* asEnviron;  // malloc'd
    long asPort;
    struct {
      char* cmdLine;           // malloc'd
      OWBboolean inBackground; // 1 for `&`, 0 for `!`
    } asExternal;
  } value;
};

// Appends a new record of itsKind with a copy of itsLabel (null stays
// null) and a cleared value; *listTail moves to it, and *listHead is set
// when the list was empty.  A null *listTail is found by walking from the
// head.  Null when memory is short.
configItem* allocConfigItem(int itsKind, const char* itsLabel, configItem** listHead, configItem** listTail);

// Frees the label, the string of a string, environ or external record,
// then the record.  Null is fine.
void freeConfigItem(configItem* aPtr);

// Frees every record of *theList and sets it to null.
void freeConfigList(configItem** theList);

#endif  // OWB_FLEET_CONFIGITEM_H
