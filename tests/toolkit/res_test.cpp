// Resource objects: sharing and copies, counting, parents, notification,
// templates, and children ordered by Index.
#include <gtest/gtest.h>

#include "tests/testsupport.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/bknot.h"
#include "toolkit/pfld.h"
#include "toolkit/strres.h"
#include "toolkit/wgtarray.h"

namespace {

// A widget-like class: an Index, a label, and a template.
RClasPtr wgtClass() {
  if (RClasPtr cls = RCLAS_FindByName("TstWgt")) return cls;
  const char* names[] = {"Index", "Label", "Width"};
  Int types[] = {PFLD_INT16, PFLD_VSTR, PFLD_INT16};
  return RCLAS_NewDataClass("TstWgt", "TstWidgets", nullptr, 0, 0, 3, names, types);
}

PFldPtr fld(const char* name) { return RCLAS_FindField(wgtClass(), name); }

ResPtr addWgt(ResPtr parent, const char* name, int index) {
  ResPtr w = RES_NewSetNameClass(name, wgtClass());
  RES_SetParent(w, parent);
  PFLD_SetInt(w, fld("Index"), index);
  PFLD_SetStr(w, fld("Label"), name);
  return w;
}

// Library "wgts": module TstWidgets with a template, a window "win" whose
// children are named against their Index order, and a panel inside.
std::string makeWidgetLibrary(const owbtest::TempDir& dir) {
  std::string path = dir.file("wgts.dat");
  RLibPtr lib = RLIB_CreateDatFile("wgts", path.c_str());
  ResPtr module = RLIB_AddModuleKnot(lib, "TstWidgets");
  ResPtr tmpl = RES_NewSetNameClass("TstWgtTemplate", wgtClass());
  RES_SetParent(tmpl, module);
  PFLD_SetInt(tmpl, fld("Width"), 80);
  RCLAS_SetTemplate(wgtClass(), tmpl);
  ResPtr win = addWgt(module, "win", 0);
  addWgt(win, "zeta", 0);
  addWgt(win, "alpha", 2);
  ResPtr panel = addWgt(win, "middle", 1);
  addWgt(panel, "b", 0);
  addWgt(panel, "a", 1);
  ResPtr bad = addWgt(module, "bad", 0);
  addWgt(bad, "one", 1);
  addWgt(bad, "two", 1);
  RLIB_Save(lib);
  RLIB_Unload(lib);
  return path;
}

// A test of the widget library: made in a directory of its own and loaded;
// the scope unloads it with whatever else the test loaded.
class WidgetLibrary : public ::testing::Test {
 protected:
  tktest::LibraryScope scope_;
  owbtest::TempDir dir_;
  RLibPtr lib_ = RLIB_LoadFile(makeWidgetLibrary(dir_).c_str());
};

TEST_F(WidgetLibrary, LoadSharesOneObjectAndDetachedLoadsMakeCopies) {
  ResPtr a = RES_Load("TstWidgets", "win");
  ResPtr b = RES_Load("TstWidgets", "win");
  EXPECT_EQ(a, b);
  EXPECT_EQ(RES_GetRefCount(a), 2);
  EXPECT_TRUE(RES_IsAttached(a));
  ResPtr c = RES_LoadDetach("TstWidgets", "win");
  ResPtr d = RES_LoadDetach("TstWidgets", "win");
  EXPECT_NE(c, d);
  EXPECT_NE(c, a);
  EXPECT_FALSE(RES_IsAttached(c));
  EXPECT_EQ(RES_GetRefCount(c), 1);
  EXPECT_EQ(RES_QueryFullName(d), "TstWidgets.win");
  // The template gave Width, the record only what differs from it.
  EXPECT_EQ(PFLD_GetInt(c, fld("Width")), 80);
  EXPECT_EQ(tktest::failureOf([] { RES_Load("TstWidgets", "nothing"); }).substr(0, 5), "Res 1");
  EXPECT_EQ(RES_Find("TstWidgets", "nothing"), nullptr);
  for (ResPtr r : {a, b, c, d}) RES_Release(r);
}

TEST(Resources, CountsChildrenAndNamesBehaveAtTheirEdges) {
  tktest::LibraryScope scope;
  ResPtr r = RES_Create(STRR_Class());
  EXPECT_STREQ(RES_GetName(r), "<unknown>");
  EXPECT_EQ(RES_GetNthChild(r, 0), nullptr);  // no child array at all
  ResPtr child = RES_Create(STRR_Class());
  RES_SetParent(child, r);
  EXPECT_EQ(RES_GetNthChild(r, 0), child);
  EXPECT_EQ(RES_GetNthChild(r, 1), nullptr);
  EXPECT_EQ(RES_GetNthChild(r, -1), nullptr);
  while (RES_GetRefCount(r) != kResImmortal) RES_Use(r);
  RES_Release(r);
  RES_Release(r);
  EXPECT_EQ(RES_GetRefCount(r), kResImmortal);  // never freed
  r->ResPrivate5 = 1;  // let the test free it
  RES_Release(r);
  ResPtr named = RES_CreateNamed(STRL_Class());
  EXPECT_STREQ(RES_GetName(named), "StrL1");
  EXPECT_TRUE(RES_IsNameDefault(named));
  EXPECT_EQ(tktest::failureOf([&] { RES_CheckClass(named, STRR_Class()); }).substr(0, 5), "Res 4");
  EXPECT_EQ(tktest::failureOf([&] { RES_CheckClass(nullptr, STRR_Class()); }).substr(0, 5), "Res 5");
  STRL_AddStr(named, "b");
  STRL_AddStrAtIndex(named, "a", 0);
  STRL_AddStrAtIndex(named, "c", 9);
  EXPECT_EQ(STRL_GetLen(named), 3);
  EXPECT_STREQ(STRL_GetNthStr(named, 0), "a");
  EXPECT_STREQ(STRL_GetNthStr(named, 2), "c");
  EXPECT_EQ(STRL_GetNthStr(named, 3), nullptr);
  STRL_RemoveIndex(named, 1);
  EXPECT_STREQ(STRL_GetNthStr(named, 1), "c");
  RES_Release(named);
}

TEST(Resources, ParentsMoveKnotsAndNumberAClash) {
  tktest::LibraryScope scope;
  owbtest::TempDir dir;
  RLibPtr lib = RLIB_CreateDatFile("moves", dir.file("moves.dat").c_str());
  ResPtr module = RLIB_AddModuleKnot(lib, "TstMoves");
  ResPtr one = RES_NewSetNameClass("item", STRR_Class());
  RES_SetParent(one, module);
  ResPtr two = RES_NewSetNameClass("item", STRR_Class());
  RES_SetParent(two, module);
  EXPECT_STREQ(RES_GetName(two), "item1");
  ResPtr three = RES_NewSetNameClass("item7", STRR_Class());
  RES_SetParent(three, module);
  ResPtr four = RES_NewSetNameClass("item7", STRR_Class());
  RES_SetParent(four, module);
  EXPECT_STREQ(RES_GetName(four), "item2");  // digits cut, then numbered
  EXPECT_EQ(RES_GetNumChildren(module), 4);
  RES_SetParent(two, one);
  EXPECT_EQ(RES_GetNumChildren(module), 3);
  EXPECT_EQ(RES_QueryFullName(two), "TstMoves.item.item1");
  EXPECT_TRUE(RES_IsAttached(two));
  EXPECT_EQ(BKNOT_Find("TstMoves", "item.item1"), two->ResPrivate);
  RES_Delete(four);
  EXPECT_EQ(BKNOT_Find("TstMoves", "item2"), nullptr);
  RLIB_Unload(lib);
}

TEST(Resources, NotificationsAndTheLockedSendSurviveAReleasingHandler) {
  tktest::LibraryScope scope;
  ResPtr r = RES_Create(STRR_Class());
  EXPECT_FALSE(r->ResInitialized);
  RES_DefNfy(r, RES_NFYINIT, nullptr);
  EXPECT_TRUE(r->ResInitialized);
  static std::vector<Int> seen;
  seen.clear();
  RES_SetNfyProcDS(
      r,
      [](ResPtr res, Int message, ClientPtr data) -> long {
        seen.push_back(message);
        return RES_DefNfy(res, message, data);
      },
      nullptr);
  RES_DefNfy(r, RES_NFYRESET, nullptr);
  EXPECT_EQ(seen, (std::vector<Int>{RES_NFYEND, RES_NFYINIT}));

  // A handler sees the data; NfyData is restored while others hold the object.
  int payload = 7;
  r->NfyData = &seen;
  RES_SetNfyProcDS(
      r, [](ResPtr res, Int, ClientPtr data) -> long { return res->NfyData == data ? *static_cast<int*>(data) : -1; },
      nullptr);
  EXPECT_EQ(RES_LockedSendNfyData(r, 150, &payload), 7);
  EXPECT_EQ(r->NfyData, &seen);
  // A handler that releases the last other reference: the object goes
  // with the send's own release, and nothing is written into it after.
  RES_SetNfyProcDS(
      r,
      [](ResPtr res, Int message, ClientPtr data) -> long {
        if (message != 150) return RES_DefNfy(res, message, data);
        RES_Release(res);
        return 1;
      },
      nullptr);
  EXPECT_EQ(RES_LockedSendNfyData(r, 150, &payload), 1);
}

TEST_F(WidgetLibrary, ATemplateLoadedTwiceGivesTwoTreesOrderedByIndex) {
  ResPtr first = RES_LoadDeepDetach("TstWidgets", "win");
  ResPtr second = RES_LoadDeepDetach("TstWidgets", "win");
  // Loaded in name order.
  EXPECT_STREQ(RES_GetName(RES_GetNthChild(first, 0)), "alpha");
  static std::vector<std::pair<ResPtr, ResPtr>> links;
  links.clear();
  PANEL_SetWgtLinkProc([](ResPtr child, ResPtr panel, ResPtr win) {
    links.emplace_back(child, panel);
    (void)win;
  });
  PANEL_BuildWgtArray(first);
  PANEL_BuildWgtArray(second);
  PANEL_SetWgtLinkProc(nullptr);
  for (ResPtr win : {first, second}) {
    ASSERT_EQ(RES_GetNumChildren(win), 3);
    ResPtr panel = RES_GetNthChild(win, 1);
    std::string names;
    for (ResPtr r : {RES_GetNthChild(win, 0), panel, RES_GetNthChild(win, 2), RES_GetNthChild(panel, 0),
                     RES_GetNthChild(panel, 1)})
      names += std::string(RES_GetName(r)) + " ";
    EXPECT_EQ(names, "zeta middle alpha b a ");
    EXPECT_EQ(RES_GetParent(RES_GetNthChild(panel, 0)), panel);
  }
  EXPECT_NE(RES_GetNthChild(first, 1), RES_GetNthChild(second, 1));  // two live trees
  EXPECT_EQ(links.size(), 10u);
  // Changing one copy leaves the other as it was.
  PFLD_SetStr(RES_GetNthChild(first, 0), fld("Label"), "changed");
  EXPECT_STREQ(PFLD_GetStr(RES_GetNthChild(second, 0), fld("Label")), "zeta");

  ResPtr bad = RES_LoadDeepDetach("TstWidgets", "bad");
  EXPECT_EQ(tktest::failureOf([&] { PANEL_BuildWgtArray(bad); }).substr(0, 7), "Panel 1");
  PFLD_SetInt(RES_GetNthChild(bad, 1), fld("Index"), 5);
  EXPECT_EQ(tktest::failureOf([&] { PANEL_BuildWgtArray(bad); }).substr(0, 7), "Panel 0");
  EXPECT_STREQ(RES_GetName(RES_GetNthChild(bad, 0)), "one");  // left as it was
  for (ResPtr r : {first, second, bad}) RES_Release(r);
}

// Script hooks and reloading: what a scripting layer plugs in is called,
// and without it the calls fail with a message; a reload forgets changes.
ResPtr sScriptRes = nullptr;
std::string sScriptText;
long recordScript(ResPtr res, const char* script) {
  sScriptRes = res;
  sScriptText = script;
  return 42;
}

TEST_F(WidgetLibrary, ScriptHooksAndReload) {
  ResPtr win = RES_Load("TstWidgets", "win");
  auto noScripting = [&] {
    return tktest::failureOf([&] { RES_CompileScript(win, "x"); }).rfind("Res 6", 0) == 0 &&
           tktest::failureOf([&] { RES_ExecuteScript(win, "x"); }).rfind("Res 6", 0) == 0;
  };
  EXPECT_TRUE(noScripting());
  RES_SetCompileScriptProc(recordScript);
  RES_SetExecuteScriptProc(recordScript);
  EXPECT_EQ(RES_CompileScript(win, "compile me"), 42);
  EXPECT_EQ(sScriptRes, win);
  EXPECT_EQ(sScriptText, "compile me");
  EXPECT_EQ(RES_ExecuteScript(win, "run me"), 42);
  EXPECT_EQ(sScriptText, "run me");
  RES_SetCompileScriptProc(nullptr);
  RES_SetExecuteScriptProc(nullptr);
  EXPECT_TRUE(noScripting());

  PFLD_SetStr(win, fld("Label"), "changed");
  PFLD_SetInt(win, fld("Width"), 5);
  RES_Reload(win);
  EXPECT_STREQ(PFLD_GetStr(win, fld("Label")), "win");
  EXPECT_EQ(PFLD_GetInt(win, fld("Width")), 80);
  ResPtr unnamed = RES_Create(wgtClass());
  EXPECT_EQ(tktest::failureOf([&] { RES_Reload(unnamed); }).rfind("Res 0", 0), 0u);
  RES_Release(unnamed);
  RES_Release(win);
}

}  // namespace
