// Helpers shared by the test programs: temporary directories, environment
// overrides and small file utilities.
#ifndef OWB_TESTS_TESTSUPPORT_H
#define OWB_TESTS_TESTSUPPORT_H

#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <ftw.h>
#include <stdlib.h>
#include <unistd.h>

namespace owbtest {

// A fresh directory under $TMPDIR (or /tmp), removed with all it holds.
class TempDir {
 public:
  TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/owbtest.XXXXXX";
    char* made = mkdtemp(pattern.data());
    path_ = made ? made : "";
  }
  ~TempDir() {
    if (!path_.empty())
      nftw(path_.c_str(), [](const char* p, const struct stat*, int, struct FTW*) { return ::remove(p); },
           16, FTW_DEPTH | FTW_PHYS);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Sets (or, with nullopt, unsets) an environment variable for a scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, std::optional<std::string> value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value) setenv(name, value->c_str(), 1);
    else unsetenv(name);
  }
  ~ScopedEnv() {
    if (old_) setenv(name_.c_str(), old_->c_str(), 1);
    else unsetenv(name_.c_str());
  }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

// The build directory, the installation tree laid out by the build ($OWB
// of the tests) and the source tree.  The variables OWB_BUILD_DIR,
// OWB_INSTALL_TREE and OWB_SOURCE_DIR override what the build compiled in.
inline std::string configuredPath(const char* variable, const char* builtIn) {
  const char* value = std::getenv(variable);
  return value && *value ? value : builtIn;
}
#ifdef OWB_TEST_BUILD_DIR
inline std::string buildDir() { return configuredPath("OWB_BUILD_DIR", OWB_TEST_BUILD_DIR); }
inline std::string installTree() { return configuredPath("OWB_INSTALL_TREE", OWB_TEST_INSTALL_TREE); }
inline std::string sourceDir() { return configuredPath("OWB_SOURCE_DIR", OWB_TEST_SOURCE_DIR); }
#endif

// Starts args[0] (a path) with args, standard input from /dev/null and
// standard output and error into outputFile.  With env, the program gets
// exactly those variables plus PATH; without, this process's environment.
inline pid_t startProgram(const std::vector<std::string>& args, const std::string& outputFile,
                          const std::map<std::string, std::string>* env = nullptr) {
  pid_t child = fork();
  if (child == 0) {
    int out = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int none = open("/dev/null", O_RDONLY);
    dup2(none, 0);
    dup2(out, 1);
    dup2(out, 2);
    std::vector<char*> argv;
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    if (!env) {
      execv(argv[0], argv.data());
      _exit(127);
    }
    std::vector<std::string> settings = {"PATH=/usr/bin:/bin"};
    for (const auto& entry : *env) settings.push_back(entry.first + "=" + entry.second);
    std::vector<char*> envp;
    for (std::string& setting : settings) envp.push_back(&setting[0]);
    envp.push_back(nullptr);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  return child;
}

inline std::string readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeWholeFile(const std::string& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
}

// A socket connected to port on the loopback address (close-on-exec), or
// -1; the caller closes it.
inline int connectLoopback(int port) {
  int s = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    close(s);
    return -1;
  }
  return s;
}

// Runs command with the shell; gives its exit status (-1 when it did not
// exit) and, when output is given, fills it with its standard output.
inline int runShell(const std::string& command, std::string* output) {
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return -1;
  std::string text;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) text.append(buffer, n);
  int status = pclose(pipe);
  if (output) *output = text;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace owbtest

#endif  // OWB_TESTS_TESTSUPPORT_H
