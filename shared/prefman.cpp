#include "shared/prefman.h"

#include <cstdio>
#include <cstring>

#include "shared/alert.h"
#include "shared/globals.h"
#include "shared/utils.h"

PrefMan* gPreferencesManager = nullptr;

PrefMan::PrefMan(TypeIdent preferencesFileType)
    : fileType(preferencesFileType), fileVersion(kDefaultPrefsFileVersion) {
  copyIntoField(fileDescription, sizeof fileDescription, "preferences");
  fileNameType directory;
  getValidPreferencesDirectory(directory, sizeof directory);
  std::snprintf(prefPath, sizeof prefPath, "%s%s.prf", directory, gToolName ? gToolName : "");
  openPreferencesFile();
}

PrefMan::PrefMan(TypeIdent preferencesFileType, short preferencesFileVersion,
                 const char* filePath, const char* description, Boolean openFileNow)
    : fileType(preferencesFileType), fileVersion(preferencesFileVersion) {
  copyIntoField(prefPath, sizeof prefPath, filePath);
  copyIntoField(fileDescription, sizeof fileDescription, description);
  if (openFileNow) openPreferencesFile();
}

PrefMan::~PrefMan() { closePreferencesFile(); }

ErrorCode PrefMan::reconcileVersion(short version) {
  return version == fileVersion ? kNoError : kPrefsVersion;
}

void PrefMan::openPreferencesFile() {
  short version = 0;
  lastError = validDBFile(prefPath, fileType, &version);
  if (lastError == kFileDoesNotExist) {
    version = fileVersion;
    lastError = createDBFile(prefPath, fileType, fileVersion);
  }
  if (lastError == kNoError) {
    lastError = reconcileVersion(version);
    // For writing but without the duplicate test: several runs of one tool
    // may have the file open together.
    if (lastError == kNoError) lastError = openDBFile(prefPath, kReadWriteAccess, FALSE);
  }
  if (lastError == kNotValidDBFile || lastError == kPrefsVersion) {
    char question[600];
    std::snprintf(question, sizeof question,
                  "The %s file %s was invalid. Would you like to overwrite the exisiting file?",
                  fileDescription, prefPath);
    long button = displayAlertWindow(question, kAlertQuestion, "Invalid file", "Cancel",
                                     "Overwrite", nullptr, TRUE, nullptr);
    if (button != 2) {
      // Left alone: the tool runs without preferences.
      lastError = kNoError;
      return;
    }
    // The new file is not opened here; preferences stay off until the next start.
    lastError = createDBFile(prefPath, fileType, fileVersion);
  }
  if (lastError != kNoError) {
    char text[600];
    std::snprintf(text, sizeof text, "An error occurred opening or creating the %s file %s (%d).",
                  fileDescription, prefPath, static_cast<int>(lastError));
    displayAlertWindow(text, kAlertWarning, "File error", "Ok", nullptr, nullptr, TRUE, nullptr);
  }
}

void PrefMan::closePreferencesFile() { closeDBFile(); }

bool PrefMan::requireOpenFile() {
  if (isOpen()) return true;
  lastError = kPrefsNotOpen;
  return false;
}

void PrefMan::addPreference(TypeIdent preferenceType, const void* buffer, long length) {
  if (!requireOpenFile()) return;
  long recordNumber = 0;
  lastError = getNthBlockOfType(preferenceType, 1, &recordNumber);
  if (lastError == kNoBlockOfType) {
    // The first preference of a type reserves as much again for the next.
    lastError = addBlock(preferenceType, length, length, &recordNumber);
    if (lastError == kNoError) lastError = initBlockForFields(recordNumber);
  }
  if (lastError != kNoError) return;
  lastError = addFieldToBlock(recordNumber, buffer, length);
}

long PrefMan::countPreferencesOfType(TypeIdent preferenceType) {
  if (!requireOpenFile()) return 0;
  long recordNumber = 0;
  lastError = getNthBlockOfType(preferenceType, 1, &recordNumber);
  if (lastError != kNoError) return 0;
  long count = 0;
  lastError = countFieldsInBlock(recordNumber, &count);
  return lastError == kNoError ? count : 0;
}

long PrefMan::readNthPreference(TypeIdent preferenceType, long preferenceNumber, void* buffer,
                                long maxLength) {
  if (!requireOpenFile()) return 0;
  long recordNumber = 0;
  lastError = getNthBlockOfType(preferenceType, 1, &recordNumber);
  if (lastError != kNoError) return 0;
  long length = 0;
  lastError = getFieldIntoBuffer(recordNumber, preferenceNumber, static_cast<Ptr>(buffer),
                                 &length, maxLength);
  return lastError == kNoError ? length : 0;
}

void PrefMan::writeNthPreference(TypeIdent preferenceType, long preferenceNumber,
                                 const void* buffer, long length) {
  if (!requireOpenFile()) return;
  long recordNumber = 0;
  // The search result is deliberately not stored: a write that follows a
  // failed operation is dropped by the test of lastError below.
  ErrorCode search = getNthBlockOfType(preferenceType, 1, &recordNumber);
  if (search == kNoBlockOfType) {
    addPreference(preferenceType, buffer, length);
    return;
  }
  if (lastError != kNoError) return;
  long count = 0;
  lastError = countFieldsInBlock(recordNumber, &count);
  if (lastError != kNoError) return;
  if (preferenceNumber == count + 1)
    lastError = addFieldToBlock(recordNumber, buffer, length);
  else
    lastError = setFieldOfBlock(recordNumber, preferenceNumber, buffer, length);
}

void PrefMan::deleteNthPreference(TypeIdent preferenceType, long preferenceNumber) {
  if (!requireOpenFile()) return;
  long recordNumber = 0;
  lastError = getNthBlockOfType(preferenceType, 1, &recordNumber);
  if (lastError != kNoError) return;
  lastError = deleteFieldFromBlock(recordNumber, preferenceNumber);
}

void PrefMan::deletePreferencesOfType(TypeIdent preferenceType) {
  if (!requireOpenFile()) return;
  long recordNumber = 0;
  lastError = getNthBlockOfType(preferenceType, 1, &recordNumber);
  if (lastError == kNoBlockOfType) {
    lastError = kNoError;
    return;
  }
  if (lastError != kNoError) return;
  lastError = initBlockForFields(recordNumber);
}
