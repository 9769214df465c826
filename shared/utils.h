// Small utilities of the shared library.
//
// Output buffers of the path functions must hold `size` bytes (by default a
// fileNameType); results are truncated to fit, never overrun.
#ifndef OWB_SHARED_UTILS_H
#define OWB_SHARED_UTILS_H

#include <cstddef>
#include <cstdio>
#include <ctime>

#include "owbtypes.h"

void copyBytes(const void* fromPtr, void* toPtr, long length);
void mybzero(void* startPtr, long len);
// Lowers A to Z in place; null is fine.
void makeLowercase(char* str);
// A heap copy (new[]) owned by the caller; null is logged and gives "".
char* newStringCopy(const char* originalString);
// A one-byte heap string (new[]).
char* newEmptyString();
// The four characters of a code, in one static buffer valid until the next call.
const char* TypeIdentToCStr(TypeIdent typeIdent);
// The same into str, which holds at least 5 bytes.
void StrFromTypeIdent(TypeIdent ident, char* str);

// False when the file does not exist; otherwise true unless a NUL byte
// stands in its first 256 bytes.
Boolean isTextFile(const char* pathname);
// The directory part without its trailing "/"; "" when there is none.
void extractPathname(const char* pathname, char* justPath, size_t size = sizeof(fileNameType));
// Everything after the last "/" past the first character.
void extractFilename(const char* pathname, char* filename, size_t size = sizeof(fileNameType));
// extractFilename as a pointer into pathname; null for null or "".
const char* findFilenameInPath(const char* pathname);
Boolean fileExists(const char* pathname);
long getFileLength(const char* fileName);
// $HOME with "/" appended, or "" when HOME is unset.
void getHomeDirectory(char* pathname, size_t size = sizeof(fileNameType));
// Fills path with $HOME/.owb/ and makes the directory when needed.
// -1303 when it is not usable; path is filled in all cases.
ErrorCode getValidPreferencesDirectory(char* path, size_t size = sizeof(fileNameType));
time_t timeInSeconds();
// sourceString up to and including its last ".", then newSuffix (no dot).
void replaceSuffix(char* targetString, const char* sourceString, const char* newSuffix,
                   size_t size = sizeof(fileNameType));
// sourceString up to its first blank.  `character` is not used: the cut is
// always at the blank, which is this function's defined behaviour.
void truncAtChar(char* targetString, const char* sourceString, char character,
                 size_t size = sizeof(fileNameType));
// The whole file in a new[] buffer of its size + 2 bytes, owned by the
// caller; each line ends in a newline.  Null for null or an empty file.
char* readFile(const char* file);

// Opens fileName for reading ("rb", closed on exec) when it is a regular
// file; devices, pipes and directories give null as a missing file does,
// so that no reader can be made to block on a pipe or read forever.
FILE* openRegularFile(const char* fileName);

// Copies text (null as "") into a fixed field of size bytes, truncating
// at the field's size; nothing for a size of 0.
void copyIntoField(char* field, size_t size, const char* text);

#endif  // OWB_SHARED_UTILS_H
