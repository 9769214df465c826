// Reading and writing the fleet definition file.
#include "fleet/fleetdef.h"

#include <strings.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "fleet/fileutil.h"
#include "fleet/keyvalue.h"
#include "fleet/output.h"
#include "shared/utils.h"

namespace {

const char* const kCommonBlock = "Common";
const char* const kEngineBlock = "Engine";
const char* const kBasePortKey = "BasePort";
const char* const kAuthorityKey = "Authority";
const char* const kEngineOptionsKey = "EngineOptions";
const char* const kSecurityOnKey = "SecurityOn";
const char* const kEngineNameKey = "EngineName";
const char* const kEnginePlaceConfigKey = "EnginePlaceConfig";
const char* const kLoadDebuggerKey = "LoadDebugger";
const char* const kModuleKey = "Module";
const char* const kProjectKey = "Project";
const char* const kDefaultEngineOptions = "-d1";
const char* const kReadAlertTitle = "Unable to Read Fleet Definition";
const char* const kWriteAlertTitle = "Unable to Write Fleet Definition File";

// One line of the file: 1023 characters and the terminator.
constexpr int kDefinitionLineSize = 1024;
constexpr size_t kReadAlertSize = 3 * sizeof(fileNameType);

const char* trueOrFalse(OWBboolean value) { return value ? "True" : "False"; }

// "<fleetDir>/<name>.flt"; false when it does not fit a file name, which
// is then treated as a file that can't be opened.
bool definitionFileName(char* fileName, const char* fleetDir, const char* name) {
  int length = std::snprintf(fileName, sizeof(fileNameType), "%s%c%s.flt", fleetDir, '/', name);
  return length >= 0 && static_cast<size_t>(length) < sizeof(fileNameType);
}

bool isHexText(const char* value, size_t length) {
  if (std::strlen(value) != length) return false;
  for (const char* p = value; *p; ++p)
    if (!std::isxdigit(static_cast<unsigned char>(*p))) return false;
  return true;
}

bool isEngineNameText(const char* value) {
  if (!std::isalpha(static_cast<unsigned char>(value[0]))) return false;
  for (const char* p = value + 1; *p; ++p)
    if (!std::isalnum(static_cast<unsigned char>(*p)) && *p != '_') return false;
  return true;
}

// "True" or "False" in any case into *result; false for anything else.
bool parseTrueFalse(const char* value, OWBboolean* result) {
  if (strcasecmp(value, "True") == 0) *result = OWB_TRUE;
  else if (strcasecmp(value, "False") == 0) *result = OWB_FALSE;
  else return false;
  return true;
}

enum class Block { kNone, kCommon, kEngine };

// The state of one read: where in the file, and what has been built.
class DefinitionReader {
 public:
  DefinitionReader(const char* fileName, FleetFileContent* content) : fileName_(fileName), content_(content) {}

  // Reads every line of file; false after the first failure's alert.
  bool readAll(FILE* file) {
    char line[kDefinitionLineSize];
    while (readALine(line, sizeof line, file)) {
      ++lineNumber_;
      char* text = firstNonWhiteSpace(line);
      *endOfNonWhiteSpace(text) = '\0';
      if (*text == '\0' || *text == '#') continue;
      bool good = (*text == '[') ? readBlockLine(text) : readKeywordLine(text);
      if (!good) return false;
    }
    return true;
  }

 private:
  // Shows the formatted text under the reader's title; always false.
  bool fail(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    char text[kReadAlertSize];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    alertUser(kReadAlertTitle, text);
    return false;
  }

  bool failLine(const char* why) {
    return fail("Illegal line format on line number %d of %s: %s", lineNumber_, fileName_, why);
  }

  bool readBlockLine(char* text) {
    size_t length = std::strlen(text);
    Block newBlock = Block::kNone;
    if (length >= 2 && text[length - 1] == ']') {
      text[length - 1] = '\0';
      char* name = firstNonWhiteSpace(text + 1);
      *endOfNonWhiteSpace(name) = '\0';
      if (strcasecmp(name, kCommonBlock) == 0) newBlock = Block::kCommon;
      else if (strcasecmp(name, kEngineBlock) == 0) newBlock = Block::kEngine;
    }
    if (newBlock == Block::kNone) return fail("Illegal block introduction on line %d of %s", lineNumber_, fileName_);

    // What was missing is told only when its block is left.
    if (block_ == Block::kCommon && content_->basePort < kLowestBasePort)
      return fail("Missing %s before line %d of %s", kBasePortKey, lineNumber_, fileName_);
    if (block_ == Block::kEngine && (engine_->engineLabel[0] == '\0' || engine_->enginePlaceConfig[0] == '\0'))
      return fail("Missing %s and/or %s lines before line %d of %s", kEngineNameKey, kEnginePlaceConfigKey,
                  lineNumber_, fileName_);

    block_ = newBlock;
    if (newBlock == Block::kEngine) {
      engine_ = new EngineConfiguration();
      content_->engines.include(engine_);
    }
    return true;
  }

  // Tests that key, as written, stands in its block.
  bool inBlock(const char* key, Block wanted) {
    if (block_ == wanted) return true;
    char why[kReadAlertSize];
    std::snprintf(why, sizeof why, "%s is only legal in a [ %s ] block", key,
                  wanted == Block::kCommon ? kCommonBlock : kEngineBlock);
    return failLine(why);
  }

  bool readKeywordLine(char* text) {
    char* key;
    char* value;
    if (!scanKeyAndValue(text, &key, &value))
      return fail("Illegal line format on line number %d of %s", lineNumber_, fileName_);

    if (strcasecmp(key, kBasePortKey) == 0) {
      if (!inBlock(key, Block::kCommon)) return false;
      long port = std::strtol(value, nullptr, 10);
      if (port < kLowestBasePort) return failLine("expected a port number greater than 1025");
      content_->basePort = port;
    } else if (strcasecmp(key, kAuthorityKey) == 0) {
      if (!inBlock(key, Block::kCommon)) return false;
      if (!isHexText(value, kAuthorityLength))
        return failLine("engine authorityi is either not 34 characters long or contains a non-hex digit");
      copyIntoField(content_->authorityText, sizeof content_->authorityText, value);
    } else if (strcasecmp(key, kEngineOptionsKey) == 0) {
      if (!inBlock(key, Block::kCommon)) return false;
      copyIntoField(content_->engineOptions, sizeof content_->engineOptions, value);
    } else if (strcasecmp(key, kSecurityOnKey) == 0) {
      if (!inBlock(key, Block::kCommon)) return false;
      if (!parseTrueFalse(value, &content_->securityOn)) return failTrueFalse(key);
    } else if (strcasecmp(key, kEngineNameKey) == 0) {
      if (!inBlock(key, Block::kEngine)) return false;
      if (!isEngineNameText(value) || nameUsedBefore(value))
        return failLine("engine name is either not unique or contains illegal characters");
      copyIntoField(engine_->engineLabel, sizeof engine_->engineLabel, value);
    } else if (strcasecmp(key, kEnginePlaceConfigKey) == 0) {
      if (!inBlock(key, Block::kEngine)) return false;
      copyIntoField(engine_->enginePlaceConfig, sizeof engine_->enginePlaceConfig, value);
    } else if (strcasecmp(key, kLoadDebuggerKey) == 0) {
      if (!inBlock(key, Block::kEngine)) return false;
      if (!parseTrueFalse(value, &engine_->loadDebugger)) return failTrueFalse(key);
    } else if (strcasecmp(key, kModuleKey) == 0) {
      if (!inBlock(key, Block::kEngine)) return false;
      engine_->moduleConfigFiles.include(new StringItem(value));
    } else if (strcasecmp(key, kProjectKey) == 0) {
      if (!inBlock(key, Block::kEngine)) return false;
      engine_->projectConfigFiles.include(new StringItem(value));
    } else {
      // An unknown key ends the read like every other fault of the file.
      char why[kReadAlertSize];
      std::snprintf(why, sizeof why, "%s is not a known keyword", key);
      return failLine(why);
    }
    return true;
  }

  // The key is named as it is written in the file.
  bool failTrueFalse(const char* key) {
    char why[kReadAlertSize];
    std::snprintf(why, sizeof why, "The value for %s must be TRUE or FALSE", key);
    return failLine(why);
  }

  // Compares with the engines before the current one, latest first.
  bool nameUsedBefore(const char* name) {
    List& engines = content_->engines;
    for (long i = engines.totalElements - 1; i >= 0; --i) {
      auto* earlier = static_cast<EngineConfiguration*>(engines.get(i));
      if (earlier && earlier != engine_ && strcasecmp(earlier->engineLabel, name) == 0) return true;
    }
    return false;
  }

  const char* fileName_;
  FleetFileContent* content_;
  int lineNumber_ = 0;
  Block block_ = Block::kNone;
  EngineConfiguration* engine_ = nullptr;
};

void writeKeyLine(FILE* file, const char* key, const char* value) { std::fprintf(file, "%s = %s\n", key, value); }

void writeStringItems(FILE* file, const char* key, List& items) {
  for (long i = 0; i < items.totalElements; ++i)
    if (auto* item = static_cast<StringItem*>(items.get(i))) writeKeyLine(file, key, item->string);
}

}  // namespace

EngineConfiguration::EngineConfiguration() : EngineConfiguration(nullptr) {}

EngineConfiguration::EngineConfiguration(const char* label)
    : loadDebugger(OWB_TRUE),
      moduleConfigFiles(kStandardChunkSize, TRUE, EqualCompare),
      projectConfigFiles(kStandardChunkSize, TRUE, EqualCompare) {
  itemType = kEngineItemType;
  copyIntoField(engineLabel, sizeof engineLabel, label ? label : "");
  enginePlaceConfig[0] = '\0';
}

Boolean EngineConfiguration::isEqual(ItemPtr other) {
  if (!other || other->getItemType() != getItemType()) return FALSE;
  return strcasecmp(engineLabel, static_cast<EngineConfiguration*>(other)->engineLabel) == 0 ? TRUE : FALSE;
}

long EngineConfiguration::compare(ItemPtr other) {
  long difference = (other ? static_cast<long>(other->getItemType()) : 0L) - static_cast<long>(getItemType());
  if (difference != 0 || !other) return difference;
  return strcasecmp(engineLabel, static_cast<EngineConfiguration*>(other)->engineLabel);
}

TypeIdent EngineConfiguration::getItemType() { return itemType; }

void EngineConfiguration::printToString(char* buf) {
  if (buf) copyIntoField(buf, kItemPrintBufferSize, engineLabel);
}

FleetFileContent::FleetFileContent() : FleetFileContent(nullptr) {}

FleetFileContent::FleetFileContent(const char* name)
    : basePort(0), securityOn(OWB_FALSE), engines(kStandardChunkSize, TRUE, EqualCompare) {
  copyIntoField(fleetName, sizeof fleetName, name ? name : "");
  authorityText[0] = '\0';
  engineOptions[0] = '\0';
}

OWBboolean readFleetDefinition(const char* fleetDir, FleetFileContent* content) {
  const char* lastSlash = std::strrchr(fleetDir, '/');
  copyIntoField(content->fleetName, sizeof content->fleetName, lastSlash ? lastSlash + 1 : fleetDir);
  fileNameType fileName;
  if (!definitionFileName(fileName, fleetDir, content->fleetName)) return OWB_FALSE;
  FILE* file = openRegularFile(fileName);
  if (!file) return OWB_FALSE;

  content->basePort = 0;
  content->authorityText[0] = '\0';
  content->securityOn = OWB_TRUE;
  copyIntoField(content->engineOptions, sizeof content->engineOptions, kDefaultEngineOptions);
  content->engines.removeAll();

  DefinitionReader reader(fileName, content);
  bool good = reader.readAll(file);
  std::fclose(file);
  return good ? OWB_TRUE : OWB_FALSE;
}

OWBboolean writeFleetDefinition(const char* fleetDir, FleetFileContent* content) {
  fileNameType fileName;
  FILE* file = definitionFileName(fileName, fleetDir, content->fleetName) ? std::fopen(fileName, "we") : nullptr;
  if (!file) {
    alertUser(kWriteAlertTitle, fileName);
    return OWB_FALSE;
  }
  time_t now = std::time(nullptr);
  std::fprintf(file, "#  Fleet definition file written %s\n", std::ctime(&now));
  std::fprintf(file, "[ %s ]\n\n", kCommonBlock);
  std::fprintf(file, "%s = %ld\n", kBasePortKey, content->basePort);
  if (content->authorityText[0]) writeKeyLine(file, kAuthorityKey, content->authorityText);
  writeKeyLine(file, kEngineOptionsKey, content->engineOptions);
  writeKeyLine(file, kSecurityOnKey, trueOrFalse(content->securityOn));

  List& engines = content->engines;
  for (long i = 0; i < engines.totalElements; ++i) {
    auto* engine = static_cast<EngineConfiguration*>(engines.get(i));
    if (!engine) continue;
    std::fprintf(file, "\n[ %s ]\n\n", kEngineBlock);
    writeKeyLine(file, kEngineNameKey, engine->engineLabel);
    writeKeyLine(file, kEnginePlaceConfigKey, engine->enginePlaceConfig);
    writeKeyLine(file, kLoadDebuggerKey, trueOrFalse(engine->loadDebugger));
    writeStringItems(file, kModuleKey, engine->moduleConfigFiles);
    writeStringItems(file, kProjectKey, engine->projectConfigFiles);
  }
  std::fclose(file);
  return OWB_TRUE;
}

OWBboolean readEngineList(const char* fleetDir, List* engList) {
  engList->removeAll();
  FleetFileContent content;
  if (!readFleetDefinition(fleetDir, &content)) return OWB_FALSE;
  for (long i = 0; i < content.engines.totalElements; ++i)
    if (auto* engine = static_cast<EngineConfiguration*>(content.engines.get(i)))
      engList->include(new StringItem(engine->engineLabel));
  return OWB_TRUE;
}

Boolean validFleetDefFile(const char* pathname, FleetFileContent* fleetFile) {
  return (fileExists(pathname) && readFleetDefinition(pathname, fleetFile)) ? TRUE : FALSE;
}

long randomPort() {
  long port;
  do {
    port = std::rand() & 0xFFFF;
  } while (port < kLowestBasePort);
  return port;
}

void randomAuthority(const char* fleetDir, char* authorityBuffer) {
  constexpr size_t kOctets = 16;
  unsigned char octets[kOctets];
  for (unsigned char& octet : octets) octet = static_cast<unsigned char>(std::rand() & 0xFF);
  size_t next = 0;
  for (const char* p = fleetDir; p && *p; ++p) {
    octets[next] = static_cast<unsigned char>(octets[next] + static_cast<unsigned char>(*p));
    next = (next + 1) % kOctets;
  }
  char* out = authorityBuffer;
  out += std::sprintf(out, "04");
  for (unsigned char octet : octets) out += std::sprintf(out, "%2.2x", octet);
}
