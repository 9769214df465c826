// The configuration language reader.
#include "fleet/configlang.h"

#include <strings.h>
#include <sys/stat.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fleet/configmacro.h"
#include "fleet/fileutil.h"
#include "fleet/keyvalue.h"
#include "fleet/output.h"
#include "shared/utils.h"

namespace {

// One line: 1025 characters and the terminator.
constexpr int kConfigLineSize = 1026;
// Comment removal copies every `*` twice, so its output may double.
constexpr size_t kStrippedLineSize = 2 * kConfigLineSize;

const char* const kIllegalLineTitle = "Illegal configuration line";
const char* const kCannotReadTitle = "Cannot Read Configuration File";
const char* const kAutoLoadPathLabel = "AutoLoadPath";
const char* const kIncludeWord = "include";
const char* const kNewEnginePort = "$NEW_ENG_PORT$";
const char* const kNewFleetPort = "$NEW_FLEET_PORT$";
const char* const kStartupFileName = "startup.cfg";

// Copies the option line `line` to `out` without its comments.  A `/*`
// comment keeps its `/` and may end with `*/` or with the line; `//` drops
// the rest of the line but keeps its first `/`.  Every copied `*` is
// written twice.  A backslash passes the next character through.
void removeComments(const char* line, char* out, size_t outSize) {
  bool inQuote = false;
  bool inComment = false;
  char lastChar = '\0';
  size_t used = 0;
  auto emit = [&](char c) {
    if (used + 1 < outSize) out[used++] = c;
  };
  for (const char* p = line; *p; ++p) {
    char c = *p;
    if (lastChar == '\\') {
      lastChar = '\0';
      emit(c);
    } else if (c == '"') {
      lastChar = c;
      if (!inComment) {
        inQuote = !inQuote;
        emit(c);
      }
    } else if (c == '*' && lastChar == '/' && !inQuote) {
      inComment = true;
      lastChar = '*';
    } else if (c == '*') {
      if (!inComment) {
        emit(c);
        emit(c);
      }
      lastChar = '*';
    } else if (c == '/' && lastChar == '/' && !inQuote) {
      lastChar = '\0';
      break;
    } else if (c == '/' && lastChar == '*' && !inQuote) {
      inComment = false;
      lastChar = '\0';
    } else {
      lastChar = c;
      if (!inComment) emit(c);
    }
  }
  out[used] = '\0';
}

// The file name of an include line, or null when text is no include.
// "include", in any case, must be followed by white space or `=`; the rest
// up to and including its first `=` is skipped.
char* includedFileName(char* text) {
  size_t wordLength = std::strlen(kIncludeWord);
  if (strncasecmp(text, kIncludeWord, wordLength) != 0) return nullptr;
  char* rest = text + wordLength;
  if (*rest != '=' && !isWhiteSpace(*rest)) return nullptr;
  if (char* equals = std::strchr(rest, '=')) rest = equals + 1;
  rest = firstNonWhiteSpace(rest);
  *endOfNonWhiteSpace(rest) = '\0';
  return rest;
}

bool isAutoLoadPath(const configItem* item) {
  return item->kind == configString && item->label && std::strcmp(item->label, kAutoLoadPathLabel) == 0;
}

// Opens configFN as it stands or, when relative, in each directory of the
// AutoLoadPath records read so far, in list and then token order.
FILE* openConfigFile(const char* configFN, const std::vector<const configItem*>& autoLoadPaths) {
  if (FILE* file = openRegularFile(configFN)) return file;
  if (configFN[0] == '/') return nullptr;
  for (const configItem* item : autoLoadPaths) {
    const char* p = item->value.asString;
    while (*p) {
      while (*p && isWhiteSpace(*p)) ++p;
      const char* tokenEnd = p;
      while (*tokenEnd && !isWhiteSpace(*tokenEnd)) ++tokenEnd;
      if (tokenEnd == p) break;
      std::string candidate(p, static_cast<size_t>(tokenEnd - p));
      candidate += configFN;
      if (FILE* file = openRegularFile(candidate.c_str())) return file;
      p = tokenEnd;
    }
  }
  return nullptr;
}

// Copies text into a fixed buffer of kConfigValueSize bytes, truncating.
void copyValue(char* buffer, const char* text) {
  size_t length = strnlen(text, kConfigValueSize - 1);
  std::memcpy(buffer, text, length);
  buffer[length] = '\0';
}

// One read: the list being built and the port mode.
class ConfigReader {
 public:
  ConfigReader(configItem** listHead, long* nextPort, configItem** portHead, const char* engLabel)
      : listHead_(listHead),
        macros_(listHead),
        nextPort_(nextPort),
        portHead_(portHead),
        engLabel_(engLabel ? engLabel : "") {
    for (tail_ = *listHead_; tail_; tail_ = tail_->next) {
      if (isAutoLoadPath(tail_)) autoLoadPaths_.push_back(tail_);
      if (!tail_->next) break;
    }
  }

  // Reads configFN, nested depth files deep (the first file is depth 1),
  // included by includer (null for the first file).  A file that cannot be
  // opened is named in the alert.  An include of a file already being read
  // (a cycle) or past the depth limit would never end; its alert, under the
  // same title, says which include it was.
  bool readFile(const char* configFN, int depth, const char* includer) {
    if (depth > kMaxIncludeDepth) {
      alertUser(kCannotReadTitle, includeDetail(configFN, includer, "passes the limit of " +
                                                                        std::to_string(kMaxIncludeDepth) +
                                                                        " nested configuration files").c_str());
      return false;
    }
    FILE* file = openConfigFile(configFN, autoLoadPaths_);
    if (!file) {
      alertUser(kCannotReadTitle, configFN);
      return false;
    }
    struct stat info;
    FileIdentity identity{0, 0};
    if (fstat(fileno(file), &info) == 0) identity = FileIdentity{info.st_dev, info.st_ino};
    for (const FileIdentity& open : openFiles_) {
      if (open != identity) continue;
      std::fclose(file);
      alertUser(kCannotReadTitle,
                includeDetail(configFN, includer, "closes a cycle: that file is already being read").c_str());
      return false;
    }
    openFiles_.push_back(identity);
    append(configFile, configFN);
    char line[kConfigLineSize];
    bool good = true;
    while (good && readALine(line, sizeof line, file)) good = readLine(configFN, line, depth);
    std::fclose(file);
    openFiles_.pop_back();
    return good;
  }

 private:
  using FileIdentity = std::pair<dev_t, ino_t>;

  configItem* append(int kind, const char* label) { return allocConfigItem(kind, label, listHead_, &tail_); }

  static std::string includeDetail(const char* configFN, const char* includer, const std::string& what) {
    return std::string("The include of ") + configFN + " in " + (includer ? includer : "?") + " " + what;
  }

  // False only for an include that can't be read.
  bool readLine(const char* configFN, char* line, int depth) {
    if (line[0] == '#') return true;
    char* text = firstNonWhiteSpace(line);
    if (*text == '\0') return true;
    if (*text == '@') {
      settingLine(configFN, line, text + 1, configEnviron);
    } else if (*text == '!' || *text == '&') {
      externalLine(configFN, line, text + 1, *text == '&');
    } else if (char* included = includedFileName(text)) {
      bool good = readFile(included, depth + 1, configFN);
      while (tail_ && tail_->next) tail_ = tail_->next;
      return good;
    } else {
      char stripped[kStrippedLineSize];
      removeComments(text, stripped, sizeof stripped);
      if (*firstNonWhiteSpace(stripped) == '\0') return true;
      // Comment removal works on the line in place, so an illegal line is
      // shown as it left it: "// note" alone shows as "/".
      std::string leftLine = std::string(line, static_cast<size_t>(text - line)) + stripped;
      settingLine(configFN, leftLine.c_str(), stripped, configString);
    }
    return true;
  }

  void alertIllegal(const char* configFN, const char* what) {
    std::string text = std::string("Illegal line in ") + configFN + ":  " + what;
    alertUser(kIllegalLineTitle, text.c_str());
  }

  void externalLine(const char* configFN, const char* line, char* text, bool inBackground) {
    char* key;
    char* value;
    if (!scanKeyAndValue(text, &key, &value)) return alertIllegal(configFN, line);
    configItem* item = append(configExternal, key);
    if (!item) return;
    item->value.asExternal.cmdLine = copyOfString(value);
    item->value.asExternal.inBackground = inBackground ? 1 : 0;
  }

  // An `@` line (kind configEnviron) or an option (any other kind given):
  // split, then ports, then substitution, then the record.
  void settingLine(const char* configFN, const char* line, char* text, int kind) {
    char* key;
    char* value;
    if (!scanKeyAndValue(text, &key, &value)) return alertIllegal(configFN, line);
    if (kind != configEnviron && *value == '\0') return alertIllegal(configFN, "Empty value for keyword");
    char name[kConfigValueSize];
    char setting[kConfigValueSize];
    copyValue(name, key);
    copyValue(setting, value);
    if (!takePort(name, setting)) return;
    if (!doSubstitution(name, setting, macros_, sizeof setting)) return;
    if (kind == configEnviron) {
      if (configItem* item = append(configEnviron, name)) item->value.asEnviron = copyOfString(setting);
    } else {
      addOption(name, setting);
    }
  }

  // Handles a port value in the current mode; false drops the line.
  bool takePort(char* name, char* setting) {
    if (setting[0] != '$') return true;
    if (strcasecmp(setting, kNewEnginePort) == 0) {
      std::string engineName = std::string(engLabel_) + "_" + name;
      if (portHead_) return allocateNewPort(engineName.c_str(), setting, nextPort_, portHead_, kConfigValueSize);
      // Use mode: the number is the option <engine>_<name> of ports.cfg.
      std::string rewrittenName = std::string(name) + "(" + engineName + ")";
      copyValue(setting, ("$" + engineName).c_str());
      copyValue(name, rewrittenName.c_str());
      return true;
    }
    if (strcasecmp(setting, kNewFleetPort) == 0)
      return allocateNewPort(name, setting, nextPort_, portHead_, kConfigValueSize);
    return true;
  }

  // Classifies an option's value; an unknown form makes no record.
  void addOption(const char* name, const char* setting) {
    bool hashed = setting[0] == '#';
    if (hashed && (strcasecmp(setting, "#TRUE") == 0 || strcasecmp(setting, "#FALSE") == 0)) {
      if (configItem* item = append(configBoolean, name))
        item->value.asBoolean = strcasecmp(setting, "#TRUE") == 0 ? OWB_TRUE : OWB_FALSE;
    } else if (hashed && strcasecmp(setting, "#NIL") == 0) {
      append(configNil, name);
    } else if (isTSString(setting)) {
      if (configItem* item = append(configString, name)) {
        item->value.asString = copyOfText(setting + 1, std::strlen(setting) - 2);
        if (item->value.asString && isAutoLoadPath(item)) autoLoadPaths_.push_back(item);
      }
    } else if (isTSInteger(setting)) {
      if (configItem* item = append(configInteger, name)) item->value.asInteger = std::strtol(setting, nullptr, 10);
    }
  }

  configItem** listHead_;
  configItem* tail_ = nullptr;
  MacroIndex macros_;
  std::vector<const configItem*> autoLoadPaths_;  // in list order
  std::vector<FileIdentity> openFiles_;           // the files being read, outermost first
  long* nextPort_;
  configItem** portHead_;
  const char* engLabel_;
};

}  // namespace

OWBboolean isTSString(const char* theValue) {
  if (theValue[0] != '"') return OWB_FALSE;
  for (const char* p = theValue + 1; *p; ++p)
    if (*p == '"' && p[-1] != '\\') return p[1] == '\0' ? OWB_TRUE : OWB_FALSE;
  return OWB_FALSE;
}

OWBboolean isTSInteger(const char* theValue) {
  const char* p = theValue;
  if (*p == '+' || *p == '-') ++p;
  if (!std::isdigit(static_cast<unsigned char>(*p))) return OWB_FALSE;
  while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
  return *p == '\0' ? OWB_TRUE : OWB_FALSE;
}

OWBboolean readNestedConfigFile(const char* configFN, configItem** listHead, long* nextPort, configItem** portHead,
                                const char* engLabel) {
  ConfigReader reader(listHead, nextPort, portHead, engLabel);
  return reader.readFile(configFN, 1, nullptr) ? OWB_TRUE : OWB_FALSE;
}

OWBboolean readConfigFile(const char* fleetDir, const char* engLabel, configItem** listHead, long* nextPort,
                          configItem** portHead) {
  *listHead = nullptr;
  std::string fileName = std::string(fleetDir) + '/' + (engLabel ? engLabel : "") + '/' + kStartupFileName;
  if (readNestedConfigFile(fileName.c_str(), listHead, nextPort, portHead, engLabel)) return OWB_TRUE;
  freeConfigList(listHead);
  return OWB_FALSE;
}

OWBboolean readExternalList(const char* fleetDir, List* engList, configItem** externalList) {
  *externalList = nullptr;
  if (!engList || engList->totalElements == 0) return OWB_FALSE;
  configItem* tail = nullptr;
  for (long i = 0; i < engList->totalElements; ++i) {
    Item* engine = engList->get(i);
    if (!engine) continue;
    // The whole label of a StringItem: a print would cut it one short of
    // the field, so that the engine's configuration would not be found.
    char label[sizeof(processLabelType)] = "";
    if (engine->getItemType() == kFileItemType)
      copyIntoField(label, sizeof label, static_cast<StringItem*>(engine)->string);
    else engine->printToString(label);
    configItem* records;
    if (!readConfigFile(fleetDir, label, &records, nullptr, nullptr)) {
      freeConfigList(externalList);
      return OWB_FALSE;
    }
    while (configItem* record = records) {
      records = record->next;
      record->next = nullptr;
      bool keep = record->kind == configExternal && record->label;
      for (configItem* seen = *externalList; seen && keep; seen = seen->next)
        keep = strcasecmp(seen->label, record->label) != 0;
      if (!keep) {
        freeConfigItem(record);
        continue;
      }
      if (tail) tail->next = record;
      else *externalList = record;
      tail = record;
    }
  }
  return OWB_TRUE;
}
