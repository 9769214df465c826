// Resource libraries: `.dat` files of named resources, read lazily and
// saved in place.  Opening a library reads its header and sections; a
// resource's knot and fields are read when the resource is first asked
// for.  The file layout is in docs/resource-library.md; the encoders and
// decoders that reader and writer share are in rlibcodec.h.
#ifndef OWB_TOOLKIT_RLIB_H
#define OWB_TOOLKIT_RLIB_H

#include <string>
#include <vector>

#include "toolkit/bfile.h"
#include "toolkit/res.h"

struct _RLibRec {
  std::string Name;
  BFilePtr File = nullptr;
  Int Version = 0;
  std::vector<BKnotPtr> Modules;
  std::vector<RClasPtr> Classes;
  struct Import {
    std::string Name, FileName;
    Int Version = 0;
    RLibPtr Lib = nullptr;
  };
  std::vector<Import> Imports;
  struct Export {
    UInt8 Kind = 0;
    UInt32 Offset = 0;
    BKnotPtr Knot = nullptr;
    ResPtr Res = nullptr;  // loaded, holds a reference
  };
  std::vector<Export> Exports;
  std::string LibFields[8];
  bool LibFieldsNull[8] = {true, true, true, true, true, true, true, true};
  UInt Dirty = 0;
  std::vector<BKnotPtr> Templates;
  std::vector<UInt32> DefaultOffsets;  // knot offsets of default resources
  std::vector<BKnotPtr> DefaultKnots;  // the same, null until known
  std::vector<PFldPtr> FieldTable;
  Int Mode = 0;
  bool Loading = false;
};

// Section starts and their fixed limits.
enum : UInt32 {
  RLIB_OFFIDENTITY = 64,
  RLIB_OFFMODULES = 100,
  RLIB_OFFCLASSES = 1300,
  RLIB_OFFTEMPLATES = 2100,
  RLIB_OFFIMPORTS = 2500,
  RLIB_OFFEXPORTS = 2700,
  RLIB_OFFDEFAULTS = 5400,
  RLIB_OFFLIBFIELDS = 6000
};

// Dirty bits, one per section; 0x80: something changed.
enum : UInt {
  RLIB_DIRTYDEFAULTS = 0x01,
  RLIB_DIRTYTEMPLATES = 0x02,
  RLIB_DIRTYEXPORTS = 0x04,
  RLIB_DIRTYIMPORTS = 0x08,
  RLIB_DIRTYCLASSES = 0x10,
  RLIB_DIRTYMODULES = 0x20,
  RLIB_DIRTYLIBFIELDS = 0x40,
  RLIB_DIRTYANY = 0x80
};

// Modes of RLIB_GetMode.
enum { RLIB_MODENOFILE = 0, RLIB_MODERW = 1, RLIB_MODERO = 2, RLIB_MODECLOSED = 3 };

// Export kinds.
enum { RLIB_EXPORTLAZY = 0, RLIB_EXPORTPRELOAD = 1, RLIB_EXPORTBAD = 2 };

// Library field numbers.
enum {
  RLIB_FLDFILE = 0,
  RLIB_FLDRCFILE,
  RLIB_FLDDIR,
  RLIB_FLDMAKEFILE,
  RLIB_FLDUNIXMAKE,
  RLIB_FLDVMSMAKE,
  RLIB_FLDMACMAKE,
  RLIB_FLDPCMAKE
};

// "RLib" message numbers.
enum {
  kRLibErrCorrupt = 0,        // Errors: corrupt record at offset %ld: %s
  kRLibWarnName = 1,          // Warnings: asked for %s, file %s holds %s
  kRLibErrExportIndex = 2,    // Errors: export index %d outside library %s
  kRLibErrModuleTwice = 3,    // Errors: module %s is loaded already
  kRLibErrImportIndex = 4,    // Errors: import index %d outside library %s
  kRLibErrReadOnly = 5,       // Errors: library %s is read only
  kRLibErrClassIndex = 6,     // Errors: class index %d outside library %s
  kRLibErrFieldIndex = 7,     // Errors: field index %d outside library %s
  kRLibErrImportDepth = 8,    // Errors: libraries import each other too deeply at %s
  kRLibErrNoFile = 9,         // Errors: library %s has no file
  kRLibErrClosed = 10,        // Errors: library %s is closed
  kRLibErrUnknownField = 11,  // Errors: field %s is not in class %s
  kRLibErrNotExported = 12,   // Errors: %s is not exported by library %s
  kRLibErrCannotLoad = 13,    // Errors: cannot load library %s
  kRLibErrExists = 14,        // Errors: a library %s is loaded already
  kRLibErrBackup = 15,        // Errors: cannot back library %s up into %s
  kRLibMsgLoading = 0,        // Messages: loading library %s
  kRLibMsgSaving = 1          // Messages: saving library %s
};

constexpr Int kRLibMaxImportDepth = 16;

// Loading and files.
RLibPtr RLIB_LoadLibFile(const char* libName, const char* fileName);
RLibPtr RLIB_LoadFile(const char* fileName);
RLibPtr RLIB_LoadEdit(const char* libName, const char* fileName);
// Opens a library held in memory, read only (no imports are searched for
// beyond loaded libraries and the search path).
RLibPtr RLIB_LoadMemory(const char* fileName, const void* data, size_t size);
void RLIB_ForceRWOpen(BoolEnum flag);
// A new, empty library with a new file (written by RLIB_Save).
RLibPtr RLIB_CreateDatFile(const char* libName, const char* fileName);
void RLIB_Open(RLibPtr lib);
void RLIB_Close(RLibPtr lib);
void RLIB_Save(RLibPtr lib);
void RLIB_CheckReadWrite(RLibPtr lib);
Int RLIB_GetMode(RLibPtr lib);
// Releases the library's module resources, its file and its tables, and
// forgets it; resources someone still holds survive unnamed.  RLIB_Unload
// is the same.
void RLIB_Dispose(RLibPtr lib);
void RLIB_Unload(RLibPtr lib);
// Copies the library's file as it stands on disk (its last save) to the
// file's path + ".bak", replacing an older copy; gives that path.
std::string RLIB_Backup(RLibPtr lib);
// Told (code RLIB_NFYSAVING, data the library) when a library starts to
// save, before its records are written, so that default resources can be
// brought up to date.  Lives as long as the process.
NfierPtr RLIB_GetDefaultsNfier();
enum { RLIB_NFYSAVING = 1 };
void RLIB_SetSaveAll(RLibPtr lib, BoolEnum flag);

RLibPtr RLIB_Find(const char* name);
RLibPtr RLIB_FindByModName(const char* moduleName);
std::vector<RLibPtr> RLIB_GetAll();
const char* RLIB_GetLibName(RLibPtr lib);
void RLIB_SetLibName(RLibPtr lib, const char* name);

// The eight library fields.
const char* RLIB_GetLibField(RLibPtr lib, Int which);  // null for none
void RLIB_SetLibField(RLibPtr lib, Int which, const char* value);
inline const char* RLIB_GetFileName(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDFILE); }
inline void RLIB_SetFileName(RLibPtr lib, const char* v) { RLIB_SetLibField(lib, RLIB_FLDFILE, v); }
inline const char* RLIB_GetRcFileName(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDRCFILE); }
inline const char* RLIB_GetDirName(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDDIR); }
inline const char* RLIB_GetMakefileName(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDMAKEFILE); }
inline const char* RLIB_GetUnixMake(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDUNIXMAKE); }
inline const char* RLIB_GetVmsMake(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDVMSMAKE); }
inline const char* RLIB_GetMacMake(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDMACMAKE); }
inline const char* RLIB_GetPCMake(RLibPtr lib) { return RLIB_GetLibField(lib, RLIB_FLDPCMAKE); }

// Index tables.
RClasPtr RLIB_IndexToResClass(RLibPtr lib, Int index);
Int RLIB_ResClassToIndex(RLibPtr lib, RClasPtr cls);  // -1 when absent
BKnotPtr RLIB_IndexToModuleKnot(RLibPtr lib, Int index);
Int RLIB_ModuleKnotToIndex(RLibPtr lib, BKnotPtr knot);
RLibPtr RLIB_IndexToImportLib(RLibPtr lib, Int index);
Int RLIB_ImportLibToIndex(RLibPtr lib, RLibPtr imported);
// The exported resource (loaded on first use, attached); null for a bad
// reference; failure "RLib" 2 outside the table.
ResPtr RLIB_IndexToExportRes(RLibPtr lib, Int index);
Int RLIB_ExportResToIndex(RLibPtr lib, ResPtr res);
PFldPtr RLIB_GetFieldByIndex(RLibPtr lib, Int index);

Int RLIB_AddField(RLibPtr lib, PFldPtr field, RClasPtr owner);
Int RLIB_AddResClass(RLibPtr lib, RClasPtr cls);
Int RLIB_AddImportLib(RLibPtr lib, RLibPtr imported);
Int RLIB_AddExportRes(RLibPtr lib, ResPtr res, Int kind);
void RLIB_RemoveExportRes(RLibPtr lib, ResPtr res);
void RLIB_AddTemplate(RLibPtr lib, ResPtr res);
void RLIB_RemoveTemplate(RLibPtr lib, ResPtr res);
void RLIB_AddDefaultRes(RLibPtr lib, ResPtr res);
// A new module in the library; gives its module resource (class RMod).
ResPtr RLIB_AddModuleKnot(RLibPtr lib, const char* name);
void RLIB_RemoveModuleKnot(RLibPtr lib, BKnotPtr knot);
// The module's resource, loaded on first use and held by the library.
ResPtr RLIB_GetModuleRes(BKnotPtr moduleKnot);

// Chip codes of the file header.
const char* MCH_ChipCodeToStr(Int code);

void RLIB_Init();

#endif  // OWB_TOOLKIT_RLIB_H
