// Resource libraries: loading, index tables, saving in place.
#include "toolkit/rlib.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "toolkit/bknot.h"
#include "toolkit/err.h"
#include "toolkit/pfld.h"
#include "toolkit/rlibcodec.h"
#include "toolkit/strres.h"

using owbcoding::ByteWriter;

namespace {

std::vector<RLibPtr>& sLibs = *new std::vector<RLibPtr>;  // sorted by name, case ignored; never destroyed
bool sForceRW = false;
Int sImportDepth = 0;

constexpr UInt32 kSectionLimit[] = {RLIB_OFFMODULES,   RLIB_OFFCLASSES, RLIB_OFFTEMPLATES,
                                    RLIB_OFFIMPORTS,   RLIB_OFFEXPORTS, RLIB_OFFDEFAULTS,
                                    RLIB_OFFLIBFIELDS, UINT32_MAX};
// The fixed limit of the section that starts at `start`.
UInt32 S_Limit(UInt32 start) {
  static const UInt32 kStarts[] = {RLIB_OFFIDENTITY,  RLIB_OFFMODULES, RLIB_OFFCLASSES,
                                   RLIB_OFFTEMPLATES, RLIB_OFFIMPORTS, RLIB_OFFEXPORTS,
                                   RLIB_OFFDEFAULTS,  RLIB_OFFLIBFIELDS};
  for (size_t i = 0; i < 8; ++i)
    if (kStarts[i] == start) return kSectionLimit[i];
  return UINT32_MAX;
}

bool S_Less(RLibPtr a, const char* name) { return STR_ICmp(a->Name.c_str(), name) < 0; }

void S_Insert(RLibPtr lib) {
  sLibs.insert(std::lower_bound(sLibs.begin(), sLibs.end(), lib->Name.c_str(), S_Less), lib);
}

void S_Remove(RLibPtr lib) { sLibs.erase(std::remove(sLibs.begin(), sLibs.end(), lib), sLibs.end()); }

struct ImportDepthGuard {
  ImportDepthGuard() { ++sImportDepth; }
  ~ImportDepthGuard() { --sImportDepth; }
};

void S_MarkDirty(RLibPtr lib, UInt bits) { lib->Dirty |= bits | RLIB_DIRTYANY; }

std::string S_BaseName(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash ? slash + 1 : path;
}

// --- Reading the sections -------------------------------------------------------

RClasPtr S_BindClass(const ClassRecord& c) {
  RClasPtr cls = RCLAS_FindByName(c.Name.c_str());
  if (!cls) {
    if (c.ModName.empty()) ERR_Fail("RClas", kRClasErrUnknown, c.Name);
    RClasPtr parent = c.Parent.empty() ? RES_Class() : RCLAS_FindByName(c.Parent.c_str());
    if (!parent) ERR_Fail("RClas", kRClasErrUnknown, c.Parent);
    std::vector<const char*> names;
    for (const auto& n : c.FieldNames) names.push_back(n.c_str());
    return RCLAS_NewDataClass(c.Name.c_str(), c.ModName.c_str(), parent, c.Flags, c.Version,
                              static_cast<Int>(names.size()), names.data(), c.FieldTypes.data());
  }
  if (c.ModName.empty()) return cls;
  if (!cls->ModName || !*cls->ModName) {
    VStrPtr old = const_cast<char*>(cls->ModName);
    cls->ModName = VSTR_New(c.ModName.c_str());
    VSTR_Dispose(old);
  }
  Int version = c.Version ? c.Version : kRClasDefaultVersion;
  if (version > RCLAS_GetVersion(cls)) ERR_Fail("RClas", kRClasErrVersion, c.Name, version, RCLAS_GetVersion(cls));
  for (size_t i = 0; i < c.FieldNames.size(); ++i) {
    PFldPtr f = RCLAS_FindField(cls, c.FieldNames[i].c_str());
    if (!f) ERR_Fail("RClas", kRClasErrNoField, c.Name, c.FieldNames[i]);
    if (f->Type != c.FieldTypes[i]) ERR_Fail("RClas", kRClasErrFieldType, c.FieldNames[i], c.Name);
  }
  return cls;
}

void S_ReadImports(RLibPtr lib) {
  BFileReadBlock block(lib->File, RLIB_OFFIMPORTS);
  BlockReader& r = block.reader();
  Int n = RLIBC_GetCount(r);
  for (Int i = 0; i < n; ++i) {
    ImportEntry e = RLIBC_GetImport(r);
    lib->Imports.push_back({e.Name, e.FileName, e.Version, nullptr});
  }
  for (auto& imp : lib->Imports) {
    if (STR_ICmp(imp.Name.c_str(), lib->Name.c_str()) == 0) imp.Lib = lib;
    else imp.Lib = RLIB_LoadLibFile(imp.Name.c_str(), imp.FileName.c_str());
  }
}

void S_ReadClasses(RLibPtr lib) {
  BFileReadBlock block(lib->File, RLIB_OFFCLASSES);
  BlockReader& r = block.reader();
  Int tableSize = RLIBC_GetCount(r);
  Int n = RLIBC_GetCount(r);
  lib->FieldTable.assign(static_cast<size_t>(tableSize), nullptr);
  for (Int i = 0; i < n; ++i) {
    ClassRecord c = RLIBC_GetClass(r);
    RClasPtr cls = S_BindClass(c);
    lib->Classes.push_back(cls);
    for (const auto& b : c.Bindings) {
      if (b.first >= tableSize) ERR_Fail("RLib", kRLibErrFieldIndex, b.first, lib->Name);
      PFldPtr field = RCLAS_FindField(cls, b.second.c_str());
      if (!field) ERR_Fail("RLib", kRLibErrUnknownField, b.second, cls->Name);
      lib->FieldTable[static_cast<size_t>(b.first)] = field;
    }
  }
}

void S_ReadModules(RLibPtr lib) {
  BFileReadBlock block(lib->File, RLIB_OFFMODULES);
  BlockReader& r = block.reader();
  Int n = RLIBC_GetCount(r);
  for (Int i = 0; i < n; ++i) {
    ModuleEntry m = RLIBC_GetModule(r);
    if (BKNOT_FindModule(m.Name.c_str())) ERR_Fail("RLib", kRLibErrModuleTwice, m.Name);
    BKnotPtr knot = BKNOT_New(m.Name.c_str(), RMOD_Class());
    knot->IsModule = 1;
    knot->Lib = lib;
    knot->File = lib->File;
    knot->Offset = m.NameOffset;
    knot->NumChildren = m.NumChildren;
    knot->ChildRootOffset = m.ChildRootOffset;
    knot->FieldOffset = m.FieldOffset;
    lib->Modules.push_back(knot);
    BKNOT_AddModule(knot);
  }
}

void S_ReadExports(RLibPtr lib) {
  BFileReadBlock block(lib->File, RLIB_OFFEXPORTS);
  Int n = RLIBC_GetCount(block.reader());
  for (Int i = 0; i < n; ++i) {
    _RLibRec::Export e;
    e.Kind = BFILE_ReadUInt8(lib->File);
    e.Offset = BFILE_ReadUInt32(lib->File);
    if (e.Kind > RLIB_EXPORTBAD) ERR_Fail("RLib", kRLibErrCorrupt, static_cast<long>(RLIB_OFFEXPORTS), "export kind");
    lib->Exports.push_back(e);
  }
}

std::vector<UInt32> S_ReadOffsets(RLibPtr lib, UInt32 start) {
  BFileReadBlock block(lib->File, start);
  Int n = RLIBC_GetCount(block.reader());
  std::vector<UInt32> out;
  for (Int i = 0; i < n; ++i) out.push_back(BFILE_ReadUInt32(lib->File));
  return out;
}

void S_ReadTemplates(RLibPtr lib) {
  for (UInt32 offset : S_ReadOffsets(lib, RLIB_OFFTEMPLATES)) {
    BKnotPtr knot = BKNOT_LoadFromOffset(lib->File, offset);
    if (!knot) continue;
    ResPtr res = RES_LoadFromKnot(knot, 1);
    try {
      RES_LoadDeepChildren(res);
      RCLAS_SetTemplate(res->ResClass, res);
    } catch (...) {
      RES_Release(res);
      throw;
    }
    RES_Release(res);
  }
}

void S_ReadLibFields(RLibPtr lib) {
  BFileReadBlock block(lib->File, RLIB_OFFLIBFIELDS);
  for (int i = 0; i < 8; ++i) lib->LibFieldsNull[i] = !RLIBC_GetStr(block.reader(), &lib->LibFields[i]);
}

void S_ReadSections(RLibPtr lib, bool edit) {
  S_ReadImports(lib);
  S_ReadClasses(lib);
  S_ReadModules(lib);
  S_ReadExports(lib);
  S_ReadTemplates(lib);
  for (size_t i = 0; i < lib->Exports.size(); ++i)
    if (lib->Exports[i].Kind == RLIB_EXPORTPRELOAD)
      if (ResPtr res = RLIB_IndexToExportRes(lib, static_cast<Int>(i))) res->ResPrivate4 |= RES_FLAGPRELOAD;
  lib->DefaultOffsets = S_ReadOffsets(lib, RLIB_OFFDEFAULTS);
  lib->DefaultKnots.assign(lib->DefaultOffsets.size(), nullptr);
  if (edit) S_ReadLibFields(lib);
}

// --- Disposal -----------------------------------------------------------------------

void S_CollectAttached(BKnotPtr knot, std::vector<ResPtr>* out) {
  if (knot->Res) out->push_back(knot->Res);
  for (BKnotPtr child : BKNOT_Children(knot)) S_CollectAttached(child, out);
}

// Releases everything the library holds and breaks reference cycles among
// its resources, so that what nobody else holds is freed.  A resource that
// someone still holds survives, unnamed and emptied.
void S_Dispose(RLibPtr lib) {
  STRR_ForgetLookups();
  for (RClasPtr cls = RCLAS_GetFirst(); cls; cls = RCLAS_GetNext(cls))
    if (cls->Template && RES_GetLib(cls->Template) == lib) {
      ResPtr tmpl = cls->Template;
      cls->Template = nullptr;
      RES_Release(tmpl);
    }
  for (auto& e : lib->Exports) {
    ResPtr res = e.Res;
    e.Res = nullptr;
    RES_Release(res);
  }
  std::vector<ResPtr> attached;
  std::vector<ResPtr> modules;
  for (BKnotPtr m : lib->Modules) {
    if (m->Res) modules.push_back(m->Res);
    S_CollectAttached(m, &attached);
  }
  for (ResPtr res : attached) RES_Use(res);
  for (ResPtr res : attached) {
    PFLD_ResFree(res);
    RES_ReleaseChildren(res);
    if (res->ResPrivate) res->ResPrivate->Res = nullptr;
    res->ResPrivate = nullptr;
    if (res->ResPrivate1) res->ResPrivate1 = nullptr;
  }
  for (ResPtr res : modules) RES_Release(res);  // the library's own reference
  for (ResPtr res : attached) RES_Release(res);
  for (BKnotPtr m : lib->Modules) {
    BKNOT_RemoveModule(m);
    BKNOT_Dispose(m);
  }
  lib->Modules.clear();
  if (lib->File) BFILE_Dispose(lib->File);
  lib->File = nullptr;
  S_Remove(lib);
  delete lib;
}

// --- Loading ------------------------------------------------------------------------

RLibPtr S_Load(const char* libName, const char* fileName, bool edit, const void* memory, size_t size) {
  ErrTrace frame("RLib", __FILE__, __LINE__);
  frame.setContext(kRLibMsgLoading);
  ERR_SetOptStr(frame.rec(), fileName);
  if (libName)
    if (RLibPtr loaded = RLIB_Find(libName)) return loaded;
  if (sImportDepth >= kRLibMaxImportDepth) ERR_Fail("RLib", kRLibErrImportDepth, fileName);
  ImportDepthGuard depth;
  BFilePtr file = BFILE_New(fileName, 8, 1024);
  RLibPtr lib = nullptr;
  RLibPtr result = nullptr;
  ERR_TryCleanup(
      frame,
      [&] {
        if (memory) BFILE_OpenMemory(file, memory, size);
        else BFILE_Open(file, edit, 0);
        uint8_t raw[64];
        if (!BFILE_ReadAt(file, 0, raw, sizeof raw)) ERR_FailStr("Wrong file type");
        RLIBC_CheckHeader(RLIBC_DecodeHeader(raw), false);
        std::string found;
        Int version;
        {
          BFileReadBlock identity(file, RLIB_OFFIDENTITY);
          char* name = BFILE_ReadNewStr(file);
          found = name ? name : "";
          VSTR_Dispose(name);
          if (found.empty()) ERR_Fail("RLib", kRLibErrCorrupt, static_cast<long>(RLIB_OFFIDENTITY), "library name");
          version = BFILE_ReadInt16(file);
        }
        if (libName && STR_ICmp(libName, found.c_str()) != 0)
          ERR_Warn("RLib", kRLibWarnName, libName, fileName, found);
        if (RLibPtr old = RLIB_Find(found.c_str())) {
          if (old->File && BFILE_IsOpen(old->File)) {
            BFILE_Dispose(file);
          } else {
            if (old->File) BFILE_Dispose(old->File);
            old->File = file;
            BFILE_SetClientData(file, old);
          }
          file = nullptr;
          result = old;
          return;
        }
        lib = new _RLibRec;
        lib->Name = found;
        lib->File = file;
        lib->Version = version;
        lib->Mode = BFILE_IsReadOnly(file) ? RLIB_MODERO : RLIB_MODERW;
        lib->Loading = true;
        BFILE_SetClientData(file, lib);
        S_Insert(lib);
        S_ReadSections(lib, edit);
        lib->Loading = false;
        result = lib;
      },
      [&] {
        if (lib) {
          S_Dispose(lib);  // disposes the file too
        } else if (file) {
          BFILE_Dispose(file);
        }
      });
  if (result == lib && lib) NFIER_Broadcast(RES_GetResMgrNfier(), RES_MGRLIBLOADED, lib);
  return result;
}

// --- Saving -------------------------------------------------------------------------

void S_SaveTree(RLibPtr lib, BKnotPtr node);

void S_SaveRec(RLibPtr lib, ResPtr res) {
  ErrTrace frame("Res", __FILE__, __LINE__);
  frame.setContext(kResMsgSaving);
  RES_SetErrFmtOpt(frame.rec(), res);
  BKnotPtr knot = res->ResPrivate;
  if (!knot) ERR_Fail("Res", kResErrNoFile, RES_GetName(res));
  knot->Class = res->ResClass;
  bool hasRecord = !(res->ResClass->Flags & RCLAS_FLAGNORECORD);
  std::vector<uint8_t> fieldData;
  if (hasRecord) fieldData = PFLD_Encode(lib, res);
  if (BKNOT_Save(knot, lib, fieldData.size(), hasRecord)) {
    if (hasRecord) BFILE_PlaceInChain(lib->File, knot->FieldOffset, fieldData);
  } else {
    knot->FieldOffset = hasRecord ? BFILE_PlaceNew(lib->File, fieldData).Offset : 0;
  }
  res->ResPrivate3 = 0;
  S_SaveTree(lib, knot->ChildRoot);
}

void S_SaveTree(RLibPtr lib, BKnotPtr node) {
  if (!node) return;
  ResPtr res = node->Res;
  if (!res) ERR_Fail("Res", kResErrNoFile, node->Name);
  S_SaveRec(lib, res);
  S_SaveTree(lib, node->Left);
  S_SaveTree(lib, node->Right);
}

void S_WalkTree(ResPtr res, void (*proc)(RLibPtr, ResPtr), RLibPtr lib) {
  proc(lib, res);
  for (Int i = 0; i < RES_GetNumChildren(res); ++i) S_WalkTree(RES_GetNthChild(res, i), proc, lib);
}

// Field indices are global per field: they are set for this library's
// table before its records are encoded.
void S_PrepareFieldIndices(RLibPtr lib) {
  for (RClasPtr cls = RCLAS_GetFirst(); cls; cls = RCLAS_GetNext(cls))
    for (PFldPtr f = cls->Fields; f && f->Name; ++f) f->FileIndex = -1;
  for (size_t i = 0; i < lib->FieldTable.size(); ++i)
    if (lib->FieldTable[i]) lib->FieldTable[i]->FileIndex = static_cast<Int>(i);
}

// Everything a record refers to gets its class, field, import and export
// entry before any record is written.
void S_PrepareTree(RLibPtr lib, ResPtr res) {
  RES_LoadDeepChildren(res);
  S_WalkTree(res, [](RLibPtr l, ResPtr r) {
    RLIB_AddResClass(l, r->ResClass);
    PFLD_LibUpdateRefs(l, r);
  }, lib);
}

void S_SaveModule(RLibPtr lib, BKnotPtr module) {
  ResPtr res = module->Res;
  std::vector<uint8_t> fields = PFLD_Encode(lib, res);
  if (module->FieldOffset && BFILE_ChainCapacity(lib->File, module->FieldOffset) >= fields.size())
    BFILE_PlaceInChain(lib->File, module->FieldOffset, fields);
  else
    module->FieldOffset = BFILE_PlaceNew(lib->File, fields).Offset;
  res->ResPrivate3 = 0;
  module->NumChildren = static_cast<Int>(BKNOT_Children(module).size());
  S_SaveTree(lib, module->ChildRoot);
  S_MarkDirty(lib, RLIB_DIRTYMODULES);
}

std::vector<uint8_t> S_EncodeModules(RLibPtr lib, std::vector<Int>* namePositions) {
  std::vector<uint8_t> out;
  ByteWriter w(&out);
  w.i16(static_cast<int16_t>(lib->Modules.size()));
  for (BKnotPtr m : lib->Modules) {
    ModuleEntry e;
    e.Name = m->Name;
    if (m->ChildrenLoaded) {
      e.NumChildren = static_cast<Int>(BKNOT_Children(m).size());
      e.ChildRootOffset = m->ChildRoot ? m->ChildRoot->Offset : 0;
    } else {
      e.NumChildren = m->NumChildren;
      e.ChildRootOffset = m->ChildRootOffset;
    }
    e.FieldOffset = m->FieldOffset;
    namePositions->push_back(RLIBC_PutModule(w, e));
  }
  return out;
}

std::vector<uint8_t> S_EncodeClasses(RLibPtr lib) {
  std::vector<uint8_t> out;
  ByteWriter w(&out);
  w.i16(static_cast<int16_t>(lib->FieldTable.size()));
  w.i16(static_cast<int16_t>(lib->Classes.size()));
  for (RClasPtr cls : lib->Classes) {
    ClassRecord c;
    c.Name = cls->Name;
    bool definedHere = (cls->Flags & RCLAS_FLAGDATA) && cls->ModName && RLIB_FindByModName(cls->ModName) == lib;
    if (definedHere) {
      c.ModName = cls->ModName;
      c.Parent = cls->ParentClass ? cls->ParentClass->Name : "";
      c.Flags = static_cast<UInt16>(cls->Flags);
      c.Version = cls->Version;
      for (PFldPtr f = cls->Fields; f && f->Name; ++f) {
        c.FieldNames.push_back(f->Name);
        c.FieldTypes.push_back(f->Type);
      }
    }
    for (size_t i = 0; i < lib->FieldTable.size(); ++i) {
      PFldPtr f = lib->FieldTable[i];
      if (f && RCLAS_FieldOwner(cls, f) == cls) c.Bindings.emplace_back(static_cast<Int>(i), f->Name);
    }
    RLIBC_PutClass(w, c);
  }
  return out;
}

std::vector<uint8_t> S_EncodeOffsets(const std::vector<UInt32>& offsets) {
  std::vector<uint8_t> out;
  ByteWriter w(&out);
  w.i16(static_cast<int16_t>(offsets.size()));
  for (UInt32 o : offsets) w.u32(o);
  return out;
}

void S_WriteSection(RLibPtr lib, UInt32 start, const std::vector<uint8_t>& data) {
  BFILE_PlaceSection(lib->File, start, S_Limit(start), data);
}

}  // namespace

// --- Public entries -----------------------------------------------------------------

RLibPtr RLIB_LoadLibFile(const char* libName, const char* fileName) {
  return S_Load(libName, fileName, sForceRW, nullptr, 0);
}

RLibPtr RLIB_LoadFile(const char* fileName) { return S_Load(nullptr, fileName, sForceRW, nullptr, 0); }

RLibPtr RLIB_LoadEdit(const char* libName, const char* fileName) { return S_Load(libName, fileName, true, nullptr, 0); }

RLibPtr RLIB_LoadMemory(const char* fileName, const void* data, size_t size) {
  return S_Load(nullptr, fileName, false, data, size);
}

void RLIB_ForceRWOpen(BoolEnum flag) { sForceRW = flag != 0; }

RLibPtr RLIB_CreateDatFile(const char* libName, const char* fileName) {
  ErrTrace frame("RLib", __FILE__, __LINE__);
  if (RLIB_Find(libName)) ERR_Fail("RLib", kRLibErrExists, libName);
  BFilePtr file = BFILE_New(fileName, 8, 1024);
  ERR_TryCleanup(
      frame, [&] { BFILE_Open(file, 1, 1); }, [&] { BFILE_Dispose(file); });
  DatHeader header;
  header.EndOffset = RLIB_OFFLIBFIELDS;
  uint8_t raw[64];
  RLIBC_EncodeHeader(header, raw);
  std::vector<uint8_t> zeros(RLIB_OFFLIBFIELDS - 64, 0);
  BFILE_WriteAt(file, 0, raw, sizeof raw);
  BFILE_WriteAt(file, 64, zeros.data(), static_cast<UInt32>(zeros.size()));
  BFILE_SetEndOffset(file, RLIB_OFFLIBFIELDS);
  RLibPtr lib = new _RLibRec;
  lib->Name = libName;
  lib->File = file;
  lib->Mode = RLIB_MODERW;
  BFILE_SetClientData(file, lib);
  S_Insert(lib);
  RLIB_SetSaveAll(lib, 1);
  return lib;
}

void RLIB_Open(RLibPtr lib) {
  if (!lib->File || BFILE_IsOpen(lib->File)) return;
  ErrTrace frame("RLib", __FILE__, __LINE__);
  BFILE_Open(lib->File, sForceRW, 0);
  uint8_t raw[64];
  if (!BFILE_ReadAt(lib->File, 0, raw, sizeof raw)) ERR_FailStr("Wrong file type");
  RLIBC_CheckHeader(RLIBC_DecodeHeader(raw), false);
  lib->Mode = BFILE_IsReadOnly(lib->File) ? RLIB_MODERO : RLIB_MODERW;
  if (lib->Modules.empty()) S_ReadSections(lib, false);
}

void RLIB_Close(RLibPtr lib) {
  if (lib->File) BFILE_Close(lib->File);
}

void RLIB_CheckReadWrite(RLibPtr lib) {
  if (!lib->File) ERR_Fail("RLib", kRLibErrNoFile, lib->Name);
  if (!BFILE_IsOpen(lib->File)) ERR_Fail("RLib", kRLibErrClosed, lib->Name);
  if (BFILE_IsReadOnly(lib->File)) ERR_Fail("RLib", kRLibErrReadOnly, lib->Name);
}

Int RLIB_GetMode(RLibPtr lib) {
  if (!lib->File) return RLIB_MODENOFILE;
  if (!BFILE_IsOpen(lib->File)) return RLIB_MODECLOSED;
  return BFILE_IsReadOnly(lib->File) ? RLIB_MODERO : RLIB_MODERW;
}

void RLIB_Dispose(RLibPtr lib) {
  if (lib) S_Dispose(lib);
}

void RLIB_Unload(RLibPtr lib) { RLIB_Dispose(lib); }

std::string RLIB_Backup(RLibPtr lib) {
  ErrTrace frame("RLib", __FILE__, __LINE__);
  if (!lib->File) ERR_Fail("RLib", kRLibErrNoFile, lib->Name);
  std::string from = BFILE_GetName(lib->File);
  std::string to = from + ".bak";
  std::string partial = to + ".part";
  // Written beside and renamed, so that a failed copy never replaces a
  // good older one.
  FILE* in = std::fopen(from.c_str(), "rb");
  FILE* out = in ? std::fopen(partial.c_str(), "wb") : nullptr;
  bool ok = in && out;
  char buffer[8192];
  while (ok) {
    size_t n = std::fread(buffer, 1, sizeof buffer, in);
    if (n == 0) {
      ok = !std::ferror(in);
      break;
    }
    ok = std::fwrite(buffer, 1, n, out) == n;
  }
  if (in) std::fclose(in);
  if (out && std::fclose(out) != 0) ok = false;
  if (ok) ok = std::rename(partial.c_str(), to.c_str()) == 0;
  if (!ok) {
    std::remove(partial.c_str());
    ERR_Fail("RLib", kRLibErrBackup, lib->Name, to);
  }
  return to;
}

NfierPtr RLIB_GetDefaultsNfier() {
  static NfierPtr nfier = NFIER_New();
  return nfier;
}

void RES_SaveRec(RLibPtr lib, ResPtr res) {
  RLIB_CheckReadWrite(lib);
  UInt32 before = RES_GetKnotOffset(res);
  S_PrepareFieldIndices(lib);
  S_PrepareTree(lib, res);
  S_SaveRec(lib, res);
  BFILE_WorkLaterList(lib->File);
  // A record that moved is reached from its parent's block only after the
  // next save of the library.
  if (RES_GetKnotOffset(res) != before) RES_SetModified(res);
}

void RLIB_SetSaveAll(RLibPtr lib, BoolEnum flag) { lib->Dirty = flag ? 0xff : 0; }

void RLIB_Save(RLibPtr lib) {
  ErrTrace frame("RLib", __FILE__, __LINE__);
  frame.setContext(kRLibMsgSaving);
  ERR_SetOptStr(frame.rec(), lib->Name.c_str());
  RLIB_CheckReadWrite(lib);
  NFIER_Broadcast(RLIB_GetDefaultsNfier(), RLIB_NFYSAVING, lib);
  S_PrepareFieldIndices(lib);

  std::vector<BKnotPtr> modules;
  for (BKnotPtr m : lib->Modules)
    if (m->Res && RES_IsAttached(m->Res) && m->Res->ResPrivate3) modules.push_back(m);
  // Everything a record refers to gets its class, field, import and
  // export entry before any record is written.
  for (BKnotPtr m : modules) {
    S_PrepareTree(lib, m->Res);
  }
  for (BKnotPtr t : lib->Templates)
    if (t->Res) t->Res->ResPrivate4 |= RES_FLAGEXPORTED;

  lib->Version++;
  BFILE_WriteBlockBegin2(lib->File, RLIB_OFFIDENTITY, S_Limit(RLIB_OFFIDENTITY));
  BFILE_WriteStr(lib->File, lib->Name.c_str());
  BFILE_WriteInt16(lib->File, static_cast<Int16>(lib->Version));
  BFILE_WriteBlockEnd(lib->File);
  if (lib->Dirty & RLIB_DIRTYLIBFIELDS) {
    std::vector<uint8_t> data;
    ByteWriter w(&data);
    for (int i = 0; i < 8; ++i) RLIBC_PutStr(w, lib->LibFieldsNull[i] ? nullptr : lib->LibFields[i].c_str());
    S_WriteSection(lib, RLIB_OFFLIBFIELDS, data);
  }
  for (BKnotPtr m : modules) S_SaveModule(lib, m);
  BFILE_WorkLaterList(lib->File);

  if (lib->Dirty & RLIB_DIRTYMODULES) {
    std::vector<Int> names;
    std::vector<uint8_t> data = S_EncodeModules(lib, &names);
    PlacedRecord placed = BFILE_PlaceSection(lib->File, RLIB_OFFMODULES, S_Limit(RLIB_OFFMODULES), data);
    for (size_t i = 0; i < lib->Modules.size(); ++i)
      lib->Modules[i]->Offset = placed.absolute(static_cast<UInt32>(names[i]));
  }
  if (lib->Dirty & RLIB_DIRTYCLASSES) S_WriteSection(lib, RLIB_OFFCLASSES, S_EncodeClasses(lib));
  if (lib->Dirty & RLIB_DIRTYTEMPLATES) {
    std::vector<UInt32> offsets;
    for (BKnotPtr t : lib->Templates) offsets.push_back(t->Offset);
    S_WriteSection(lib, RLIB_OFFTEMPLATES, S_EncodeOffsets(offsets));
  }
  if (lib->Dirty & RLIB_DIRTYIMPORTS) {
    std::vector<uint8_t> data;
    ByteWriter w(&data);
    w.i16(static_cast<int16_t>(lib->Imports.size()));
    for (const auto& imp : lib->Imports)
      RLIBC_PutImport(w, {imp.Name, imp.FileName, imp.Lib ? imp.Lib->Version : imp.Version});
    S_WriteSection(lib, RLIB_OFFIMPORTS, data);
  }
  if (lib->Dirty & RLIB_DIRTYEXPORTS) {
    std::vector<uint8_t> data;
    ByteWriter w(&data);
    w.i16(static_cast<int16_t>(lib->Exports.size()));
    for (const auto& e : lib->Exports) {
      // An empty slot is written as zeros: kind 0 at offset 0.
      w.u8(e.Knot || e.Offset ? e.Kind : 0);
      w.u32(e.Knot ? e.Knot->Offset : e.Offset);
    }
    S_WriteSection(lib, RLIB_OFFEXPORTS, data);
  }
  if (lib->Dirty & RLIB_DIRTYDEFAULTS) {
    std::vector<UInt32> offsets;
    for (size_t i = 0; i < lib->DefaultOffsets.size(); ++i)
      offsets.push_back(lib->DefaultKnots[i] ? lib->DefaultKnots[i]->Offset : lib->DefaultOffsets[i]);
    S_WriteSection(lib, RLIB_OFFDEFAULTS, S_EncodeOffsets(offsets));
  }
  BFILE_SeekTo(lib->File, 60);
  BFILE_WriteUInt32(lib->File, BFILE_GetEndOffset(lib->File));
  BFILE_Flush(lib->File);
  lib->Dirty = 0;
}

RLibPtr RLIB_Find(const char* name) {
  if (!name) return nullptr;
  auto at = std::lower_bound(sLibs.begin(), sLibs.end(), name, S_Less);
  return at != sLibs.end() && STR_ICmp((*at)->Name.c_str(), name) == 0 ? *at : nullptr;
}

RLibPtr RLIB_FindByModName(const char* moduleName) {
  BKnotPtr knot = moduleName ? BKNOT_FindModule(moduleName) : nullptr;
  return knot ? knot->Lib : nullptr;
}

std::vector<RLibPtr> RLIB_GetAll() { return sLibs; }

const char* RLIB_GetLibName(RLibPtr lib) { return lib->Name.c_str(); }

void RLIB_SetLibName(RLibPtr lib, const char* name) {
  S_Remove(lib);
  lib->Name = name;
  S_Insert(lib);
  S_MarkDirty(lib, 0);
}

const char* RLIB_GetLibField(RLibPtr lib, Int which) {
  if (which < 0 || which >= 8 || lib->LibFieldsNull[which]) return nullptr;
  return lib->LibFields[which].c_str();
}

void RLIB_SetLibField(RLibPtr lib, Int which, const char* value) {
  if (which < 0 || which >= 8) return;
  lib->LibFieldsNull[which] = value == nullptr;
  lib->LibFields[which] = value ? value : "";
  S_MarkDirty(lib, RLIB_DIRTYLIBFIELDS);
}

RClasPtr RLIB_IndexToResClass(RLibPtr lib, Int index) {
  if (!lib || index < 0 || index >= static_cast<Int>(lib->Classes.size()))
    ERR_Fail("RLib", kRLibErrClassIndex, index, lib ? lib->Name : std::string());
  return lib->Classes[static_cast<size_t>(index)];
}

Int RLIB_ResClassToIndex(RLibPtr lib, RClasPtr cls) {
  auto at = std::find(lib->Classes.begin(), lib->Classes.end(), cls);
  return at == lib->Classes.end() ? -1 : static_cast<Int>(at - lib->Classes.begin());
}

BKnotPtr RLIB_IndexToModuleKnot(RLibPtr lib, Int index) {
  if (index < 0 || index >= static_cast<Int>(lib->Modules.size()))
    ERR_Fail("RLib", kRLibErrCorrupt, static_cast<long>(index), "module index");
  return lib->Modules[static_cast<size_t>(index)];
}

Int RLIB_ModuleKnotToIndex(RLibPtr lib, BKnotPtr knot) {
  auto at = std::find(lib->Modules.begin(), lib->Modules.end(), knot);
  return at == lib->Modules.end() ? -1 : static_cast<Int>(at - lib->Modules.begin());
}

RLibPtr RLIB_IndexToImportLib(RLibPtr lib, Int index) {
  if (index < 0 || index >= static_cast<Int>(lib->Imports.size()))
    ERR_Fail("RLib", kRLibErrImportIndex, index, lib->Name);
  RLibPtr imported = lib->Imports[static_cast<size_t>(index)].Lib;
  if (!imported) ERR_Fail("RLib", kRLibErrCannotLoad, lib->Imports[static_cast<size_t>(index)].Name);
  return imported;
}

Int RLIB_ImportLibToIndex(RLibPtr lib, RLibPtr imported) {
  for (size_t i = 0; i < lib->Imports.size(); ++i)
    if (lib->Imports[i].Lib == imported) return static_cast<Int>(i);
  return -1;
}

ResPtr RLIB_IndexToExportRes(RLibPtr lib, Int index) {
  if (index < 0 || index >= static_cast<Int>(lib->Exports.size()))
    ERR_Fail("RLib", kRLibErrExportIndex, index, lib->Name);
  _RLibRec::Export& e = lib->Exports[static_cast<size_t>(index)];
  if (e.Kind == RLIB_EXPORTBAD) return nullptr;
  if (e.Res) return e.Res;
  BKnotPtr knot = e.Knot ? e.Knot : (e.Offset ? BKNOT_LoadFromOffset(lib->File, e.Offset) : nullptr);
  if (!knot) return nullptr;
  ResPtr res = RES_LoadFromKnot(knot, 1);
  _RLibRec::Export& again = lib->Exports[static_cast<size_t>(index)];  // loading may have grown the table
  if (again.Res) {
    RES_Release(res);
    return again.Res;
  }
  again.Res = res;
  again.Knot = knot;
  return res;
}

Int RLIB_ExportResToIndex(RLibPtr lib, ResPtr res) {
  BKnotPtr knot = res->ResPrivate;
  for (size_t i = 0; i < lib->Exports.size(); ++i) {
    const auto& e = lib->Exports[i];
    if (e.Res == res || (knot && e.Knot == knot) ||
        (knot && !e.Knot && e.Offset && knot->File == lib->File && knot->Offset == e.Offset))
      return static_cast<Int>(i);
  }
  return -1;
}

PFldPtr RLIB_GetFieldByIndex(RLibPtr lib, Int index) {
  if (!lib || index < 0 || index >= static_cast<Int>(lib->FieldTable.size()) ||
      !lib->FieldTable[static_cast<size_t>(index)])
    ERR_Fail("RLib", kRLibErrFieldIndex, index, lib ? lib->Name : std::string());
  return lib->FieldTable[static_cast<size_t>(index)];
}

Int RLIB_AddField(RLibPtr lib, PFldPtr field, RClasPtr owner) {
  Int index = field->FileIndex;
  if (index >= 0 && index < static_cast<Int>(lib->FieldTable.size()) &&
      lib->FieldTable[static_cast<size_t>(index)] == field)
    return index;
  if (owner) RLIB_AddResClass(lib, owner);
  lib->FieldTable.push_back(field);
  field->FileIndex = static_cast<Int>(lib->FieldTable.size()) - 1;
  S_MarkDirty(lib, RLIB_DIRTYCLASSES);
  return field->FileIndex;
}

Int RLIB_AddResClass(RLibPtr lib, RClasPtr cls) {
  Int index = RLIB_ResClassToIndex(lib, cls);
  if (index >= 0) return index;
  if (cls->ParentClass && (cls->ParentClass->Flags & RCLAS_FLAGDATA)) RLIB_AddResClass(lib, cls->ParentClass);
  RLibPtr definer = cls->ModName ? RLIB_FindByModName(cls->ModName) : nullptr;
  if (definer && definer != lib && (cls->Flags & RCLAS_FLAGDATA)) RLIB_AddImportLib(lib, definer);
  lib->Classes.push_back(cls);
  S_MarkDirty(lib, RLIB_DIRTYCLASSES);
  return static_cast<Int>(lib->Classes.size()) - 1;
}

Int RLIB_AddImportLib(RLibPtr lib, RLibPtr imported) {
  Int index = RLIB_ImportLibToIndex(lib, imported);
  if (index >= 0) return index;
  std::string file = imported->File ? S_BaseName(BFILE_GetName(imported->File)) : imported->Name + ".dat";
  lib->Imports.push_back({imported->Name, file, imported->Version, imported});
  S_MarkDirty(lib, RLIB_DIRTYIMPORTS);
  return static_cast<Int>(lib->Imports.size()) - 1;
}

Int RLIB_AddExportRes(RLibPtr lib, ResPtr res, Int kind) {
  Int index = RLIB_ExportResToIndex(lib, res);
  if (index >= 0) return index;
  _RLibRec::Export e;
  e.Kind = static_cast<UInt8>(kind);
  e.Knot = res->ResPrivate;
  e.Offset = res->ResPrivate ? res->ResPrivate->Offset : 0;
  e.Res = res;
  RES_Use(res);
  lib->Exports.push_back(e);
  res->ResPrivate4 |= RES_FLAGEXPORTED;
  if (kind == RLIB_EXPORTPRELOAD) res->ResPrivate4 |= RES_FLAGPRELOAD;
  RES_SetModified(res);
  S_MarkDirty(lib, RLIB_DIRTYEXPORTS);
  return static_cast<Int>(lib->Exports.size()) - 1;
}

void RLIB_RemoveExportRes(RLibPtr lib, ResPtr res) {
  Int index = RLIB_ExportResToIndex(lib, res);
  if (index < 0) return;
  _RLibRec::Export& e = lib->Exports[static_cast<size_t>(index)];
  ResPtr held = e.Res;
  e = _RLibRec::Export();
  res->ResPrivate4 &= ~RES_FLAGEXPORTED;
  S_MarkDirty(lib, RLIB_DIRTYEXPORTS);
  RES_Release(held);
}

void RLIB_AddTemplate(RLibPtr lib, ResPtr res) {
  if (!res->ResPrivate) return;
  if (std::find(lib->Templates.begin(), lib->Templates.end(), res->ResPrivate) != lib->Templates.end()) return;
  lib->Templates.push_back(res->ResPrivate);
  if (!(res->ResPrivate4 & RES_FLAGEXPORTED)) {
    res->ResPrivate4 |= RES_FLAGEXPORTED;
    if (!lib->Loading) RES_SetModified(res);
  }
  if (!lib->Loading) S_MarkDirty(lib, RLIB_DIRTYTEMPLATES);
}

void RLIB_RemoveTemplate(RLibPtr lib, ResPtr res) {
  auto at = std::find(lib->Templates.begin(), lib->Templates.end(), res->ResPrivate);
  if (at == lib->Templates.end()) return;
  lib->Templates.erase(at);
  S_MarkDirty(lib, RLIB_DIRTYTEMPLATES);
}

void RLIB_AddDefaultRes(RLibPtr lib, ResPtr res) {
  if (!res->ResPrivate) return;
  lib->DefaultKnots.push_back(res->ResPrivate);
  lib->DefaultOffsets.push_back(res->ResPrivate->Offset);
  res->ResPrivate4 |= RES_FLAGEXPORTED;
  RES_SetModified(res);
  S_MarkDirty(lib, RLIB_DIRTYDEFAULTS);
}

ResPtr RLIB_AddModuleKnot(RLibPtr lib, const char* name) {
  if (BKNOT_FindModule(name)) ERR_Fail("RLib", kRLibErrModuleTwice, name);
  BKnotPtr knot = BKNOT_New(name, RMOD_Class());
  knot->IsModule = 1;
  knot->Lib = lib;
  knot->File = lib->File;
  knot->ChildrenLoaded = 1;
  lib->Modules.push_back(knot);
  BKNOT_AddModule(knot);
  ResPtr res = RES_NewSetKnotClass(knot, RMOD_Class());
  res->ResPrivate7 = lib;
  res->ResPrivate3 = 1;
  S_MarkDirty(lib, RLIB_DIRTYMODULES);
  return res;
}

void RLIB_RemoveModuleKnot(RLibPtr lib, BKnotPtr knot) {
  auto at = std::find(lib->Modules.begin(), lib->Modules.end(), knot);
  if (at == lib->Modules.end()) return;
  lib->Modules.erase(at);
  BKNOT_RemoveModule(knot);
  S_MarkDirty(lib, RLIB_DIRTYMODULES);
}

ResPtr RLIB_GetModuleRes(BKnotPtr moduleKnot) {
  if (moduleKnot->Res) return moduleKnot->Res;
  ResPtr res = RES_LoadFromKnot(moduleKnot, 1);  // the library's own reference
  res->ResPrivate7 = moduleKnot->Lib;
  return res;
}

const char* MCH_ChipCodeToStr(Int code) {
  static const char* const kChips[] = {"UNKNOWN", "MC68K", "I386",  "SPARC",  "VAX",
                                       "MIPS",    "HPPA",  "IBMRT", "RS6000", "UNKNOWN"};
  return code >= 0 && code <= 9 ? kChips[code] : "UNKNOWN";
}

void RLIB_Init() {}
