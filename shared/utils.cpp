// Small utilities of the shared library.
#include "shared/utils.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "shared/errors.h"
#include "shared/log.h"

namespace {

// Copies at most size - 1 bytes of source[0, length) into target and ends it.
void copyTruncated(char* target, size_t size, const char* source, size_t length) {
  if (!target || size == 0) return;
  if (length > size - 1) length = size - 1;
  if (length) std::memmove(target, source, length);
  target[length] = '\0';
}

bool isDirectory(const char* path) {
  struct stat info;
  return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

void copyBytes(const void* fromPtr, void* toPtr, long length) {
  if (length > 0) std::memmove(toPtr, fromPtr, static_cast<size_t>(length));
}

void mybzero(void* startPtr, long len) {
  if (len > 0) std::memset(startPtr, 0, static_cast<size_t>(len));
}

void makeLowercase(char* str) {
  if (!str) return;
  for (; *str; str++) {
    if (*str >= 'A' && *str <= 'Z') *str = static_cast<char>(*str + ('a' - 'A'));
  }
}

char* newStringCopy(const char* originalString) {
  if (!originalString) {
    OWB_LOG("newStringCopy: nil was passed as source string");
    return newEmptyString();
  }
  const size_t length = std::strlen(originalString);
  char* copy = new char[length + 1];
  std::memcpy(copy, originalString, length + 1);
  return copy;
}

char* newEmptyString() {
  char* empty = new char[1];
  empty[0] = '\0';
  return empty;
}

void StrFromTypeIdent(TypeIdent ident, char* str) {
  str[0] = static_cast<char>(ident >> 24);
  str[1] = static_cast<char>(ident >> 16);
  str[2] = static_cast<char>(ident >> 8);
  str[3] = static_cast<char>(ident);
  str[4] = '\0';
}

const char* TypeIdentToCStr(TypeIdent typeIdent) {
  static char text[5];
  StrFromTypeIdent(typeIdent, text);
  return text;
}

Boolean isTextFile(const char* pathname) {
  if (!pathname) return FALSE;
  // Opened without blocking: a named pipe with no writer reads as empty.
  int descriptor = open(pathname, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return FALSE;
  char buffer[256];
  std::memset(buffer, 'A', sizeof buffer);
  size_t got = 0;
  for (ssize_t n; got < sizeof buffer && (n = read(descriptor, buffer + got, sizeof buffer - got)) > 0;)
    got += static_cast<size_t>(n);
  close(descriptor);
  return std::memchr(buffer, 0, sizeof buffer) ? FALSE : TRUE;
}

void extractPathname(const char* pathname, char* justPath, size_t size) {
  const char* slash = pathname ? std::strrchr(pathname, '/') : nullptr;
  if (!slash) {
    copyIntoField(justPath, size, "");
    return;
  }
  copyTruncated(justPath, size, pathname, static_cast<size_t>(slash - pathname));
}

const char* findFilenameInPath(const char* pathname) {
  if (!pathname || !*pathname) return nullptr;
  // The first character is never taken for a separator: "/abc" stays whole.
  const char* slash = std::strrchr(pathname + 1, '/');
  return slash ? slash + 1 : pathname;
}

void extractFilename(const char* pathname, char* filename, size_t size) {
  copyIntoField(filename, size, findFilenameInPath(pathname));
}

Boolean fileExists(const char* pathname) {
  if (!pathname) return FALSE;
  // True when the entry can be opened for reading; without blocking, as a
  // named pipe with no writer would block an open.
  int descriptor = open(pathname, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return FALSE;
  close(descriptor);
  return TRUE;
}

long getFileLength(const char* fileName) {
  if (!fileName) return 0;
  FILE* file = openRegularFile(fileName);
  if (!file) return 0;
  std::fseek(file, 0, SEEK_END);
  const long length = std::ftell(file);
  std::fclose(file);
  return length < 0 ? 0 : length;
}

void getHomeDirectory(char* pathname, size_t size) {
  const char* home = std::getenv("HOME");
  if (!home) {
    copyIntoField(pathname, size, "");
    return;
  }
  std::snprintf(pathname, size, "%s/", home);
}

ErrorCode getValidPreferencesDirectory(char* path, size_t size) {
  fileNameType home;
  getHomeDirectory(home, sizeof home);
  std::snprintf(path, size, "%s%s%s", home, ".owb", "/");
  if (!isDirectory(home)) return kPrefsDirUnusable;
  if (!isDirectory(path)) {
    mkdir(path, 0775);
    if (!isDirectory(path)) return kPrefsDirUnusable;
  }
  return kNoError;
}

time_t timeInSeconds() { return std::time(nullptr); }

void replaceSuffix(char* targetString, const char* sourceString, const char* newSuffix,
                   size_t size) {
  if (!sourceString) sourceString = "";
  if (!newSuffix) newSuffix = "";
  const char* dot = std::strrchr(sourceString, '.');
  if (dot) {
    std::snprintf(targetString, size, "%.*s%s", static_cast<int>(dot - sourceString + 1),
                  sourceString, newSuffix);
  } else {
    std::snprintf(targetString, size, "%s.%s", sourceString, newSuffix);
  }
}

void truncAtChar(char* targetString, const char* sourceString, char /*character*/, size_t size) {
  if (!sourceString) sourceString = "";
  copyTruncated(targetString, size, sourceString, std::strcspn(sourceString, " "));
}

char* readFile(const char* file) {
  if (!file) {
    OWB_LOG("Couldn't find file " << "(null)");
    return nullptr;
  }
  const long size = getFileLength(file);
  FILE* input = size > 0 ? openRegularFile(file) : nullptr;
  if (!input) {
    OWB_LOG("Couldn't find file " << file);
    return nullptr;
  }
  OWB_LOG("File size is " << size);
  OWB_LOG("About to read file " << file << " into source view");

  // Lines of at most 16384 characters, each stored with its newline.  A
  // longer line is read in pieces, each ended by a newline; what no longer
  // fits the buffer of size + 2 bytes is dropped.
  const size_t capacity = static_cast<size_t>(size) + 2;
  char* text = new char[capacity];
  size_t used = 0;
  long lines = 0;
  static constexpr size_t kMaxLine = 16384;
  std::string line;
  int c = 0;
  while (c != EOF && used + 1 < capacity) {
    line.clear();
    while (line.size() < kMaxLine && (c = std::fgetc(input)) != EOF && c != '\n')
      line.push_back(static_cast<char>(c));
    if (c == EOF && line.empty()) break;
    const size_t room = capacity - 1 - used;
    const size_t kept = line.size() < room ? line.size() : room;
    std::memcpy(text + used, line.data(), kept);
    used += kept;
    if (used + 1 < capacity) text[used++] = '\n';
    lines++;
  }
  text[used] = '\0';
  std::fclose(input);
  OWB_LOG("Read " << lines << " lines in file " << file);
  return text;
}

void copyIntoField(char* field, size_t size, const char* text) {
  copyTruncated(field, size, text ? text : "", text ? std::strlen(text) : 0);
}

FILE* openRegularFile(const char* fileName) {
  if (!fileName) return nullptr;
  // Opened without blocking, so that a named pipe cannot hold the reader
  // up before it has been seen not to be a file.
  int descriptor = open(fileName, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  struct stat info;
  if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
    close(descriptor);
    return nullptr;
  }
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
  FILE* file = fdopen(descriptor, "rb");
  if (!file) close(descriptor);
  return file;
}
