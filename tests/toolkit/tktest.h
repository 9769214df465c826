// Helpers for the toolkit tests: a scope that unloads the libraries a test
// loaded, failures captured as text, and running the resource compiler.
#ifndef OWB_TESTS_TOOLKIT_TKTEST_H
#define OWB_TESTS_TOOLKIT_TKTEST_H

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

#include "tests/testsupport.h"
#include "toolkit/app.h"
#include "toolkit/err.h"
#include "toolkit/rlib.h"

namespace tktest {

// Installs the resource layer; on leaving, unloads every library that was
// not loaded on entry, newest first.
class LibraryScope {
 public:
  LibraryScope() {
    RES_LibInstall();
    before_ = RLIB_GetAll();
  }
  ~LibraryScope() {
    std::vector<RLibPtr> now = RLIB_GetAll();
    for (auto it = now.rbegin(); it != now.rend(); ++it) {
      bool old = false;
      for (RLibPtr b : before_) old = old || b == *it;
      if (!old) RLIB_Unload(*it);
    }
  }

 private:
  std::vector<RLibPtr> before_;
};

// Runs body in a catching frame.  Gives "" when it succeeded, else the
// text of the failure's top frame (a literal text or the module and id).
inline std::string failureOf(const std::function<void()>& body) {
  static std::string* captured = nullptr;
  std::string text;
  ErrTrace frame("Err", __FILE__, __LINE__);
  frame.rec()->ReportProc = [](ErrFramePtr, Int severity) {
    if (severity < ERR_SEVFAILURE || !captured) return;
    ErrFramePtr top = ERR_Master()->Top;
    char buffer[1024];
    ERR_Format(top, buffer, sizeof buffer);
    *captured = std::string(top->Module) + " " + std::to_string(top->Id) + ": " + buffer;
  };
  captured = &text;
  bool ok = ERR_TryRecoverFn(frame, [&] { body(); });
  captured = nullptr;
  return ok ? std::string() : (text.empty() ? "failed" : text);
}

// The directory of the installed resource libraries.
inline std::string resourceDir() { return owbtest::installTree() + "/bin/resource"; }

// Runs the resource compiler with `args`; gives its exit status and
// fills `output` with what it wrote (both streams).
inline int runRescomp(const std::string& args, std::string* output) {
  return owbtest::runShell(owbtest::buildDir() + "/tools/rescomp/rescomp " + args + " 2>&1", output);
}

// Captures what the error module prints while the scope lives.
class ErrCapture {
 public:
  ErrCapture() {
    stream_ = open_memstream(&data_, &size_);
    ERR_SetStream(stream_);
  }
  ~ErrCapture() {
    ERR_SetStream(nullptr);
    std::fclose(stream_);
    std::free(data_);
  }
  std::string text() {
    std::fflush(stream_);
    return std::string(data_, size_);
  }

 private:
  FILE* stream_;
  char* data_ = nullptr;
  size_t size_ = 0;
};

}  // namespace tktest

#endif  // OWB_TESTS_TOOLKIT_TKTEST_H
