// The file picker: the modal dialogs in which the user chooses a file or a
// directory, on the disk or among the components of the environment's
// current project (which the Tool Manager knows).
//
// Contracts:
// - result is the caller's buffer of a fileNameType (1024 bytes); it is
//   emptied first and holds the choice, truncated to fit, when the call
//   returns true.
// - One picker exists at a time: asked while one is open, chooseFile beeps,
//   brings it to the front and returns false; chooseDirectory returns
//   false.
// - Opening asks the Tool Manager where the picker last stood (GCFP) and
//   for the window's place (GWIN); closing tells the directory (SCFP).
//   Messages are served while the picker stands.
#ifndef OWB_SHARED_UI_FILEPICK_H
#define OWB_SHARED_UI_FILEPICK_H

#include "owbtypes.h"
#include "toolkit/winpub.h"

enum { kDisplayFilesAndComponents = 0, kDisplayFiles = 1, kDisplayComponents = 2 };

// Positions of the children of the template "filePicker".
enum {
  FPICK_DISKLIST = 0,
  FPICK_COMPONENTTYPES = 1,
  FPICK_PROJECTLIST = 2,
  FPICK_ACCEPT = 3,
  FPICK_FIND = 4,
  FPICK_CANCEL = 5,
  FPICK_SELECTION = 6,
  FPICK_FILTER = 7,
  FPICK_PROJECTLABEL = 8,
  FPICK_SOURCES = 9,  // a panel: 0 the disk, 1 the project
  FPICK_DUMMYDEFAULT = 10,
  FPICK_CHOOSEDIRECTORY = 11
};

// promptString labels the window when given; unusedArgument is not used.
// filter is a ";"-separated list of patterns ("*" when null or empty).
Boolean chooseFile(long displayMode, char* result, const char* promptString, const char* unusedArgument,
                   const char* filter, Boolean mustExist, Boolean confirmOverwrite);
Boolean chooseDirectory(char* result, const char* promptString, const char* unusedArgument, const char* filter,
                        Boolean mustExist);

// chooseFile of both sources with no button text and the question before
// replacing a file.
Boolean getPathname(char* pathname, const char* promptString, const char* filter, Boolean mustExist);

// The picker while it stands, else null.
WinPtr FPICK_GetWin();
// The directory the picker shows, kept from one use to the next.
const char* FPICK_GetCurrentDirectory();

// Makes the picker the chooser of makeFullPath; initializeGlobals calls it.
void installFilePicker();

#endif  // OWB_SHARED_UI_FILEPICK_H
