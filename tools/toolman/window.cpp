// The Tool Manager's window: lists drawn from gToolManState.
#include "window.h"

#include <sys/stat.h>

#include <cstdio>
#include <ctime>

#include "commands.h"
#include "menus.h"
#include "state.h"
#include "toolkit/err.h"
#include "toolkit/event.h"
#include "toolkit/rlib.h"
#include "shared/alert.h"
#include "toolkit/ted.h"

ToolManWindow* gToolManWindow = nullptr;

namespace {

// Children of the template toolman.MainWindow, by Index.
enum { kFilesList = 0, kEnginesList = 1, kLogList = 2, kPathField = 3 };

const char* const kFileHeadings[] = {"Name", "Type", "Size", "Date"};

WgtPtr child(WinPtr win, Int index) { return WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(win)), index)); }
TEdPtr pathField(WinPtr win) { return TED_FromWgt(child(win, kPathField)); }

// The cell points at text, which must outlive it.
void setCell(LBoxPtr box, Int col, Int row, const char* text) {
  LBOX_GoColRow(box, col, row);
  LBOX_CurSetClientData(box, *text ? const_cast<char*>(text) : nullptr);
}
void setCell(LBoxPtr box, Int col, Int row, const std::string& text) { setCell(box, col, row, text.c_str()); }

std::string sizeText(off_t size) {
  char text[32];
  if (size < 10 * 1024) std::snprintf(text, sizeof text, "%lld", static_cast<long long>(size));
  else if (size < 10 * 1024 * 1024) std::snprintf(text, sizeof text, "%lld K", static_cast<long long>(size / 1024));
  else std::snprintf(text, sizeof text, "%lld M", static_cast<long long>(size / (1024 * 1024)));
  return text;
}

std::string dateText(time_t when) {
  struct tm local;
  char text[32];
  if (!localtime_r(&when, &local) || !std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local)) return "";
  return text;
}

// The kind's label when a tool described the type, else its code; files
// no tool has claimed show as "?".
std::string typeLabel(TypeIdent type) {
  if (type == kUnknownFileType) return "?";
  auto kind = gToolManState.fileKinds.find(type);
  if (kind != gToolManState.fileKinds.end() && !kind->second.label.empty()) return kind->second.label;
  return typeText(type);
}

}  // namespace

ToolManWindow* ToolManWindow::open(std::string* error) {
  std::unique_ptr<ToolManWindow> window(new ToolManWindow());
  ERR_TRACEIN("ToolMan");
  bool loaded = ERR_TryRecoverFn(errTraceFrame, [&] {
    RLIB_LoadLibFile("toolman", "toolman.dat");
    window->win_ = WIN_Load("toolman", "MainWindow");
  });
  if (!loaded || !window->win_) {
    *error = "cannot load the window toolman.MainWindow from toolman.dat";
    return nullptr;
  }
  WinPtr win = window->win_;
  window->files_ = LBOX_FromWgt(child(win, kFilesList));
  window->engines_ = LBOX_FromWgt(child(win, kEnginesList));
  window->log_ = LBOX_FromWgt(child(win, kLogList));
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)), windowNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(LBOX_Wgt(window->files_)), filesNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(child(win, kPathField)), pathNfy, nullptr);
  WIN_Init(win);
  gToolManWindow = window.get();
  buildToolMenus(win);
  window->turn();
  WIN_Show(win);
  WGT_GainFocus(LBOX_Wgt(window->files_));
  return window.release();
}

ToolManWindow::~ToolManWindow() {
  if (gToolManWindow == this) gToolManWindow = nullptr;
  if (win_ && !closed_) {
    WIN_TerminateGetStatus(win_);
    EVENT_Update();
  }
}

long ToolManWindow::windowNfy(ResPtr res, Int message, ClientPtr data) {
  ToolManWindow* self = gToolManWindow;
  if (self && message == WIN_NFYSELMENUBAR && toolMenuChosen(self->win_)) return 0;
  if (self && message == WIN_NFYTERMINATED) self->closed_ = true;
  return WIN_DefNfy(res, message, data);
}

long ToolManWindow::filesNfy(ResPtr res, Int message, ClientPtr data) {
  long result = LBOX_DefNfy(res, message, data);
  ToolManWindow* self = gToolManWindow;
  if (!self) return result;
  if (message == LBOX_NFYCELLCLICKED || message == LBOX_NFYVALIDATE) {
    Int row = LBOX_CurGetRow(self->files_);
    if (row >= 1 && static_cast<size_t>(row) <= self->rows_.size()) {
      self->selected_ = self->rows_[static_cast<size_t>(row) - 1].path;
      self->filesChanged();
      if (message == LBOX_NFYVALIDATE) self->runDefaultCommand(self->selected_);
    }
  }
  return result;
}

// Return in the path field makes the typed directory the project.
long ToolManWindow::pathNfy(ResPtr res, Int message, ClientPtr data) {
  long result = TED_DefNfy(res, message, data);
  ToolManWindow* self = gToolManWindow;
  if (self && message == TED_NFYVALIDATE) {
    WGT_KeyHandled(WGT_FromRes(res));
    self->changeProject(TED_GetStr(TED_FromWgt(WGT_FromRes(res))));
  }
  return result;
}

bool ToolManWindow::changeProject(const std::string& directory) {
  std::string report;
  ErrorCode result = setProjectDirectory(directory, &report);
  std::string line = report.substr(0, report.find('\n'));
  logLine(line);
  if (result == kNoError) return true;
  // The project stays as it was; the field shows it again, selected, so
  // that typing replaces it.
  TEdPtr field = pathField(win_);
  TED_SetStr(field, gToolManState.projectDirectory.c_str());
  TED_SelectAll(field);
  std::string text = line.compare(0, 7, "error: ") == 0 ? line.substr(7) : line;
  text = "Cannot change the project: " + text + ".\nThe project stays " + gToolManState.projectDirectory + ".";
  displayAlertWindow(text.c_str(), kAlertWarning, "Change Project", nullptr, nullptr, nullptr, TRUE, nullptr);
  return false;
}

bool ToolManWindow::turn() {
  if (closed_) return false;
  if (gToolManState.revision != drawnRevision_) {
    drawnRevision_ = gToolManState.revision;
    fillFiles();
    fillEngines();
    updateToolMenus(win_, selected_);
  }
  flushLog();
  EVENT_ProcessPending();
  EVENT_UpdateCursor();
  return !closed_;
}

void ToolManWindow::fillFiles() {
  const std::string& project = gToolManState.projectDirectory;
  if (project != drawnProject_) {
    drawnProject_ = project;
    TED_SetStr(pathField(win_), project.c_str());
  }
  // The cells point into rows_: the box lets go of them before they change.
  LBOX_ClearAll(files_);
  for (Int col = 1; col <= 4; ++col) setCell(files_, col, 0, kFileHeadings[col - 1]);
  rows_.clear();
  rows_.reserve(gToolManState.files.size());
  const std::string inside = project + "/";
  for (const auto& file : gToolManState.files) {
    FileRow row;
    row.path = file.first;
    row.name = file.first.compare(0, inside.size(), inside) == 0 ? file.first.substr(inside.size()) : file.first;
    row.type = typeLabel(file.second);
    struct stat info;
    if (stat(file.first.c_str(), &info) == 0) {
      row.size = sizeText(info.st_size);
      row.date = dateText(info.st_mtime);
    }
    rows_.push_back(std::move(row));
  }
  Int selectedRow = 0;
  for (size_t i = 0; i < rows_.size(); ++i) {
    Int r = static_cast<Int>(i + 1);
    setCell(files_, 1, r, rows_[i].name);
    setCell(files_, 2, r, rows_[i].type);
    setCell(files_, 3, r, rows_[i].size);
    setCell(files_, 4, r, rows_[i].date);
    if (rows_[i].path == selected_) selectedRow = r;
  }
  LBOX_AllUnselect(files_);
  if (selectedRow > 0) LBOX_RowSelect(files_, selectedRow);
  else selected_.clear();
  LBOX_FlushSelOperations(files_);
}

void ToolManWindow::fillEngines() {
  LBOX_ClearAll(engines_);
  engineTexts_.clear();
  for (const EngineEntry& engine : gToolManState.engines)
    engineTexts_.push_back(engine.host + ":" + std::to_string(engine.port));
  for (size_t i = 0; i < engineTexts_.size(); ++i) setCell(engines_, 1, static_cast<Int>(i + 1), engineTexts_[i]);
}

void ToolManWindow::logLine(const std::string& line) {
  logPending_.push_back(line);
  if (logPending_.size() > kMaxLogLines) logPending_.erase(logPending_.begin());
}

void ToolManWindow::flushLog() {
  if (logPending_.empty()) return;
  for (std::string& line : logPending_) {
    if (logShown_.size() >= kMaxLogLines) {
      // The box lets go of the oldest line before the text goes.
      LBOX_GoColRow(log_, 1, 1);
      LBOX_DeleteRow(log_);
      logShown_.pop_front();
    }
    logShown_.push_back(std::move(line));
    setCell(log_, 1, static_cast<Int>(logShown_.size()), logShown_.back());
  }
  logPending_.clear();
  SAREA_ScrollTo(reinterpret_cast<SAreaPtr>(log_), 0, INT32_MAX / 2);
}

std::string ToolManWindow::selectedFile() const { return selected_; }

bool ToolManWindow::selectFile(const std::string& path) {
  for (size_t i = 0; i < rows_.size(); ++i) {
    if (rows_[i].path != path) continue;
    selected_ = path;
    LBOX_AllUnselect(files_);
    LBOX_RowSelect(files_, static_cast<Int>(i + 1));
    LBOX_FlushSelOperations(files_);
    filesChanged();
    return true;
  }
  return false;
}

bool ToolManWindow::runDefaultCommand(const std::string& path) {
  TypeIdent type = gToolManState.fileTypeOf(path);
  if (type == kUnknownFileType) return false;
  for (const auto& entry : gToolManState.tools) {
    for (const ToolCommand& command : entry.second.commands) {
      if (command.requires && command.fileType == type) {
        std::string report;
        sendToolCommand(entry.second, command.label, path, &report);
        logLine(report.substr(0, report.find('\n')));
        return true;
      }
    }
  }
  return false;
}

void ToolManWindow::filesChanged() { updateToolMenus(win_, selected_); }
