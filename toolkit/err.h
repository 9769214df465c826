// The master error mechanism of the toolkit.
//
// Every traced activation owns an error frame (ErrTrace, a guard object that
// pushes its frame on construction and pops it on destruction).  The frames
// form a stack through `Next`; the master record holds its top.  A failure
// (ERR_Fail and relatives) reports itself through the nearest report
// procedure on the stack, then unwinds to the nearest frame that catches:
// the jump is a C++ exception (ErrJump) aimed at that frame, so destructors
// of everything in between run.  A catching frame runs its clean-up and then
// either propagates the failure further down (the default) or recovers from
// it for good with ERR_Recover.
//
//   ErrTrace frame("RLib", __FILE__, __LINE__);
//   frame.setContext(kRLibMsgLoading); ERR_SetOptStr(frame.rec(), name);
//   ERR_TryCleanup(frame, [&] { ...work... }, [&] { ...undo... });
//
// Messages are numbered per module; the texts are string lists "Messages",
// "Warnings" and "Errors" in the resource module of the same name, looked up
// once the resource libraries are loaded (ERR_ResIsReady).  Message texts
// come from files and are formatted with a checked formatter: a conversion
// that does not match the caller's argument never reads a wrong type.
#ifndef OWB_TOOLKIT_ERR_H
#define OWB_TOOLKIT_ERR_H

#include <cstdio>
#include <string>

#include "toolkit/tkbase.h"

struct _ErrFrameRec;
typedef _ErrFrameRec* ErrFramePtr;
typedef void (*ErrFormatProc)(ErrFramePtr frame, char* buffer, Int size);
typedef void (*ErrReportProc)(ErrFramePtr frame, Int severity);
typedef void (*ErrSysExceptProc)(Int signal);

struct _ErrFrameRec {
  ErrFramePtr Next;          // the frame below
  void* Env;                 // non-null only in a frame that catches
  BoolEnum Failed;           // a failure was caught here
  const char* File;          // source file
  Int Line;                  // source line
  const char* Module;        // message module
  Int Id;                    // message number, -1 for none (valid -1..1000)
  Int Type;                  // low 4 bits: 0 Messages, 1 Warnings, 2 Errors
  ErrFormatProc FormatProc;  // null: the plain message
  ErrReportProc ReportProc;  // null: look further down
  ClientPtr ClientData;      // the message's parameter
};

struct _ErrMasterRec {
  ErrFramePtr Top;
  Int Severity;
  Int InterruptState;
  Int InterruptAllowed;
  Int Jumping;
};
typedef _ErrMasterRec* ErrMasterPtr;

// Severities.
enum {
  ERR_SEVNONE = 0,
  ERR_SEVMESSAGE = 1,
  ERR_SEVWARNING = 2,
  ERR_SEVINTERRUPT = 3,
  ERR_SEVFAILURE = 4,
  ERR_SEVEXCEPTION = 5
};
constexpr Int kErrSoftwareCode = 123;      // the signal code of a software failure
constexpr Int kErrTypeMessage = 0;
constexpr Int kErrTypeWarning = 1;
constexpr Int kErrTypeError = 2;
constexpr Int kErrTypeNoTraceback = 1 << 16;  // takes a system exception silently

// Message numbers of the "Err" module.
enum {
  kErrFailInterrupt = 0,  // Errors: second interrupt
  kErrFailTerminate = 1,  // Errors: second quit or terminate signal
  kErrFailAssert = 2,     // Errors: assertion (expression, file, line)
  kErrFailError = 3,      // Errors: two texts
  kErrFailException = 4,  // Errors: a system exception
  kErrWarnNiy = 0         // Warnings: not implemented yet (two texts)
};

// The jump of a failure: thrown by ERR_Signal, caught by the frame it names.
struct ErrJump {
  Int Code;
  ErrFramePtr Target;
};

// One printf-style argument of a numbered message.
struct ErrArg {
  enum Kind { kNone, kInt, kStr, kReal } kind = kNone;
  long long i = 0;
  const char* s = nullptr;
  double d = 0;
  ErrArg() = default;
  ErrArg(int v) : kind(kInt), i(v) {}
  ErrArg(long v) : kind(kInt), i(v) {}
  ErrArg(long long v) : kind(kInt), i(v) {}
  ErrArg(unsigned v) : kind(kInt), i(v) {}
  ErrArg(unsigned long v) : kind(kInt), i(static_cast<long long>(v)) {}
  ErrArg(unsigned short v) : kind(kInt), i(v) {}
  ErrArg(short v) : kind(kInt), i(v) {}
  ErrArg(const char* v) : kind(kStr), s(v) {}
  ErrArg(const std::string& v) : kind(kStr), s(v.c_str()) {}
  ErrArg(double v) : kind(kReal), d(v) {}
};

// Formats `format` (untrusted) with `args` into buffer (size > 0).
// Conversions are taken from the format and checked against each argument;
// a mismatch prints the argument in its own form, a missing argument "?",
// and %n or '*' are never honoured.  A null string prints "(null)".
void ERR_FormatArgs(char* buffer, Int size, const char* format, const ErrArg* args, Int count);

// A traced activation: pushes its frame, pops it when it goes out of scope
// while it is still the top (during an unwind the catching frame already is).
class ErrTrace {
 public:
  ErrTrace(const char* module, const char* file, Int line);
  ~ErrTrace();
  ErrTrace(const ErrTrace&) = delete;
  ErrTrace& operator=(const ErrTrace&) = delete;

  ErrFramePtr rec() { return &rec_; }
  // The context message of the activity: an entry of the module's "Messages".
  void setContext(Int id) { rec_.Id = id; rec_.Type = kErrTypeMessage; }
  // Makes this frame one that catches failures.
  void catching() { rec_.Env = &rec_; }
  // For a jump aimed at this frame: ERR_Catched and true.  Otherwise false
  // (the caller rethrows).
  bool caught(const ErrJump& jump);
  // After clean-up: propagates the failure unless it was recovered.
  void endCatch();

 private:
  _ErrFrameRec rec_;
};

// Runs body in the catching frame; on a failure runs cleanup and propagates.
template <class Body, class Cleanup>
void ERR_TryCleanup(ErrTrace& frame, Body body, Cleanup cleanup) {
  try {
    frame.catching();
    body();
  } catch (const ErrJump& jump) {
    if (!frame.caught(jump)) throw;
    cleanup();
    frame.endCatch();
  }
}

// Runs body in the catching frame; a failure is recovered for good and
// gives false.
bool ERR_TryRecover(ErrTrace& frame, void (*body)(ClientPtr), ClientPtr data);
template <class Body>
bool ERR_TryRecoverFn(ErrTrace& frame, Body body) {
  return ERR_TryRecover(frame, [](ClientPtr p) { (*static_cast<Body*>(p))(); }, &body);
}

#define ERR_TRACEIN(module) ErrTrace errTraceFrame(module, __FILE__, __LINE__)

// Master record and start-up.
ErrMasterPtr ERR_Master();
void ERR_Init();

// Failures and warnings with numbered messages; printf parameters follow.
void ERR_FailArgs(const char* module, Int id, const ErrArg* args, Int count);
void ERR_WarnArgs(const char* module, Int id, const ErrArg* args, Int count);
template <class... A>
void ERR_Fail(const char* module, Int id, const A&... args) {
  const ErrArg list[] = {ErrArg(args)..., ErrArg()};
  ERR_FailArgs(module, id, list, static_cast<Int>(sizeof...(A)));
}
template <class... A>
void ERR_Warn(const char* module, Int id, const A&... args) {
  const ErrArg list[] = {ErrArg(args)..., ErrArg()};
  ERR_WarnArgs(module, id, list, static_cast<Int>(sizeof...(A)));
}
// The same with a literal text formatted into 1024 bytes.
void ERR_FailStr(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ERR_WarnStr(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ERR_FailSilent();
void ERR_FailAssert(const char* expr, const char* file, Int line);
void ERR_FailError(const char* a, const char* b);
void ERR_WarnNiy(const char* a, const char* b);
// "Error calling <funcName><extra>\nReturned error code <code>".
std::string ERR_GetFuncCallErrMsg(const char* funcName, long code, const char* extra);
void ERR_FailFuncCall(const char* funcName, long code, const char* extra);
void ERR_WarnFuncCall(const char* funcName, long code, const char* extra);

// Signalling and recovery.
void ERR_Signal(Int code, Int severity, Int report);
void ERR_Propagate();
void ERR_Recover(ErrFramePtr frame);
void ERR_Catched(ErrFramePtr frame, Int code);
BoolEnum ERR_InError();
Int ERR_GetSeverity();
// Whether a second interrupt may break into a running activity.
void ERR_SetInterruptAllowed(Int allowed);

// Messages and reports.
void ERR_Format(ErrFramePtr frame, char* buffer, Int size);
void ERR_LoadMsg(ErrFramePtr frame, char* buffer, Int size);
// Loads the frame's message and formats it with args.
void ERR_FormatMsg(ErrFramePtr frame, char* buffer, Int size, const ErrArg* args, Int count);
void ERR_Print(ErrFramePtr frame, Int severity);
void ERR_Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ERR_TraceBack();
// The stream reports go to; stderr unless set.
void ERR_SetStream(FILE* stream);
FILE* ERR_GetStream();

// Message parameters of a frame.
// The general form: the frame's message is formatted by proc with data
// (the data must live as long as the frame).
void ERR_SetOpt(ErrFramePtr frame, ErrFormatProc proc, ClientPtr data);
void ERR_SetOptInt(ErrFramePtr frame, long value);
void ERR_SetOptStr(ErrFramePtr frame, const char* value);
void ERR_SetOptVStr(ErrFramePtr frame, VStrPtr value);
void ERR_SetReportPrint(ErrFramePtr frame);
void ERR_SetReportSilent(ErrFramePtr frame);

// Fatal and exit events.
struct _NfierRec;
_NfierRec* ERR_Notifier();
void ERR_ModExit();
[[noreturn]] void ERR_Fatal(const char* text);
[[noreturn]] void ERR_Exit(const char* text);
void ERR_FatalIn();
void ERR_FatalOut();

// System exceptions.  The table maps a signal to its handler; the handler
// runs on the application thread: asynchronous signals (interrupt, quit,
// terminate, alarm, ...) are recorded by the process-level handler and
// delivered by ERR_DispatchSignals, which the event loop calls.  A fault
// (illegal instruction, bus error, segmentation, floating point, trap)
// cannot be unwound safely in C++: it is reported and ends the process
// like a failure with nobody to catch it.
BoolEnum ERR_SetSysExceptHandler(Int signal, ErrSysExceptProc handler);
ErrSysExceptProc ERR_GetSysExceptHandler(Int signal);
void ERR_SysException(Int signal);
void ERR_DispatchSignals();

// Whether the message libraries are there.
BoolEnum ERR_IsResReady();
void ERR_ResIsReady();

#endif  // OWB_TOOLKIT_ERR_H
