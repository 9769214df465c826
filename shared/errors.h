// Error codes of the shared library and the base class that reports them.
#ifndef OWB_SHARED_ERRORS_H
#define OWB_SHARED_ERRORS_H

#include "owbtypes.h"

enum : ErrorCode {
  kNoError = 0,
  kWrongParamType = -1,       // dispatchMessage; a fleet command failed
  kWrongParamCount = -2,
  kNoHandler = -3,
  kDuplicateHandler = -4,
  kNoMatchingMessage = -201,
  kBlockIsFree = -501,
  kNoSuchField = -502,
  kNoBlockOfType = -505,      // also a bad message queue position
  kFileOpenForWriting = -506,
  kNotValidDBFile = -507,
  kWindowNotFound = -701,
  kPrefsVersion = -801,
  kPrefsIncompatible = -802,
  kPrefsRead = -803,
  kPrefsWrite = -804,
  kFileDoesNotExist = -1302,
  kPrefsDirUnusable = -1303,
  kSelectFailed = -1401,
  kTickleFailed = -1402,
  kAcceptFailed = -1403,
  kOutOfMemory = -1701,
  kInsufficientMemory = -1702,
  kPrefsNotOpen = -1801,
  kOperationFailed = -2000,
};

// Writes the alert text of error into errorStr (at least 64 bytes).  With
// capitalize, 32 is added to the first byte: the texts begin in lower case,
// so this gives a byte above the letters, not a capital.
void convertErrorToText(ErrorCode error, char* errorStr, Boolean capitalize);

class HasErrorReporting {
 public:
  virtual ~HasErrorReporting() = default;
  void alertLastError();
  // Logs and shows "Unable to complete that operation because <text>."
  void alertThisError(ErrorCode error);
  void convertErrorToText(ErrorCode error, char* errorStr, Boolean capitalize);

  ErrorCode lastError = 0;
};

#endif  // OWB_SHARED_ERRORS_H
