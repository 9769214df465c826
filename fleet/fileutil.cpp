// Directory and file utilities, and the start-up set-up of the globals.
#include "fleet/fileutil.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "fleet/fleetpath.h"
#include "fleet/output.h"
#include "shared/utils.h"

fileNameType ThisCurrentDir = "";
fileNameType OWKInstallDir = "";
char ThisHostName[kHostNameSize] = "";
char ThisHostIP[kHostIPSize] = "";

namespace {

constexpr size_t kCopyBlockSize = 1024;
constexpr size_t kAlertTextSize = 2 * sizeof(fileNameType) + 128;

bool isDotEntry(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// Alerts with a text made from format and one or two strings.
void alertFormatted(void (*out)(const char*, const char*), const char* title, const char* format,
                    const char* first, const char* second = nullptr) {
  char text[kAlertTextSize];
  std::snprintf(text, sizeof text, format, first, second);
  out(title, text);
}

}  // namespace

OWBboolean setOWKInstallDir(const char*) {
  // getcwd fails only when the directory has gone or its path is too long;
  // "." then keeps relative fleet paths meaning what they meant.
  if (!getcwd(ThisCurrentDir, sizeof ThisCurrentDir)) copyIntoField(ThisCurrentDir, sizeof ThisCurrentDir, ".");
  const char* owb = std::getenv("OWB");
  if (!owb || !*owb) {
    reportFatalError("ERROR",
                     "Please set the environment variable OWB to be the directory containing the OWB's "
                     "bin directory.");
    return OWB_FALSE;
  }
  copyIntoField(OWKInstallDir, sizeof OWKInstallDir, owb);
  fyiUser("Current Directory", ThisCurrentDir, OWB_TRUE);
  fyiUser("OWK Installation Directory", OWKInstallDir, OWB_TRUE);
  return OWB_TRUE;
}

OWBboolean setHostIP() {
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  if (gethostname(ThisHostName, sizeof ThisHostName) != 0) ThisHostName[0] = '\0';
  ThisHostName[sizeof ThisHostName - 1] = '\0';
  // A host whose own name does not resolve is taken to be the loopback
  // host, so that configuration lines naming the address stay valid.
  copyIntoField(ThisHostIP, sizeof ThisHostIP, "127.0.0.1");
  if (struct hostent* host = gethostbyname(ThisHostName)) {
    if (host->h_addrtype == AF_INET && host->h_addr_list && host->h_addr_list[0]) {
      struct in_addr address;
      std::memcpy(&address, host->h_addr_list[0], sizeof address);
      copyIntoField(ThisHostIP, sizeof ThisHostIP, inet_ntoa(address));
    }
  }
  fyiUser("This host's name", ThisHostName, OWB_TRUE);
  fyiUser("This host's IP address", ThisHostIP, OWB_TRUE);
  return OWB_TRUE;
}

OWBboolean dirExists(const char* dirName) {
  struct stat info;
  return (stat(dirName, &info) == 0 && S_ISDIR(info.st_mode)) ? OWB_TRUE : OWB_FALSE;
}

OWBboolean testIfFileExists(const char* fileName) {
  struct stat info;
  return (stat(fileName, &info) == 0 && S_ISREG(info.st_mode)) ? OWB_TRUE : OWB_FALSE;
}

OWBboolean ensureDir(const char* dirName) {
  struct stat info;
  if (stat(dirName, &info) != 0) return createDir(dirName);
  if (!S_ISDIR(info.st_mode)) {
    alertFormatted(reportFatalError, "Cannot Make Directory", "%s exists and is not a directory", dirName);
    return OWB_FALSE;
  }
  return OWB_TRUE;
}

OWBboolean createDir(const char* dirName) {
  // Parents first.  Their result is not looked at: the mkdir below fails
  // and alerts if a parent is missing.
  const char* lastSlash = std::strrchr(dirName, '/');
  if (lastSlash && lastSlash != dirName) {
    std::string parent(dirName, static_cast<size_t>(lastSlash - dirName));
    ensureDir(parent.c_str());
  }
  if (mkdir(dirName, 0777) != 0) {
    alertFormatted(reportFatalError, "Cannot Make Directory", "Failed to create directory %s", dirName);
    return OWB_FALSE;
  }
  return OWB_TRUE;
}

OWBboolean copyFile(const char* sourceFN, const char* targetFN, int itsModes) {
  int source = open(sourceFN, O_RDONLY | O_CLOEXEC);
  if (source < 0) {
    alertFormatted(reportFatalError, "Cannot Copy File", "Unable to open %s to make a copy", sourceFN);
    return OWB_FALSE;
  }
  int target = open(targetFN, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, itsModes);
  if (target < 0) {
    close(source);
    alertFormatted(reportFatalError, "Cannot Copy File", "Unable to create or write %s", targetFN);
    return OWB_FALSE;
  }
  char block[kCopyBlockSize];
  ssize_t got;
  // A read error counts as the end of the file.
  while ((got = read(source, block, sizeof block)) > 0) {
    if (write(target, block, static_cast<size_t>(got)) != got) {
      close(source);
      close(target);
      unlink(targetFN);
      alertFormatted(reportFatalError, "Cannot Copy File", "Failed to completely copy %s to %s", sourceFN,
                     targetFN);
      return OWB_FALSE;
    }
  }
  close(source);
  close(target);
  return OWB_TRUE;
}

OWBboolean ensureCopy(const char* targetDir, const char* sourceDir, const char* relativePath, int itsModes) {
  const char* lastSlash = std::strrchr(relativePath, '/');
  std::string target = pathIn(targetDir, lastSlash ? lastSlash + 1 : relativePath);
  std::string source = pathIn(sourceDir, relativePath);
  struct stat targetInfo;
  if (stat(target.c_str(), &targetInfo) == 0) {
    struct stat sourceInfo;
    if (stat(source.c_str(), &sourceInfo) != 0) {
      alertFormatted(reportFatalError, "Cannot Copy File", "Cannot find the source file %s\n", source.c_str());
      return OWB_FALSE;
    }
    if (sourceInfo.st_mtime < targetInfo.st_mtime && sourceInfo.st_size == targetInfo.st_size) return OWB_TRUE;
    unlink(target.c_str());
  }
  copyFile(source.c_str(), target.c_str(), itsModes);
  return OWB_TRUE;
}

OWBboolean removeDir(const char* dirName) {
  if (rmdir(dirName) == 0 || errno == ENOENT) return OWB_TRUE;
  DIR* directory = (errno == EEXIST || errno == ENOTEMPTY) ? opendir(dirName) : nullptr;
  if (!directory) {
    alertUser("Failed to Remove Directory", dirName);
    return OWB_FALSE;
  }
  while (struct dirent* entry = readdir(directory)) {
    if (isDotEntry(entry->d_name)) continue;
    std::string path = pathIn(dirName, entry->d_name);
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
      closedir(directory);
      alertUser("Failed to Remove Nested Entry", path.c_str());
      return OWB_FALSE;
    }
    if (S_ISDIR(info.st_mode)) {
      if (!removeDir(path.c_str())) {
        closedir(directory);
        alertUser("Failed to Remove Nested Directory", path.c_str());
        return OWB_FALSE;
      }
    } else if (unlink(path.c_str()) != 0) {
      closedir(directory);
      alertUser("Failed to Remove Nested File", path.c_str());
      return OWB_FALSE;
    }
  }
  closedir(directory);
  return rmdir(dirName) == 0 ? OWB_TRUE : OWB_FALSE;
}

OWBboolean moveDir(const char* sourceDir, const char* destDir) {
  if (std::strcmp(sourceDir, destDir) == 0) {
    alertFormatted(reportFatalError, "Cannot Move Directory", "The destination is the same as the source (%s)",
                   sourceDir);
    return OWB_FALSE;
  }
  if (dirExists(destDir) && !removeDir(destDir)) {
    alertFormatted(reportFatalError, "Cannot Move Directory", "Failed to remove the old temporary directory (%s)",
                   destDir);
    return OWB_FALSE;
  }
  return rename(sourceDir, destDir) == 0 ? OWB_TRUE : OWB_FALSE;
}

OWBboolean copyDir(const char* sourceDir, const char* destDir) {
  if (!ensureDir(destDir)) {
    alertFormatted(alertUser, "Cannot Copy Directory", "Failed to create directory %s", destDir);
    return OWB_FALSE;
  }
  DIR* directory = opendir(sourceDir);
  if (!directory) {
    alertFormatted(alertUser, "Cannot Copy Directory", "Failed to open directory %s", sourceDir);
    return OWB_FALSE;
  }
  while (struct dirent* entry = readdir(directory)) {
    if (isDotEntry(entry->d_name)) continue;
    std::string source = pathIn(sourceDir, entry->d_name);
    std::string dest = pathIn(destDir, entry->d_name);
    struct stat info;
    if (stat(source.c_str(), &info) != 0) {
      closedir(directory);
      alertFormatted(alertUser, "Cannot Copy Directory", "Failed to determine the type of directory entry %s",
                     source.c_str());
      return OWB_FALSE;
    }
    bool copied = S_ISDIR(info.st_mode) ? copyDir(source.c_str(), dest.c_str())
                                        : copyFile(source.c_str(), dest.c_str(), info.st_mode & 0777);
    if (!copied) {
      closedir(directory);
      return OWB_FALSE;
    }
  }
  closedir(directory);
  return OWB_TRUE;
}

OWBboolean readALine(char* aLine, int lineSize, FILE* openFile) {
  if (lineSize < 2 || !std::fgets(aLine, lineSize, openFile)) return OWB_FALSE;
  if (char* newline = std::strrchr(aLine, '\n')) *newline = '\0';
  if (char* carriageReturn = std::strrchr(aLine, '\r')) *carriageReturn = '\0';
  return OWB_TRUE;
}

void padWithDir(char* fileName, const char* dirName, size_t size) {
  if (fileName[0] == '/') return;
  std::string padded = pathIn(dirName, fileName);
  copyIntoField(fileName, size, padded.c_str());
}
