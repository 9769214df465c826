// Adding entries to the engine place configuration: the checks and
// normalisation of a configuration option by its type, and the lists the
// entries go to.  The dialogs themselves are in fleetdlg_addwin.cpp.
#include "fleetmgr/fleetdlg_add.h"

#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstring>

#include "fleetmgr/registry.h"
#include "shared/alert.h"

const char* const gTypeComboStrs[] = {"Boolean", "Character",   "Identifier", "Integer",
                                      "Nil",     "OctetString", "String",     ""};

namespace {

const char* const kAddOptionTitle = "Add Configuration Option";

bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool isLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }
bool isHexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

// Every entry is one line of the generated file: a line break pasted into
// a single-line field becomes a blank.
void flattenLineBreaks(char* text) {
  for (; text && *text; text++)
    if (*text == '\n' || *text == '\r') *text = ' ';
}

StringTupleItem* addTuple(List* list, const char* const* strings) {
  if (!list || !strings) return nullptr;
  auto* tuple = new StringTupleItem(strings);
  for (char* slot : tuple->strings) flattenLineBreaks(slot);
  list->include(tuple);
  return tuple;
}

List* configList(List EngConfigFile::*which) {
  if (!gFleetMgr || !gFleetMgr->configFile) return nullptr;
  return &(gFleetMgr->configFile->*which);
}

// The test of a value by its type.  Returns the alert text of a refused
// value, or null; *rest is left where the test stopped stepping through
// the value, and *negative tells an Integer's minus sign.
const char* checkOptionValue(const char* type, char* value, char** rest, bool* negative) {
  char* p = value;
  *negative = false;
  const char* refusal = nullptr;
  if (std::strcmp(type, "Boolean") == 0) {
    if (strcasecmp(value, "true") != 0 && strcasecmp(value, "false") != 0)
      refusal = "Boolean values must be true or false.";
  } else if (std::strcmp(type, "Character") == 0) {
    if (std::strlen(value) != 1) refusal = "Character values must contain a single character.";
  } else if (std::strcmp(type, "Identifier") == 0) {
    // The value is only looked at; on refusal it is shown from the
    // character that failed.
    const char* q = value;
    bool good = *q && (*q == '\'' || isLetter(*q));
    if (good)
      for (q++; *q && isLetter(*q);) q++;
    if (!good || *q) {
      refusal = "Identifier contained a non-alphabetic character.";
      p = value + (q - value);
    }
  } else if (std::strcmp(type, "Integer") == 0) {
    bool good = value[0] != '\0';
    while (isBlank(*p)) p++;
    if (*p == '+' || *p == '-') {
      *negative = *p == '-';
      p++;
      while (isBlank(*p)) p++;
    }
    for (const char* d = p; good && *d; d++) good = isDigit(*d);
    if (!good) refusal = "Invalid integer value.";
  } else if (std::strcmp(type, "Nil") == 0) {
    if (value[0] && strcasecmp(value, "nil") != 0) refusal = "Type Nil contained a value other than Nil.";
  } else if (std::strcmp(type, "OctetString") == 0) {
    if (!value[0]) {
      refusal = "OctetString values consist of pairs of hexadecimal digits.";
    } else {
      if (std::strncmp(p, "0x", 2) == 0) p += 2;
      if (std::strlen(p) % 2 != 0) {
        refusal = "OctetString value had uneven number of characters.";
      } else {
        for (const char* d = p; *d && !refusal; d++)
          if (!isHexDigit(*d)) refusal = "OctetString value had non-hexadecimal character.";
      }
    }
  }
  // A String, and any type not named above, takes every value.
  *rest = p;
  return refusal;
}

}  // namespace

StringTupleItem* addEnvVar(const char* const* nameValuePair) {
  return addTuple(configList(&EngConfigFile::envVarList), nameValuePair);
}

StringTupleItem* addExtProc(const char* const* nameValuePair) {
  return addTuple(configList(&EngConfigFile::extProcsList), nameValuePair);
}

StringTupleItem* addConfigOption(char* const* configOptions) {
  if (!configOptions || !configOptions[0] || !configOptions[1] || !configOptions[2]) return nullptr;
  const char* type = configOptions[0];
  char* keyword = configOptions[1];
  char* value = configOptions[2];
  flattenLineBreaks(keyword);
  flattenLineBreaks(value);

  char* rest = value;
  bool negative = false;
  if (const char* refusal = checkOptionValue(type, value, &rest, &negative)) {
    displayAlertWindow(refusal, kAlertWarning, kAddOptionTitle, nullptr, nullptr, nullptr, TRUE, nullptr);
    std::printf("Config error: Type = %s, keyword = '%s', value = '%s'\n", type, keyword, rest);
    std::fflush(stdout);
    return nullptr;
  }

  // The value is normalised where it stands: "-" and the digits after a
  // minus sign, otherwise what was stepped over goes.
  if (negative) {
    value[0] = '-';
    std::memmove(value + 1, rest, std::strlen(rest) + 1);
  } else if (rest != value) {
    std::memmove(value, rest, std::strlen(rest) + 1);
  }
  return addTuple(configList(&EngConfigFile::configOptions), configOptions);
}
