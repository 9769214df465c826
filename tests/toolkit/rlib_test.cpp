// Resource library files: exact bytes, header checks, round trips, saving
// in place, and files that do not add up.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/testsupport.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/bknot.h"
#include "toolkit/pfld.h"
#include "toolkit/rlib.h"
#include "toolkit/strres.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes fileBytes(const std::string& path) {
  std::string text = owbtest::readWholeFile(path);
  return Bytes(text.begin(), text.end());
}

void writeBytes(const std::string& path, const Bytes& bytes) {
  owbtest::writeWholeFile(path, std::string(bytes.begin(), bytes.end()));
}

Bytes slice(const Bytes& b, size_t from, size_t n) {
  return from + n <= b.size() ? Bytes(b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(from + n))
                              : Bytes();
}

// The bytes of pairs of hex digits; blanks only separate.
Bytes hex(const char* text) {
  Bytes out;
  for (const char* p = text; *p; p++)
    if (*p != ' ') out.push_back(static_cast<uint8_t>(std::stoi(std::string(p++, 2), nullptr, 16)));
  return out;
}

// Library "g": module "M" holding StrR "s" with the text "hi".
void makeSmallLibrary(const std::string& path) {
  RLibPtr lib = RLIB_CreateDatFile("g", path.c_str());
  ResPtr module = RLIB_AddModuleKnot(lib, "M");
  ResPtr s = RES_NewSetNameClass("s", STRR_Class());
  RES_SetParent(s, module);
  STRR_SetStr(s, "hi");
  RLIB_Save(lib);
  RLIB_Unload(lib);
}

// The text of the string resource M/s as the library file holds it.
std::string storedText(const std::string& file) {
  RLibPtr lib = RLIB_LoadFile(file.c_str());
  ResPtr s = RES_Load("M", "s");
  const char* stored = STRR_GetStr(s);
  std::string text = stored ? stored : "<none>";
  RES_Release(s);
  RLIB_Dispose(lib);
  return text;
}

// Every test works in a directory of its own and unloads the libraries it
// loaded.
class ResourceLibraryFile : public ::testing::Test {
 protected:
  tktest::LibraryScope scope_;
  owbtest::TempDir dir_;
  std::string path_ = dir_.file("g.dat");
};

TEST_F(ResourceLibraryFile, ASmallLibraryHasExactlyTheDocumentedBytes) {
  makeSmallLibrary(path_);
  Bytes b = fileBytes(path_);
  ASSERT_EQ(b.size(), 6063u);
  // Header: creator, type, chip, 1, 1, major, minor, end offset.
  EXPECT_EQ(slice(b, 0, 64), hex("514b0000 5265736f75726365204461746162617365000000000000000000000000000000"
                                 "0501010600 00000000000000000000000000000000000000 000017af"));
  // Identity at 64: long header (size 36), name "g", version 1.
  EXPECT_EQ(slice(b, 64, 14), hex("00 00000024 00000000 0002 67 0001"));
  // Modules at 100: one module "M", one child, root at 6038, fields at 6025.
  EXPECT_EQ(slice(b, 100, 24), hex("00 000004b0 00000000 0001 0002 4d 0001 00001796 00001789"));
  // Classes at 1300: 5 fields, 2 classes, each a name, no module, bindings.
  Bytes classes = hex("00 00000320 00000000 0005 0002 0005 524d6f64 0000"
                      "0000 0009 4d616b654c697374 0001 0009 46696c654c697374 ffff"
                      "0005 53747252 0000 0002 0003 4964 0003 0005 54657874 0004 0009 5365766572697479 ffff");
  EXPECT_EQ(slice(b, 1300, classes.size()), classes);
  // Templates, imports, exports, defaults: empty sections to their limits.
  EXPECT_EQ(slice(b, 2100, 11), hex("00 00000190 00000000 0000"));
  EXPECT_EQ(slice(b, 2500, 11), hex("00 000000c8 00000000 0000"));
  EXPECT_EQ(slice(b, 2700, 11), hex("00 00000a8c 00000000 0000"));
  EXPECT_EQ(slice(b, 5400, 11), hex("00 00000258 00000000 0000"));
  // Library fields at 6000: eight null strings in an open-ended block.
  EXPECT_EQ(slice(b, 6000, 25), hex("00 00000019 00000000 0000 0000 0000 0000 0000 0000 0000 0000"));
  // The module's field record: short block, every field (flag 8), two
  // empty string lists.
  EXPECT_EQ(slice(b, 6025, 13), hex("0d 0008 0000 0000 0001 0000 ffff"));
  // The knot of "s": name, version 8, flags (balance 0 + 1 in bits 5-7),
  // class index 1; then its field record right after it.
  EXPECT_EQ(slice(b, 6038, 6), hex("06 01 73 08 20 01"));
  EXPECT_EQ(slice(b, 6044, 19), hex("13 0008 0002 0000 0003 0003 6869 0004 0000 ffff"));

  RLibPtr lib = RLIB_LoadFile(path_.c_str());
  ResPtr s = RES_Load("M", "s");
  EXPECT_STREQ(STRR_GetStr(s), "hi");
  EXPECT_EQ(RES_GetKnotOffset(s), 6038u);
  EXPECT_EQ(RES_GetResOffset(s), 6044u);
  RES_Release(s);
  RLIB_Unload(lib);
}

TEST_F(ResourceLibraryFile, HeaderChecksRefuseOtherFilesWithTheirMessages) {
  makeSmallLibrary(path_);
  Bytes original = fileBytes(path_);
  struct Case {
    size_t at;
    Bytes bytes;
    const char* message;
  } cases[] = {
      {0, hex("58"), "Wrong file type"},
      {4, hex("4f7468657200"), "File is a Other, expected a Resource Database"},
      {36, hex("03 01 01 02"), "Bad machine architecture: got SPARC, expected MIPS"},
      {36, hex("05 01 01 05"), "Bad major version number: got 5, expected 6"},
      {36, hex("03 01 01 05"), "Bad major version number: got 5, expected 6"},
      {40, hex("01"), "Bad major minor number: got 1, expected 0"},
  };
  for (const Case& c : cases) {
    Bytes bad = original;
    std::copy(c.bytes.begin(), c.bytes.end(), bad.begin() + static_cast<long>(c.at));
    std::string badFile = dir_.file("bad.dat");
    writeBytes(badFile, bad);
    EXPECT_EQ(tktest::failureOf([&] { RLIB_LoadFile(badFile.c_str()); }), std::string("Err -1: ") + c.message);
    EXPECT_EQ(RLIB_Find("g"), nullptr);
  }
  writeBytes(dir_.file("short.dat"), slice(original, 0, 30));
  EXPECT_EQ(tktest::failureOf([&] { RLIB_LoadFile(dir_.file("short.dat").c_str()); }), "Err -1: Wrong file type");

  // Only regular files are opened ("Cannot open file", BFile 0): a named
  // pipe with no writer would hold an opening read up for good.
  std::string pipe = dir_.file("pipe.dat");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& p : {pipe, dir_.path()})
    EXPECT_EQ(tktest::failureOf([&] { RLIB_LoadFile(p.c_str()); }).rfind("BFile 0:", 0), 0u) << p;

  // A library left open is not inherited by the programs this one starts.
  RLibPtr lib = RLIB_LoadFile(path_.c_str());
  ASSERT_NE(lib, nullptr);
  std::string listing = dir_.file("fds");
  std::string command = "ls -l /proc/self/fd/ > " + listing;
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(owbtest::readWholeFile(listing).find("g.dat"), std::string::npos);
  RLIB_Unload(lib);
}

// A class with a field of every type that files can hold.
RClasPtr allTypesClass() {
  if (RClasPtr cls = RCLAS_FindByName("TstAll")) return cls;
  const char* names[] = {"I16", "U16", "I32", "U32", "S", "V", "VA", "R", "R0", "RA", "D32", "D8", "D16"};
  Int types[] = {PFLD_INT16, PFLD_UINT16, PFLD_INT32,    PFLD_UINT32, PFLD_STR,    PFLD_VSTR,  PFLD_VSTRARRAY,
                 PFLD_RES,   PFLD_RES0,   PFLD_RESARRAY, PFLD_DATA32, PFLD_DATA8, PFLD_DATA16};
  return RCLAS_NewDataClass("TstAll", "TstMod", nullptr, 0, 0, 13, names, types);
}

PFldPtr fld(const char* name) { return RCLAS_FindField(allTypesClass(), name); }
const std::pair<const char*, long> kInts[] = {{"I16", -2}, {"U16", 65535}, {"I32", -100000}, {"U32", 4000000000L}};

TEST_F(ResourceLibraryFile, EveryFieldTypeAndReferencesAcrossLibrariesComeBack) {
  owbtest::ScopedEnv libraryPath("ND_PATH", dir_.path());
  RClasPtr cls = allTypesClass();
  {
    RLibPtr first = RLIB_CreateDatFile("first", dir_.file("first.dat").c_str());
    ResPtr module = RLIB_AddModuleKnot(first, "TstMod");
    ResPtr target = RES_NewSetNameClass("target", STRR_Class());
    RES_SetParent(target, module);
    STRR_SetStr(target, "pointed at");
    RLIB_AddExportRes(first, target, RLIB_EXPORTLAZY);
    RLIB_Save(first);

    RLibPtr second = RLIB_CreateDatFile("second", dir_.file("second.dat").c_str());
    ResPtr mod2 = RLIB_AddModuleKnot(second, "TstOther");
    ResPtr r = RES_NewSetNameClass("all", cls);
    RES_SetParent(r, mod2);
    ResPtr local = RES_NewSetNameClass("local", STRR_Class());
    RES_SetParent(local, mod2);
    for (auto& [name, value] : kInts) PFLD_SetInt(r, fld(name), value);
    PFLD_SetStr(r, fld("S"), "");
    PFLD_SetStr(r, fld("V"), "text");
    PFLD_SetStrs(r, fld("VA"), {"a", nullptr, ""});
    PFLD_SetRes(r, fld("R"), target);
    PFLD_SetRes(r, fld("R0"), nullptr);
    PFLD_SetResArray(r, fld("RA"), {local, nullptr, target});
    PFLD_SetData(r, fld("D32"), "\x01\x02\x03", 3);
    PFLD_SetData(r, fld("D8"), "", 0);
    PFLD_SetData(r, fld("D16"), "\xff", 1);
    RLIB_Save(second);
    RLIB_Unload(second);
    RLIB_Unload(first);
  }
  RLibPtr second = RLIB_LoadFile("second.dat");  // loads "first" through its import table
  ASSERT_NE(RLIB_Find("first"), nullptr);
  ResPtr r = RES_Load("TstOther", "all");
  for (auto& [name, value] : kInts) EXPECT_EQ(PFLD_GetInt(r, fld(name)), value) << name;
  EXPECT_STREQ(PFLD_GetStr(r, fld("S")), "");
  EXPECT_STREQ(PFLD_GetStr(r, fld("V")), "text");
  ASSERT_EQ(PFLD_GetStrCount(r, fld("VA")), 3);
  EXPECT_STREQ(PFLD_GetNthStr(r, fld("VA"), 0), "a");
  EXPECT_EQ(PFLD_GetNthStr(r, fld("VA"), 1), nullptr);  // length 0 reads back as null
  EXPECT_STREQ(PFLD_GetNthStr(r, fld("VA"), 2), "");
  ResPtr target = PFLD_GetRes(r, fld("R"));
  ASSERT_NE(target, nullptr);
  EXPECT_STREQ(STRR_GetStr(target), "pointed at");
  EXPECT_EQ(RES_GetLib(target), RLIB_Find("first"));
  EXPECT_EQ(PFLD_GetRes(r, fld("R0")), nullptr);
  ASSERT_EQ(PFLD_GetResCount(r, fld("RA")), 3);
  EXPECT_STREQ(RES_GetName(PFLD_GetNthRes(r, fld("RA"), 0)), "local");
  EXPECT_EQ(PFLD_GetNthRes(r, fld("RA"), 1), nullptr);
  EXPECT_EQ(PFLD_GetNthRes(r, fld("RA"), 2), target);  // one object for one name
  EXPECT_EQ(PFLD_GetData(r, fld("D32"))->Size, 3u);
  EXPECT_EQ(std::memcmp(PFLD_GetData(r, fld("D32"))->Data, "\x01\x02\x03", 3), 0);
  EXPECT_EQ(PFLD_GetData(r, fld("D8"))->Size, 0u);
  EXPECT_EQ(PFLD_GetData(r, fld("D16"))->Data[0], 0xff);
  RES_Release(r);
  RLIB_Unload(second);
}

TEST_F(ResourceLibraryFile, ASectionBeyondItsRoomContinuesAtTheEndAndReadsBackWhole) {
  {
    RLibPtr lib = RLIB_CreateDatFile("many", path_.c_str());
    for (int i = 0; i < 120; ++i) {
      char name[32];
      std::snprintf(name, sizeof name, "TstModule%03d", i);
      ResPtr module = RLIB_AddModuleKnot(lib, name);
      ResPtr s = RES_NewSetNameClass("s", STRR_Class());
      RES_SetParent(s, module);
      STRR_SetId(s, i);
    }
    RLIB_Save(lib);
    RLIB_Unload(lib);
  }
  Bytes b = fileBytes(path_);
  ASSERT_EQ(b[100], 0);
  EXPECT_NE(owbcoding::getU32(&b[105]), 0u) << "the module section has a continuation";
  RLibPtr lib = RLIB_LoadFile(path_.c_str());
  EXPECT_EQ(lib->Modules.size(), 120u);
  ResPtr last = RES_Load("TstModule119", "s");
  EXPECT_EQ(STRR_GetId(last), 119);
  RES_Release(last);
  RLIB_Unload(lib);
}

TEST_F(ResourceLibraryFile, SavingAgainChangesOnlyTheVersionAndLoadsLazily) {
  makeSmallLibrary(path_);
  Bytes before = fileBytes(path_);
  RLibPtr lib = RLIB_LoadEdit("g", path_.c_str());
  BKnotPtr module = BKNOT_FindModule("M");
  ASSERT_NE(module, nullptr);
  EXPECT_FALSE(module->ChildrenLoaded) << "nothing below a module is read at opening";
  RLIB_Save(lib);
  Bytes after = fileBytes(path_);
  ASSERT_EQ(after.size(), before.size());
  for (size_t i = 0; i < before.size(); ++i) {
    if (i == 76 || i == 77) continue;
    ASSERT_EQ(before[i], after[i]) << "byte " << i;
  }
  EXPECT_EQ(owbcoding::getU16(&after[76]), 2);

  // A changed resource is written again and read back.
  ResPtr s = RES_Load("M", "s");
  EXPECT_TRUE(module->ChildrenLoaded);
  STRR_SetStr(s, "a longer text than before, so that the record moves");
  RES_SetModified(s);
  RLIB_Save(lib);
  RES_Release(s);
  RLIB_Unload(lib);
  EXPECT_EQ(storedText(path_), "a longer text than before, so that the record moves");
}

// Loads every resource of every module of the library.
void loadEverything(RLibPtr lib) {
  for (BKnotPtr m : std::vector<BKnotPtr>(lib->Modules)) {
    ResPtr module = RLIB_GetModuleRes(m);
    RES_LoadDeepChildren(module);
  }
  for (size_t i = 0; i < lib->Exports.size(); ++i) RLIB_IndexToExportRes(lib, static_cast<Int>(i));
}

TEST_F(ResourceLibraryFile, DamagedFilesFailWithAMessageAndLeaveNothingLoaded) {
  {
    RLibPtr lib = RLIB_CreateDatFile("g", path_.c_str());
    ResPtr module = RLIB_AddModuleKnot(lib, "M");
    for (const char* name : {"a", "b", "c", "d"}) {
      ResPtr s = RES_NewSetNameClass(name, STRR_Class());
      RES_SetParent(s, module);
      STRR_SetStr(s, name);
    }
    ResPtr list = RES_NewSetNameClass("list", STRL_Class());
    RES_SetParent(list, RES_FindChild(module, "b"));
    STRL_AddStr(list, "x");
    RLIB_Save(lib);
    RLIB_Unload(lib);
  }
  Bytes good = fileBytes(path_);
  std::string bad = dir_.file("bad.dat");
  std::vector<RLibPtr> before = RLIB_GetAll();
  auto attempt = [&](const Bytes& bytes) {
    writeBytes(bad, bytes);
    std::string failure = tktest::failureOf([&] { loadEverything(RLIB_LoadFile(bad.c_str())); });
    for (RLibPtr lib : RLIB_GetAll())
      if (std::find(before.begin(), before.end(), lib) == before.end()) RLIB_Unload(lib);
    EXPECT_EQ(BKNOT_FindModule("M"), nullptr);
    return failure.substr(0, failure.find(':'));
  };
  // A cyclic continuation, a child count beyond the tree, a child tree
  // that starts in the module section, a field record outside the file.
  Bytes cyclic = good;
  owbcoding::putU32(&cyclic[69], 64);      // the identity block continues at itself
  owbcoding::putU16(&cyclic[73], 0x7fff);  // and its name runs on
  EXPECT_EQ(attempt(cyclic), "BFile 2");
  Bytes childCount = good;
  owbcoding::putU16(&childCount[114], 30000);
  EXPECT_EQ(attempt(childCount), "BKnot 2");
  Bytes selfTree = good;
  owbcoding::putU32(&selfTree[116], 100);
  EXPECT_NE(attempt(selfTree), "");
  Bytes outside = good;
  owbcoding::putU32(&outside[120], 0x7ffffff0);
  EXPECT_EQ(attempt(outside), "BFile 1");

  // Every truncation and every single-byte change of the sections and
  // records either loads or fails with a message: never a crash or a hang.
  for (size_t n = 0; n < good.size(); n += 61) attempt(slice(good, 0, n));
  auto interesting = [](size_t i) {
    return (i >= 64 && i < 140) || (i >= 1300 && i < 1420) || (i >= 2500 && i < 2520) ||
           (i >= 2700 && i < 2720) || i >= 6000;
  };
  for (size_t i = 0; i < good.size(); ++i) {
    if (!interesting(i)) continue;
    for (uint8_t v : {uint8_t(0x00), uint8_t(0xff), uint8_t(good[i] + 1)}) {
      Bytes mutated = good;
      mutated[i] = v;
      attempt(mutated);
    }
  }
  EXPECT_EQ(attempt(good), "");
}

// A library backed up, one record saved by itself, its knots walked, and
// the library disposed; the defaults notifier hears every save.
TEST_F(ResourceLibraryFile, BackupOneRecordSavedAloneKnotsAndDisposal) {
  makeSmallLibrary(path_);
  RLibPtr lib = RLIB_LoadEdit("g", path_.c_str());
  static int saves = 0;
  static RLibPtr savedLib = nullptr;
  NfierCBack heard = [](Int code, ClientPtr data, ClientPtr) {
    if (code == RLIB_NFYSAVING) ++saves, savedLib = static_cast<RLibPtr>(data);
  };
  NFIER_AddDS(RLIB_GetDefaultsNfier(), heard, nullptr);
  RLIB_Save(lib);
  NFIER_RemoveDS(RLIB_GetDefaultsNfier(), heard, nullptr);
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(savedLib, lib);

  std::string backup = RLIB_Backup(lib);
  EXPECT_EQ(backup, path_ + ".bak");
  EXPECT_EQ(fileBytes(backup), fileBytes(path_));
  ASSERT_EQ(mkdir((backup + ".part").c_str(), 0700), 0);
  EXPECT_EQ(tktest::failureOf([&] { RLIB_Backup(lib); }).rfind("RLib 15", 0), 0u);
  EXPECT_EQ(fileBytes(backup), fileBytes(path_)) << "a failed backup leaves the older one";
  rmdir((backup + ".part").c_str());

  BKnotPtr module = BKNOT_FindModule("M");
  BKnotPtr root = BKNOT_GetRoot(module);
  ASSERT_NE(root, nullptr);
  EXPECT_STREQ(BKNOT_GetName(root), "s");
  EXPECT_EQ(BKNOT_GetBFile(root), lib->File);
  EXPECT_EQ(BKNOT_GetRoot(root), nullptr);
  EXPECT_EQ(tktest::failureOf([] { BKNOT_NewSetNameClass("a.b", STRR_Class()); }).rfind("BKnot 3", 0), 0u);
  EXPECT_EQ(tktest::failureOf([] { RES_NewSetNameClass("", STRR_Class()); }).rfind("BKnot 3", 0), 0u);
  BKnotPtr fresh = BKNOT_NewSetNameClass("fine", STRR_Class());
  EXPECT_EQ(BKNOT_GetBFile(fresh), nullptr);
  BKNOT_Dispose(fresh);

  // A text of the same length is rewritten in place, and so is a longer
  // one in the last block of the file, which grows.
  ResPtr s = RES_Load("M", "s");
  UInt32 offset = RES_GetKnotOffset(s);
  STRR_SetStr(s, "ho");
  RES_SaveRec(lib, s);
  EXPECT_EQ(RES_GetKnotOffset(s), offset);
  RLIB_Close(lib);
  Bytes after = fileBytes(path_);
  EXPECT_EQ(after.size(), fileBytes(backup).size());
  EXPECT_NE(after, fileBytes(backup));
  RLIB_ForceRWOpen(1);
  RLIB_Open(lib);
  RLIB_ForceRWOpen(0);
  STRR_SetStr(s, "a text long enough to need a new block");
  RES_SaveRec(lib, s);
  EXPECT_EQ(RES_GetKnotOffset(s), offset);
  RLIB_Close(lib);
  RES_Release(s);
  RLIB_Dispose(lib);
  EXPECT_EQ(RLIB_Find("g"), nullptr);

  EXPECT_EQ(storedText(path_), "a text long enough to need a new block");
  EXPECT_EQ(storedText(backup), "hi");
}

}  // namespace
