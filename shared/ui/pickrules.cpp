// The rules of the file picker apart from its window.
#include "shared/ui/pickrules.h"

#include <sys/stat.h>

#include <cstdio>
#include <set>

#include "shared/alert.h"
#include "shared/log.h"
#include "shared/ui/uiutils.h"
#include "shared/utils.h"
#include "toolkit/fmgr.h"

namespace {

constexpr TypeIdent kAskDirectoryMsg = OWB_TYPE("GCFP");
constexpr TypeIdent kTellDirectoryMsg = OWB_TYPE("SCFP");
constexpr TypeIdent kAskComponentTypesMsg = OWB_TYPE("GCCP");
constexpr TypeIdent kAskProjectFilesMsg = OWB_TYPE("GFCP");
constexpr TypeIdent kEngineComponent = OWB_TYPE("ENGN");
constexpr TypeIdent kMissingComponent = OWB_TYPE("MISS");
// Longest path the search composes; deeper names are passed over.
constexpr size_t kMaxSearchPath = 4095;

std::string joinName(const std::string& directory, const std::string& name) {
  if (directory.empty() || directory.back() == '/') return directory + name;
  return directory + "/" + name;
}

struct ListWalk {
  const std::string* directory;
  WildCardList* filter;
  bool directoryChooser;
  std::vector<PickerRow>* rows;
};

Int listEntry(const char* directoryName, const char* fileName, ClientPtr data) {
  ListWalk* walk = static_cast<ListWalk*>(data);
  int type = FMGR_GetNodeType(joinName(directoryName, fileName).c_str());
  bool isDirectory = type == FMGR_NODEDIR || type == FMGR_NODEVOLUME;
  bool matches = !walk->filter || walk->filter->wildCardListEqual(fileName);
  bool listed = walk->directoryChooser ? isDirectory && matches : isDirectory || matches;
  if (listed) walk->rows->push_back(PickerRow{fileName, type});
  return PERF_CONTINUE;
}

bool isText(const Message* reply, short n) {
  TypeIdent type = reply->getParamType(n);
  return type == kParamStr255 || type == kParamStr31;
}

std::string textParam(const Message* reply, short n) {
  fileNameType text;
  reply->getStringParam(n, text, sizeof text);
  return text;
}

Message* ask(TypeIdent type) {
  if (!gMessageCenter) return nullptr;
  Message* request = new Message(type, &gToolManToolInfo);
  request->header.needsReply = TRUE;
  return request;
}

}  // namespace

std::vector<PickerRow> pickerListDirectory(const std::string& directory, WildCardList* filter,
                                           bool directoryChooser, long* filesInList) {
  std::vector<PickerRow> rows;
  rows.push_back(PickerRow{".", FMGR_NODEDIR});
  if (!FNAME_QueryTopDir(directory.c_str())) rows.push_back(PickerRow{"..", FMGR_NODEDIR});
  const size_t dots = rows.size();
  ListWalk walk{&directory, filter, directoryChooser, &rows};
  FMGR_PerfDirFiles(directory.c_str(), listEntry, &walk);
  if (filesInList) *filesInList = static_cast<long>(rows.size() - dots) + 2;
  return rows;
}

std::string pickerSelectionForRow(const std::string& directory, const std::string& name, int nodeType) {
  if (name == ".") return FNAME_QueryTopDir(directory.c_str()) ? "/" : directory + "/";
  if (name == "..") {
    std::string parent = pickerStripTrailingSlashes(directory);
    size_t slash = parent.rfind('/');
    return slash == std::string::npos ? "/" : parent.substr(0, slash + 1);
  }
  std::string path = joinName(directory, name);
  if (nodeType == FMGR_NODEDIR || nodeType == FMGR_NODEVOLUME) path += "/";
  return path;
}

std::string pickerStripTrailingSlashes(const std::string& name) {
  std::string stripped = name;
  while (stripped.size() > 1 && stripped.back() == '/') stripped.pop_back();
  return stripped;
}

std::string pickerDisplayName(const std::string& name) {
  std::string shown;
  char hex[8];
  for (size_t i = 0; i < name.size();) {
    unsigned char c = static_cast<unsigned char>(name[i]);
    if (c == '\\') shown += "\\\\";
    else if (c == '\n') shown += "\\n";
    else if (c == '\t') shown += "\\t";
    if (c == '\\' || c == '\n' || c == '\t') {
      i++;
      continue;
    }
    // The length of a well-formed UTF-8 sequence starting here, or 0.
    size_t length = c < 0x80 ? 1 : (c >= 0xC2 && c <= 0xDF) ? 2 : (c >= 0xE0 && c <= 0xEF) ? 3 : (c >= 0xF0 && c <= 0xF4) ? 4 : 0;
    for (size_t k = 1; length && k < length; k++)
      if (i + k >= name.size() || (static_cast<unsigned char>(name[i + k]) & 0xC0) != 0x80) length = 0;
    if (length == 3 && ((c == 0xE0 && static_cast<unsigned char>(name[i + 1]) < 0xA0) ||
                        (c == 0xED && static_cast<unsigned char>(name[i + 1]) >= 0xA0)))
      length = 0;  // overlong forms and surrogates
    if (length == 4 && ((c == 0xF0 && static_cast<unsigned char>(name[i + 1]) < 0x90) ||
                        (c == 0xF4 && static_cast<unsigned char>(name[i + 1]) >= 0x90)))
      length = 0;
    if (length == 0 || (length == 1 && (c < 0x20 || c == 0x7F))) {
      std::snprintf(hex, sizeof hex, "\\x%02X", c);
      shown += hex;
      i++;
      continue;
    }
    shown.append(name, i, length);
    i += length;
  }
  return shown;
}

std::string pickerFilterText(const std::string& text) { return text.empty() ? "*" : text; }

bool pickerFilterChanged(WildCardList* filter, const std::string& text) {
  if (!filter) return true;
  if (text.empty() && filter->matchesAnyCharBool) return false;
  const char* original = filter->getOriginalString();
  return !(original && text == original);
}

PickerChoice::PickerChoice()
    : beep([] { owbBeep(); }),
      ask([](const char* text, long type, const char* title, const char* b1, const char* b2, const char* b3) {
        return displayAlertWindow(text, type, title, b1, b2, b3, FALSE, nullptr);
      }) {}

PickerAcceptOutcome pickerAcceptSelection(PickerChoice* choice, const std::string& selection) {
  std::string name = pickerStripTrailingSlashes(selection);
  int type = FMGR_GetNodeType(name.c_str());
  if (choice->confirmOverwrite && !choice->mustExist && type == FMGR_NODEFILE) {
    std::string question = "Are you sure you want to replace " + std::string(findFilenameInPath(name.c_str())) + "?";
    long answer = choice->ask(question.c_str(), kAlertQuestion, "Replace existing file?", "Replace", "Cancel", nullptr);
    if (answer != 1) return kPickerStay;
  }
  if (choice->diskMode && type != FMGR_NODEFILE) {
    if (type != FMGR_NODEDIR && type != FMGR_NODEVOLUME) {
      if (choice->mustExist) {
        choice->beep();
        return kPickerStay;
      }
      choice->result = name;
      return kPickerClose;
    }
    choice->currentDirectory = name;
    return kPickerEntered;
  }
  choice->result = name;
  return kPickerClose;
}

PickerAcceptOutcome pickerAcceptDirectory(PickerChoice* choice, const std::string& selection) {
  std::string name = pickerStripTrailingSlashes(selection);
  if (choice->mustExist && FMGR_GetNodeType(name.c_str()) != FMGR_NODEDIR) {
    if (choice->warningLevel < 2) {
      choice->beep();
      choice->warningLevel++;
      return kPickerStay;
    }
    // The title is the one the picker has always shown here.
    std::string text = name + " does not exist, please select and accept an existing directory.";
    choice->ask(text.c_str(), kAlertWarning, "Replace existing file?", "Ok", nullptr, nullptr);
    choice->warningLevel = 1;
    return kPickerStay;
  }
  choice->result = name;
  return kPickerClose;
}

// --- Find ------------------------------------------------------------------------

namespace {

struct SearchWalk {
  const PickerSearch* search;
  std::set<std::pair<dev_t, ino_t>> visited;
  long frame = 0;
  bool stop = false;
  std::string found;
  int depth = 0;
};

void searchBelow(const std::string& directory, SearchWalk* walk);

Int searchEntry(const char* directoryName, const char* fileName, ClientPtr data) {
  SearchWalk* walk = static_cast<SearchWalk*>(data);
  if (walk->stop) return PERF_STOP;
  if (walk->search->progress && walk->search->progress(walk->frame++)) {
    walk->stop = true;
    return PERF_STOP;
  }
  std::string path = joinName(directoryName, fileName);
  if (path.size() > kMaxSearchPath) return PERF_CONTINUE;
  int type = FMGR_GetNodeType(path.c_str());
  bool isDirectory = type == FMGR_NODEDIR || type == FMGR_NODEVOLUME;
  bool matches = !walk->search->filter || walk->search->filter->wildCardListEqual(fileName);
  bool offered = walk->search->directoryChooser ? isDirectory && matches : !isDirectory && matches;
  if (offered) {
    PickerFoundAnswer answer = walk->search->offer ? walk->search->offer(path) : kPickerCancel;
    if (answer == kPickerSelect) walk->found = path;
    if (answer != kPickerContinue) walk->stop = true;
    return walk->stop ? PERF_STOP : PERF_CONTINUE;
  }
  if (isDirectory) searchBelow(path, walk);
  return walk->stop ? PERF_STOP : PERF_CONTINUE;
}

void searchBelow(const std::string& directory, SearchWalk* walk) {
  struct stat info;
  if (stat(directory.c_str(), &info) != 0) return;
  if (!walk->visited.insert({info.st_dev, info.st_ino}).second) return;  // walked already: a loop
  if (walk->depth >= walk->search->maxDepth) return;
  walk->depth++;
  FMGR_PerfDirFiles(directory.c_str(), searchEntry, walk);
  walk->depth--;
}

}  // namespace

std::string pickerSearch(const std::string& directory, const PickerSearch& search) {
  SearchWalk walk;
  walk.search = &search;
  PickerSearch withDefault = search;
  if (!withDefault.offer) {
    withDefault.offer = [](const std::string& path) {
      std::string text = "Found " + path;
      long answer = displayAlertWindow(text.c_str(), kAlertQuestion, "Find", "Select", "Continue", "Cancel", FALSE,
                                       nullptr);
      return answer == 1 ? kPickerSelect : answer == 2 ? kPickerContinue : kPickerCancel;
    };
    walk.search = &withDefault;
  }
  searchBelow(directory, &walk);
  return walk.found;
}

// --- The Tool Manager ------------------------------------------------------------

std::string pickerAskDirectory() {
  Message* request = ask(kAskDirectoryMsg);
  if (!request) return "";
  Message* reply = gMessageCenter->sendMessage(request);
  std::string directory;
  if (reply && reply->getParamCount() == 2 && isText(reply, 1)) directory = textParam(reply, 1);
  delete reply;
  if (FMGR_GetNodeType(directory.c_str()) != FMGR_NODEDIR) return "";
  return directory;
}

void pickerTellDirectory(const std::string& directory) {
  if (directory.empty() || !gMessageCenter) return;
  Message* message = new Message(kTellDirectoryMsg, &gToolManToolInfo);
  message->addStringParam(kParamStr255, directory.c_str());
  delete gMessageCenter->sendMessage(message);
}

bool pickerComponentTypes(const Message* reply, std::vector<std::pair<std::string, TypeIdent>>* types) {
  types->clear();
  short count = reply ? reply->getParamCount() : 0;
  if (count < 1 || (count - 1) % 2 != 0) {
    OWB_LOG("component types reply ignored: " << count << " parameters");
    return false;
  }
  for (short n = 1; n + 1 < count; n += 2) {
    TypeIdent type = 0;
    if (!isText(reply, n) || !reply->getIdentParam(static_cast<short>(n + 1), &type)) {
      OWB_LOG("component types reply ignored: parameter " << n << " is no label and type");
      types->clear();
      return false;
    }
    if (type == kEngineComponent || type == kMissingComponent) continue;
    types->push_back({textParam(reply, n), type});
  }
  return true;
}

bool pickerProjectFiles(const Message* reply, std::vector<std::string>* rows) {
  rows->clear();
  ErrorCode error = -1;
  if (!reply || !reply->getErrorParam(0, &error) || error != kNoError) return false;
  short count = reply->getParamCount();
  for (short n = 1; n < count; n++) {
    if (!isText(reply, n)) {
      OWB_LOG("project files reply ignored: parameter " << n << " is no path");
      return false;
    }
  }
  // From 1 up to the count inclusive: the last pass finds no parameter and
  // adds an empty row, which belongs to the list.
  for (short n = 1; n <= count; n++) rows->push_back(n < count ? textParam(reply, n) : "");
  return true;
}

Message* pickerAskComponentTypes() {
  Message* request = ask(kAskComponentTypesMsg);
  return request ? gMessageCenter->sendMessage(request) : nullptr;
}

Message* pickerAskProjectFiles(TypeIdent componentType) {
  Message* request = ask(kAskProjectFilesMsg);
  if (!request) return nullptr;
  request->addIdentParam(componentType);
  Message* reply = gMessageCenter->sendMessage(request);
  if (!reply) OWB_LOG("failed to receive reply list of files from toolman");
  return reply;
}
