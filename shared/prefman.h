// A tool's preferences, kept in one block database file per tool.
//
// A preference is a byte string of a four-character type.  All preferences
// of one type are the fields of one block of that type; preference N is
// field N, from 1.  Every operation leaves its outcome in lastError (the
// HasErrorReporting one, not the database's); while no file is open each
// sets -1801 and does nothing, and the count and read operations give 0.
#ifndef OWB_SHARED_PREFMAN_H
#define OWB_SHARED_PREFMAN_H

#include "owbtypes.h"
#include "shared/database.h"
#include "shared/errors.h"

constexpr TypeIdent kFleetPrefsFileType = makeTypeIdent("FLTT");
constexpr short kDefaultPrefsFileVersion = 2;

class PrefMan : public Database, public HasErrorReporting {
 public:
  // Version 2, described as "preferences", at <preferences dir><tool>.prf;
  // opens the file at once.
  explicit PrefMan(TypeIdent preferencesFileType);
  PrefMan(TypeIdent preferencesFileType, short preferencesFileVersion, const char* filePath,
          const char* fileDescription, Boolean openFileNow);
  ~PrefMan() override;

  // Opens the file, creating it when missing.  A file of another type or
  // version brings a question ("Cancel" / "Overwrite"); "Overwrite" makes a
  // new file but leaves it closed until the next start.
  virtual void openPreferencesFile();
  virtual void closePreferencesFile();
  // 0 when version is this tool's, otherwise -801.  A derived class may
  // upgrade an old file here.
  virtual ErrorCode reconcileVersion(short version);

  void addPreference(TypeIdent preferenceType, const void* buffer, long length);
  long countPreferencesOfType(TypeIdent preferenceType);
  // Returns the length read, at most maxLength.
  long readNthPreference(TypeIdent preferenceType, long preferenceNumber, void* buffer,
                         long maxLength);
  // A write that follows a failed operation (lastError not 0) is dropped.
  void writeNthPreference(TypeIdent preferenceType, long preferenceNumber, const void* buffer,
                          long length);
  void deleteNthPreference(TypeIdent preferenceType, long preferenceNumber);
  // Empties the type's block and keeps it.
  void deletePreferencesOfType(TypeIdent preferenceType);

  Str255 prefPath;
  Str255 fileDescription;
  TypeIdent fileType;
  short fileVersion;

 private:
  bool requireOpenFile();
};

extern PrefMan* gPreferencesManager;

#endif  // OWB_SHARED_PREFMAN_H
