// Resource classes made and changed at run time: the text form, clones,
// pools and the walk over instances, and the display name.
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/testsupport.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/res.h"
#include "toolkit/strres.h"

namespace {

const char* kShapeText =
    "class TstShape : Res module TstShapes version 3 {\n"
    "  Width Int16\n"
    "  Label VStr\n"
    "}\n";

struct CountingPool {
  int allocs = 0, frees = 0;
  static void* alloc(size_t size, ClientPtr data) {
    static_cast<CountingPool*>(data)->allocs++;
    return std::malloc(size);
  }
  static void release(void* block, ClientPtr data) {
    static_cast<CountingPool*>(data)->frees++;
    std::free(block);
  }
};

TEST(ResourceClasses, TextFormClonesPoolsInstancesAndEditing) {
  tktest::LibraryScope scope;
  RClasPtr shape = RCLAS_ParseCompile(("# a shape\n" + std::string(kShapeText)).c_str());
  ASSERT_NE(shape, nullptr);
  EXPECT_TRUE(RCLAS_IsEditable(shape));
  EXPECT_FALSE(RCLAS_IsEditable(RES_Class()));
  EXPECT_EQ(RCLAS_ParseOutput(shape), kShapeText);
  EXPECT_EQ(RCLAS_FindField(shape, "label")->Type, PFLD_VSTR);

  // Text it cannot read names the line; a taken name and an unknown parent
  // have their own messages.
  for (const char* bad : {"class TstA {\n  W Float\n}", "class TstA {\n W Int16\n W Int16 }", "class TstA { W Int16",
                          "class TstA version 300 { }"})
    EXPECT_EQ(tktest::failureOf([&] { RCLAS_ParseCompile(bad); }).rfind("RClas 14", 0), 0u) << bad;
  EXPECT_EQ(tktest::failureOf([] { RCLAS_ParseCompile("class TstA : NoSuchClass { }"); }).rfind("RClas 6", 0), 0u);
  EXPECT_EQ(tktest::failureOf([] { RCLAS_ParseCompile(kShapeText); }).rfind("RClas 0", 0), 0u);
  EXPECT_EQ(RCLAS_FindByName("TstA"), nullptr);

  RClasPtr copy = RCLAS_Clone(shape, "TstShapeCopy");
  std::string copyText = kShapeText;
  copyText.replace(6, 8, "TstShapeCopy");
  EXPECT_EQ(RCLAS_ParseOutput(copy), copyText);
  RClasPtr sub = RCLAS_NewSetParentAndModule("TstSquare", shape, "TstShapes");
  EXPECT_EQ(sub->SizeOfRes, shape->SizeOfRes);
  EXPECT_EQ(RCLAS_GetVersion(sub), 8);

  CountingPool pool;
  _RClasPoolRec poolRec{CountingPool::alloc, CountingPool::release, &pool};
  RCLAS_SetMemPool(copy, &poolRec);
  ResPtr a = RES_Create(copy);
  ResPtr b = RES_Create(copy);
  EXPECT_EQ(pool.allocs, 2);
  EXPECT_EQ(RCLAS_GetResFirst(copy), a);
  EXPECT_EQ(RCLAS_GetResNext(copy, a), b);
  EXPECT_EQ(RCLAS_GetResNext(copy, b), nullptr);
  EXPECT_EQ(RCLAS_GetResFirst(shape), nullptr) << "instances are counted by their own class";
  EXPECT_EQ(tktest::failureOf([&] { RCLAS_SetMemPool(copy, nullptr); }).rfind("RClas 13", 0), 0u);
  const char* names[] = {"Height"};
  Int types[] = {PFLD_INT32};
  EXPECT_EQ(tktest::failureOf([&] { RCLAS_Update(copy, 1, names, types); }).rfind("RClas 13", 0), 0u);
  RES_Release(a);
  EXPECT_EQ(RCLAS_GetResFirst(copy), b);
  RES_Release(b);
  EXPECT_EQ(pool.frees, 2);

  // Changing the class in place moves the instance to the other list.
  ResPtr s = RES_Create(shape);
  RES_ChangeClass(s, sub);
  EXPECT_EQ(s->ResClass, sub);
  EXPECT_EQ(RCLAS_GetResFirst(sub), s);
  EXPECT_EQ(RCLAS_GetResFirst(shape), nullptr);
  EXPECT_EQ(tktest::failureOf([&] { RES_ChangeClass(s, STRR_Class()); }).rfind("Res 7", 0), 0u);
  RES_Release(s);

  // Without instances a class can change shape or go away; with a
  // subclass it cannot, nor can a class of the code.
  RCLAS_SetMemPool(copy, nullptr);
  RCLAS_Update(copy, 1, names, types);
  EXPECT_NE(RCLAS_FindField(copy, "Height"), nullptr);
  EXPECT_EQ(RCLAS_FindField(copy, "Width"), nullptr);
  RCLAS_Dispose(copy);
  EXPECT_EQ(RCLAS_FindByName("TstShapeCopy"), nullptr);
  EXPECT_EQ(tktest::failureOf([&] { RCLAS_Dispose(shape); }).rfind("RClas 13", 0), 0u);
  EXPECT_EQ(tktest::failureOf([] { RCLAS_Dispose(RES_Class()); }).rfind("RClas 13", 0), 0u);
  RCLAS_Dispose(sub);
  RCLAS_Dispose(shape);
  for (RClasPtr c = RCLAS_GetFirst(); c; c = RCLAS_GetNext(c)) EXPECT_STRNE(c->Name, "TstShape");
}

TEST(ResourceClasses, TheDisplayNameIsTheModulesStringOfTheClassOrItsName) {
  tktest::LibraryScope scope;
  RClasPtr cls = RCLAS_NewSetParentAndModule("TstGadget", nullptr, "TstGadgets");
  EXPECT_EQ(RCLAS_QueryDispName(cls, nullptr), "TstGadget");
  owbtest::TempDir dir;
  RLibPtr lib = RLIB_CreateDatFile("tstgadgets", dir.file("gadgets.dat").c_str());
  ResPtr module = RLIB_AddModuleKnot(lib, "TstGadgets");
  ResPtr name = RES_NewSetNameClass("TstGadgetClassName", STRR_Class());
  STRR_SetStr(name, "Gadget");
  RES_SetParent(name, module);
  EXPECT_EQ(RCLAS_QueryDispName(cls, nullptr), "Gadget");
  RLIB_Dispose(lib);
  RCLAS_Dispose(cls);
}

}  // namespace
