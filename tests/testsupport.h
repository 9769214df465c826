// Helpers shared by the test programs: temporary directories, environment
// overrides and small file utilities.
#ifndef OWB_TESTS_TESTSUPPORT_H
#define OWB_TESTS_TESTSUPPORT_H

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

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

inline std::string readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeWholeFile(const std::string& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
}

}  // namespace owbtest

#endif  // OWB_TESTS_TESTSUPPORT_H
