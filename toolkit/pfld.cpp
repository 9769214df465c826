// Field values: typed access, copy, free, and the field record.
#include "toolkit/pfld.h"

#include <cstdlib>
#include <cstring>

#include "toolkit/bknot.h"
#include "toolkit/err.h"
#include "toolkit/rlib.h"
#include "toolkit/rlibcodec.h"

using owbcoding::ByteWriter;

namespace {

template <class T>
T* S_At(ResPtr res, PFldPtr field) {
  return reinterpret_cast<T*>(reinterpret_cast<char*>(res) + field->Offset);
}

bool S_IsStr(Int t) { return t == PFLD_STR || t == PFLD_VSTR; }
bool S_IsStrArray(Int t) { return t == PFLD_STRARRAY || t == PFLD_VSTRARRAY; }
bool S_IsRes(Int t) { return t == PFLD_RES || t == PFLD_RES0; }
bool S_IsData(Int t) { return t == PFLD_DATA32 || t == PFLD_DATA8 || t == PFLD_DATA16; }

void S_CheckKind(PFldPtr field, bool ok) {
  if (!ok) ERR_Fail("PFld", kPFldErrAccess, field->Name);
}

ArrayPtr S_NewPtrArray(Int room) { return ARRAY_New(static_cast<Int>(sizeof(void*)), room); }

void S_FreeField(ResPtr res, PFldPtr field) {
  if (field->Offset == 0) return;
  Int t = field->Type;
  if (S_IsStr(t)) {
    char** p = S_At<char*>(res, field);
    VSTR_Dispose(*p);
    *p = nullptr;
  } else if (S_IsStrArray(t) || t == PFLD_RESARRAY) {
    ArrayPtr* p = S_At<ArrayPtr>(res, field);
    ArrayPtr array = *p;
    *p = nullptr;
    for (Int i = 0; i < ARRAY_GetCount(array); ++i) {
      if (t == PFLD_RESARRAY) RES_Release(static_cast<ResPtr>(ARRAY_GetNthPtr(array, i)));
      else VSTR_Dispose(static_cast<char*>(ARRAY_GetNthPtr(array, i)));
    }
    ARRAY_Dispose(array);
  } else if (S_IsRes(t)) {
    ResPtr* p = S_At<ResPtr>(res, field);
    ResPtr old = *p;
    *p = nullptr;
    RES_Release(old);
  } else if (S_IsData(t)) {
    _DataRec* d = S_At<_DataRec>(res, field);
    std::free(d->Data);
    d->Data = nullptr;
    d->Size = 0;
  }
}

void S_CopyField(ResPtr dst, ResPtr src, PFldPtr field) {
  if (field->Offset == 0) return;
  Int t = field->Type;
  switch (t) {
    case PFLD_INT16:
    case PFLD_UINT16:
    case PFLD_INT32:
    case PFLD_UINT32: PFLD_SetInt(dst, field, PFLD_GetInt(src, field)); break;
    case PFLD_STR:
    case PFLD_VSTR: PFLD_SetStr(dst, field, PFLD_GetStr(src, field)); break;
    case PFLD_STRARRAY:
    case PFLD_VSTRARRAY: {
      std::vector<const char*> values;
      for (Int i = 0; i < PFLD_GetStrCount(src, field); ++i) values.push_back(PFLD_GetNthStr(src, field, i));
      if (*S_At<ArrayPtr>(src, field)) PFLD_SetStrs(dst, field, values);
      else S_FreeField(dst, field);
      break;
    }
    case PFLD_RES:
    case PFLD_RES0: PFLD_SetRes(dst, field, PFLD_GetRes(src, field)); break;
    case PFLD_RESARRAY: {
      std::vector<ResPtr> values;
      for (Int i = 0; i < PFLD_GetResCount(src, field); ++i) values.push_back(PFLD_GetNthRes(src, field, i));
      if (*S_At<ArrayPtr>(src, field)) PFLD_SetResArray(dst, field, values);
      else S_FreeField(dst, field);
      break;
    }
    default: {
      const _DataRec* d = PFLD_GetData(src, field);
      PFLD_SetData(dst, field, d->Data, d->Size);
      break;
    }
  }
}

// --- References -------------------------------------------------------------

ResPtr S_ReadRef(BlockReader& r, RLibPtr lib) {
  int16_t imp = r.i16();
  int16_t exp = r.i16();
  if (imp == -1 && exp == -1) return nullptr;
  RLibPtr target = RLIB_IndexToImportLib(lib, imp);
  ResPtr res = RLIB_IndexToExportRes(target, exp);
  if (res) RES_Use(res);
  return res;
}

void S_WriteRef(ByteWriter& w, RLibPtr lib, ResPtr target) {
  if (!target) {
    w.i16(-1);
    w.i16(-1);
    return;
  }
  RLibPtr targetLib = RES_GetLib(target);
  Int imp = targetLib ? RLIB_ImportLibToIndex(lib, targetLib) : -1;
  Int exp = targetLib ? RLIB_ExportResToIndex(targetLib, target) : -1;
  if (imp < 0 || exp < 0) ERR_Fail("RLib", kRLibErrNotExported, RES_QueryFullName(target), lib->Name);
  w.i16(static_cast<int16_t>(imp));
  w.i16(static_cast<int16_t>(exp));
}

void S_NeedRef(RLibPtr lib, ResPtr target) {
  if (!target) return;
  RLibPtr targetLib = RES_GetLib(target);
  if (!targetLib || !target->ResPrivate)
    ERR_Fail("RLib", kRLibErrNotExported, RES_QueryFullName(target), lib->Name);
  RLIB_AddImportLib(lib, targetLib);
  if (RLIB_ExportResToIndex(targetLib, target) >= 0) return;
  if (targetLib != lib) ERR_Fail("RLib", kRLibErrNotExported, RES_QueryFullName(target), targetLib->Name);
  RLIB_AddExportRes(lib, target, RLIB_EXPORTLAZY);
}

// --- Reading values ---------------------------------------------------------

char* S_ReadNewStr(BlockReader& r) {
  std::string text;
  return r.str(&text) ? VSTR_NewLen(text.data(), text.size()) : nullptr;
}

void S_ReadValue(BlockReader& r, RLibPtr lib, ResPtr res, PFldPtr field, BFilePtr file) {
  bool keep = field->Offset != 0;  // a field that is gone is read and dropped
  switch (field->Type) {
    case PFLD_INT16: { long v = r.i16(); if (keep) PFLD_SetInt(res, field, v); break; }
    case PFLD_UINT16: { long v = r.u16(); if (keep) PFLD_SetInt(res, field, v); break; }
    case PFLD_INT32: { long v = r.i32(); if (keep) PFLD_SetInt(res, field, v); break; }
    case PFLD_UINT32: { long v = static_cast<long>(r.u32()); if (keep) PFLD_SetInt(res, field, v); break; }
    case PFLD_STR:
    case PFLD_VSTR: {
      char* text = S_ReadNewStr(r);
      if (keep) {
        S_FreeField(res, field);
        *S_At<char*>(res, field) = text;
      } else {
        VSTR_Dispose(text);
      }
      break;
    }
    case PFLD_STRARRAY:
      // The reader has no case for this type and consumes nothing.
      break;
    case PFLD_VSTRARRAY: {
      Int n = RLIBC_GetCount(r);
      ArrayPtr array = S_NewPtrArray(0);
      try {
        for (Int i = 0; i < n; ++i) ARRAY_AddPtr(array, S_ReadNewStr(r));
      } catch (...) {
        for (Int i = 0; i < array->Count; ++i) VSTR_Dispose(static_cast<char*>(ARRAY_GetNthPtr(array, i)));
        ARRAY_Dispose(array);
        throw;
      }
      if (keep) S_FreeField(res, field), *S_At<ArrayPtr>(res, field) = array;
      else {
        for (Int i = 0; i < array->Count; ++i) VSTR_Dispose(static_cast<char*>(ARRAY_GetNthPtr(array, i)));
        ARRAY_Dispose(array);
      }
      break;
    }
    case PFLD_RES:
    case PFLD_RES0: {
      ResPtr target = S_ReadRef(r, lib);
      if (keep) S_FreeField(res, field), *S_At<ResPtr>(res, field) = target;
      else RES_Release(target);
      break;
    }
    case PFLD_RESARRAY: {
      Int n = RLIBC_GetCount(r);
      ArrayPtr array = S_NewPtrArray(0);
      try {
        for (Int i = 0; i < n; ++i) ARRAY_AddPtr(array, S_ReadRef(r, lib));
      } catch (...) {
        for (Int i = 0; i < array->Count; ++i) RES_Release(static_cast<ResPtr>(ARRAY_GetNthPtr(array, i)));
        ARRAY_Dispose(array);
        throw;
      }
      if (keep) S_FreeField(res, field), *S_At<ArrayPtr>(res, field) = array;
      else {
        for (Int i = 0; i < array->Count; ++i) RES_Release(static_cast<ResPtr>(ARRAY_GetNthPtr(array, i)));
        ARRAY_Dispose(array);
      }
      break;
    }
    default: {
      UInt32 n = r.u32();
      if (n > BFILE_GetSize(file)) ERR_Fail("BFile", kBFileErrTruncated, static_cast<long>(r.recordOffset()));
      std::vector<uint8_t> bytes(n);
      if (n) r.read(bytes.data(), n);
      if (keep) PFLD_SetData(res, field, bytes.data(), n);
      break;
    }
  }
}

// --- Writing values ---------------------------------------------------------

void S_WriteValue(ByteWriter& w, RLibPtr lib, ResPtr res, PFldPtr field) {
  switch (field->Type) {
    case PFLD_INT16: w.i16(static_cast<int16_t>(PFLD_GetInt(res, field))); break;
    case PFLD_UINT16: w.u16(static_cast<uint16_t>(PFLD_GetInt(res, field))); break;
    case PFLD_INT32: w.i32(static_cast<int32_t>(PFLD_GetInt(res, field))); break;
    case PFLD_UINT32: w.u32(static_cast<uint32_t>(PFLD_GetInt(res, field))); break;
    case PFLD_STR:
    case PFLD_VSTR: RLIBC_PutStr(w, PFLD_GetStr(res, field)); break;
    case PFLD_STRARRAY:
    case PFLD_VSTRARRAY: {
      Int n = PFLD_GetStrCount(res, field);
      w.i16(static_cast<int16_t>(n));
      for (Int i = 0; i < n; ++i) RLIBC_PutStr(w, PFLD_GetNthStr(res, field, i));
      break;
    }
    case PFLD_RES:
    case PFLD_RES0: S_WriteRef(w, lib, PFLD_GetRes(res, field)); break;
    case PFLD_RESARRAY: {
      Int n = PFLD_GetResCount(res, field);
      w.i16(static_cast<int16_t>(n));
      for (Int i = 0; i < n; ++i) S_WriteRef(w, lib, PFLD_GetNthRes(res, field, i));
      break;
    }
    default: {
      const _DataRec* d = PFLD_GetData(res, field);
      w.u32(d->Size);
      w.bytes(d->Data, d->Size);
      break;
    }
  }
}

ResPtr S_TemplateOf(ResPtr res) {
  for (RClasPtr c = res->ResClass; c; c = c->ParentClass)
    if (c->Template) return c->Template == res ? nullptr : c->Template;
  return nullptr;
}

UInt16 S_RecordFlags(ResPtr res, ResPtr tmpl) {
  UInt16 flags = static_cast<UInt16>(res->ResPrivate4 & 0x3fff & ~RES_FLAGTYPED);
  if (!tmpl) flags |= RES_FLAGSAVEALL;
  return flags;
}

// The fields the record holds, in class order from the root down.
std::vector<PFldPtr> S_SavedFields(ResPtr res, ResPtr tmpl, UInt16 flags) {
  struct Ctx {
    ResPtr res, tmpl;
    UInt16 flags;
    std::vector<PFldPtr> out;
  } ctx{res, tmpl, flags, {}};
  RCLAS_ForEachField(
      res->ResClass,
      [](PFldPtr f, ClientPtr data) {
        Ctx* c = static_cast<Ctx*>(data);
        if (f->Kind == PFLD_KINDALIAS || f->Offset == 0) return;
        if (!(c->flags & RES_FLAGSAVEALL) && c->tmpl && RCLAS_FieldOwner(c->tmpl->ResClass, f) &&
            PFLD_Equal(c->res, c->tmpl, f))
          return;
        c->out.push_back(f);
      },
      &ctx);
  return ctx.out;
}

}  // namespace

// --- Typed access -------------------------------------------------------------

long PFLD_GetInt(ResPtr res, PFldPtr field) {
  switch (field->Type) {
    case PFLD_INT16: return *S_At<int16_t>(res, field);
    case PFLD_UINT16: return *S_At<uint16_t>(res, field);
    case PFLD_INT32: return *S_At<int32_t>(res, field);
    case PFLD_UINT32: return static_cast<long>(*S_At<uint32_t>(res, field));
    default: S_CheckKind(field, false); return 0;
  }
}

void PFLD_SetInt(ResPtr res, PFldPtr field, long value) {
  switch (field->Type) {
    case PFLD_INT16: *S_At<int16_t>(res, field) = static_cast<int16_t>(value); break;
    case PFLD_UINT16: *S_At<uint16_t>(res, field) = static_cast<uint16_t>(value); break;
    case PFLD_INT32: *S_At<int32_t>(res, field) = static_cast<int32_t>(value); break;
    case PFLD_UINT32: *S_At<uint32_t>(res, field) = static_cast<uint32_t>(value); break;
    default: S_CheckKind(field, false);
  }
}

const char* PFLD_GetStr(ResPtr res, PFldPtr field) {
  S_CheckKind(field, S_IsStr(field->Type));
  return *S_At<char*>(res, field);
}

void PFLD_SetStr(ResPtr res, PFldPtr field, const char* value) {
  S_CheckKind(field, S_IsStr(field->Type));
  VSTR_Set(S_At<char*>(res, field), value);
}

Int PFLD_GetStrCount(ResPtr res, PFldPtr field) {
  S_CheckKind(field, S_IsStrArray(field->Type));
  return ARRAY_GetCount(*S_At<ArrayPtr>(res, field));
}

const char* PFLD_GetNthStr(ResPtr res, PFldPtr field, Int n) {
  S_CheckKind(field, S_IsStrArray(field->Type));
  return static_cast<const char*>(ARRAY_GetNthPtr(*S_At<ArrayPtr>(res, field), n));
}

void PFLD_SetStrs(ResPtr res, PFldPtr field, const std::vector<const char*>& values) {
  S_CheckKind(field, S_IsStrArray(field->Type));
  ArrayPtr array = S_NewPtrArray(static_cast<Int>(values.size()));
  for (const char* v : values) ARRAY_AddPtr(array, VSTR_New(v));
  S_FreeField(res, field);
  *S_At<ArrayPtr>(res, field) = array;
}

ResPtr PFLD_GetRes(ResPtr res, PFldPtr field) {
  S_CheckKind(field, S_IsRes(field->Type));
  return *S_At<ResPtr>(res, field);
}

void PFLD_SetRes(ResPtr res, PFldPtr field, ResPtr value) {
  S_CheckKind(field, S_IsRes(field->Type));
  if (value) RES_Use(value);
  S_FreeField(res, field);
  *S_At<ResPtr>(res, field) = value;
}

Int PFLD_GetResCount(ResPtr res, PFldPtr field) {
  S_CheckKind(field, field->Type == PFLD_RESARRAY);
  return ARRAY_GetCount(*S_At<ArrayPtr>(res, field));
}

ResPtr PFLD_GetNthRes(ResPtr res, PFldPtr field, Int n) {
  S_CheckKind(field, field->Type == PFLD_RESARRAY);
  return static_cast<ResPtr>(ARRAY_GetNthPtr(*S_At<ArrayPtr>(res, field), n));
}

void PFLD_SetResArray(ResPtr res, PFldPtr field, const std::vector<ResPtr>& values) {
  S_CheckKind(field, field->Type == PFLD_RESARRAY);
  ArrayPtr array = S_NewPtrArray(static_cast<Int>(values.size()));
  for (ResPtr v : values) {
    if (v) RES_Use(v);
    ARRAY_AddPtr(array, v);
  }
  S_FreeField(res, field);
  *S_At<ArrayPtr>(res, field) = array;
}

const _DataRec* PFLD_GetData(ResPtr res, PFldPtr field) {
  S_CheckKind(field, S_IsData(field->Type));
  return S_At<_DataRec>(res, field);
}

void PFLD_SetData(ResPtr res, PFldPtr field, const void* bytes, UInt32 size) {
  S_CheckKind(field, S_IsData(field->Type));
  uint8_t* copy = nullptr;
  if (size) {
    copy = static_cast<uint8_t*>(std::malloc(size));
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, bytes, size);
  }
  S_FreeField(res, field);
  _DataRec* d = S_At<_DataRec>(res, field);
  d->Data = copy;
  d->Size = size;
}

BoolEnum PFLD_Equal(ResPtr a, ResPtr b, PFldPtr field) {
  if (field->Offset == 0) return 1;
  Int t = field->Type;
  if (t <= PFLD_UINT32) return PFLD_GetInt(a, field) == PFLD_GetInt(b, field);
  if (S_IsStr(t)) {
    const char* x = PFLD_GetStr(a, field);
    const char* y = PFLD_GetStr(b, field);
    return (!x && !y) || (x && y && std::strcmp(x, y) == 0);
  }
  if (S_IsStrArray(t)) {
    Int n = PFLD_GetStrCount(a, field);
    if (n != PFLD_GetStrCount(b, field)) return 0;
    for (Int i = 0; i < n; ++i) {
      const char* x = PFLD_GetNthStr(a, field, i);
      const char* y = PFLD_GetNthStr(b, field, i);
      if (!((!x && !y) || (x && y && std::strcmp(x, y) == 0))) return 0;
    }
    return 1;
  }
  if (S_IsRes(t)) return PFLD_GetRes(a, field) == PFLD_GetRes(b, field);
  if (t == PFLD_RESARRAY) {
    Int n = PFLD_GetResCount(a, field);
    if (n != PFLD_GetResCount(b, field)) return 0;
    for (Int i = 0; i < n; ++i)
      if (PFLD_GetNthRes(a, field, i) != PFLD_GetNthRes(b, field, i)) return 0;
    return 1;
  }
  const _DataRec* x = PFLD_GetData(a, field);
  const _DataRec* y = PFLD_GetData(b, field);
  return x->Size == y->Size && (x->Size == 0 || std::memcmp(x->Data, y->Data, x->Size) == 0);
}

void PFLD_ResCopy(ResPtr dst, ResPtr src) {
  struct Ctx {
    ResPtr dst, src;
  } ctx{dst, src};
  RCLAS_ForEachField(
      src->ResClass,
      [](PFldPtr f, ClientPtr data) {
        Ctx* c = static_cast<Ctx*>(data);
        S_CopyField(c->dst, c->src, f);
      },
      &ctx);
}

void PFLD_ResFree(ResPtr res) {
  RCLAS_ForEachField(
      res->ResClass, [](PFldPtr f, ClientPtr data) { S_FreeField(static_cast<ResPtr>(data), f); }, res);
}

// --- The field record -----------------------------------------------------------

void PFLD_Load(BFilePtr file, ResPtr res) {
  ErrTrace frame("PFld", __FILE__, __LINE__);
  BKnotPtr knot = res->ResPrivate;
  RLibPtr lib = knot->Lib;
  BlockReader r(file, knot->FieldOffset);
  UInt16 flags = r.u16();
  res->ResPrivate4 = flags & 0x3fff;
  if (!(flags & RES_FLAGSAVEALL)) {
    _ResConstructRec copy{RES_MODECOPY, res->ResClass, knot, nullptr, 0, 1, 0};
    RES_CallConstructs(res, res->ResClass, &copy);
  }
  for (;;) {
    int16_t index = r.i16();
    if (index == -1) break;
    PFldPtr field = RLIB_GetFieldByIndex(lib, index);
    if (!RCLAS_FieldOwner(res->ResClass, field))
      ERR_Fail("PFld", kPFldErrNotOwn, field->Name, res->ResClass->Name);
    if (flags & RES_FLAGTYPED) {
      Int type = r.u8();
      if (type != field->Type) ERR_Fail("PFld", kPFldErrType, field->Name, type, field->Type);
    }
    S_ReadValue(r, lib, res, field, file);
  }
}

void PFLD_LibUpdateRefs(RLibPtr lib, ResPtr res) {
  if (res->ResClass->Flags & RCLAS_FLAGNORECORD) return;
  RLIB_AddResClass(lib, res->ResClass);
  ResPtr tmpl = S_TemplateOf(res);
  for (PFldPtr f : S_SavedFields(res, tmpl, S_RecordFlags(res, tmpl))) {
    RLIB_AddField(lib, f, RCLAS_FieldOwner(res->ResClass, f));
    if (S_IsRes(f->Type)) S_NeedRef(lib, PFLD_GetRes(res, f));
    if (f->Type == PFLD_RESARRAY)
      for (Int i = 0; i < PFLD_GetResCount(res, f); ++i) S_NeedRef(lib, PFLD_GetNthRes(res, f, i));
  }
}

std::vector<uint8_t> PFLD_Encode(RLibPtr lib, ResPtr res) {
  std::vector<uint8_t> out;
  ByteWriter w(&out);
  ResPtr tmpl = S_TemplateOf(res);
  UInt16 flags = S_RecordFlags(res, tmpl);
  w.u16(flags);
  for (PFldPtr f : S_SavedFields(res, tmpl, flags)) {
    w.i16(static_cast<int16_t>(f->FileIndex));
    S_WriteValue(w, lib, res, f);
  }
  w.i16(-1);
  return out;
}
