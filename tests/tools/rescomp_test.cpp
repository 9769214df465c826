// The resource compiler as a program: source to library to source, its
// messages, and the installation's libraries against their sources.
#include <gtest/gtest.h>

#include "tests/toolkit/tktest.h"

namespace {

// The source without comments and blank lines: the form the dump writes.
std::string canonical(const std::string& source) {
  std::istringstream in(source);
  std::string line, out;
  while (std::getline(in, line))
    if (!line.empty() && line[0] != '#') out += line + "\n";
  return out;
}

const char* kSource = R"(library "tst"

class TstShape module TstShapes version 2 {
  Sides Int16
  Name VStr
  Next Res0
  Bits Data8
}

module TstShapes {
  TstShape TstShapeTemplate template {
    Sides = 4
  }
  TstShape square export {
    Name = "square"
    Next = ref "TstShapes.tri"
  }
  TstShape tri export {
    Sides = 3
    Name = "three \"sides\"\n"
    Bits = data "00ff"
    StrL corners {
      Text = [
        "a",
        null,
        ""
      ]
    }
  }
}
)";

TEST(ResourceCompiler, SourceToLibraryToSourceIsExact) {
  owbtest::TempDir dir;
  owbtest::writeWholeFile(dir.file("tst.rsrc"), kSource);
  std::string out;
  ASSERT_EQ(tktest::runRescomp("-o " + dir.file("tst.dat") + " " + dir.file("tst.rsrc"), &out), 0) << out;
  ASSERT_EQ(tktest::runRescomp("--dump " + dir.file("tst.dat") + " -o " + dir.file("back.rsrc"), &out), 0) << out;
  EXPECT_EQ(canonical(owbtest::readWholeFile(dir.file("back.rsrc"))), canonical(kSource));
  // Compiling the dump gives the same bytes.
  std::string again = dir.path() + "/again";
  ASSERT_EQ(mkdir(again.c_str(), 0755), 0);
  ASSERT_EQ(tktest::runRescomp("-o " + again + "/tst.dat " + dir.file("back.rsrc"), &out), 0) << out;
  EXPECT_EQ(owbtest::readWholeFile(again + "/tst.dat"), owbtest::readWholeFile(dir.file("tst.dat")));
}

TEST(ResourceCompiler, MistakesNameTheLineAndLeaveNoFile) {
  owbtest::TempDir dir;
  struct Case {
    const char* source;
    const char* message;
  } cases[] = {
      {"library \"x\"\nmodule M {\n  Nope n {\n  }\n}\n", "bad.rsrc:3: unknown class Nope"},
      {"library \"x\"\nmodule M {\n  StrR s {\n    Id = \"one\"\n  }\n}\n", "bad.rsrc:4: wrong value for Id (Int16)"},
      {"library \"x\"\nmodule M {\n  StrR s {\n    Text = ref \"M.none\"\n  }\n}\n",
       "bad.rsrc:4: wrong value for Text (VStr)"},
      {"library \"x\"\nclass C module M {\n  L StrArray\n}\n", "bad.rsrc:3: StrArray fields cannot be stored"},
      {"module M {\n}\n", "bad.rsrc:1: the library statement must come first"},
      {"library \"x\"\nmodule M {\n}\nclass C module Elsewhere {\n}\n",
       "bad.rsrc:4: class C names module Elsewhere, which is not a module of this library"},
      {"library \"x\"\nmodule M {\n  StrR s {\n  }\n  StrR s {\n  }\n}\n", "bad.rsrc:5: duplicate resource s"},
      {"library \"x\"\nmodule M {\n  StrR s {\n    Text = \"open\n  }\n}\n", "bad.rsrc:4: unterminated string"},
      {"library \"\\x00x\"\nmodule M {\n}\n", "bad.rsrc:1: a name cannot hold a NUL byte"},
      {"library \"x\"\nmodule \"\" {\n}\n", "bad.rsrc:2: a name cannot be empty"},
  };
  for (const Case& c : cases) {
    owbtest::writeWholeFile(dir.file("bad.rsrc"), c.source);
    std::string out;
    EXPECT_EQ(tktest::runRescomp("-o " + dir.file("bad.dat") + " " + dir.file("bad.rsrc"), &out), 1);
    EXPECT_NE(out.find(c.message), std::string::npos) << out;
    EXPECT_FALSE(owbtest::readWholeFile(dir.file("bad.dat")).size()) << c.source;
  }
}

// Resources or lists nested 20 000 deep are refused at the line that went
// too deep; as deep as a library can hold still compiles.
TEST(ResourceCompiler, DeepNestingIsRefusedAtItsLine) {
  owbtest::TempDir dir;
  auto nested = [](int levels) {
    std::string source = "library \"x\"\nmodule M {\n";
    for (int i = 0; i < levels; ++i) source += "StrL a" + std::to_string(i) + " {\n";
    for (int i = 0; i < levels; ++i) source += "}\n";
    return source + "}\n";
  };
  std::string out;
  owbtest::writeWholeFile(dir.file("deep.rsrc"), nested(20000));
  EXPECT_EQ(tktest::runRescomp("-o " + dir.file("deep.dat") + " " + dir.file("deep.rsrc"), &out), 1);
  EXPECT_NE(out.find("deep.rsrc:66: resources nested deeper than 63 levels"), std::string::npos) << out.substr(0, 300);
  owbtest::writeWholeFile(dir.file("list.rsrc"), "library \"x\"\nmodule M {\n StrL x {\n  Text = " +
                                                     std::string(20000, '[') + std::string(20000, ']') + "\n }\n}\n");
  EXPECT_EQ(tktest::runRescomp("-o " + dir.file("list.dat") + " " + dir.file("list.rsrc"), &out), 1);
  EXPECT_NE(out.find("list.rsrc:4: lists nested deeper than 63 levels"), std::string::npos) << out.substr(0, 300);
  owbtest::writeWholeFile(dir.file("held.rsrc"), nested(63));
  EXPECT_EQ(tktest::runRescomp("-o " + dir.file("held.dat") + " " + dir.file("held.rsrc"), &out), 0) << out;
  EXPECT_EQ(tktest::runRescomp("--dump " + dir.file("held.dat"), &out), 0) << out.substr(0, 300);
}

// Without the message libraries loaded, failures are still worded, and
// what a damaged file holds is shown as text.
TEST(ResourceCompiler, FailuresAreWordedAndDamagedNamesPrintable) {
  owbtest::TempDir dir;
  owbtest::ScopedEnv searchPath("ND_PATH", dir.path());
  owbtest::writeWholeFile(dir.file("ok.rsrc"), "library \"ok\"\nmodule M {\n StrL x {\n  Text = [\"a\"]\n }\n}\n");
  std::string out;
  ASSERT_EQ(tktest::runRescomp("-o " + dir.file("ok.dat") + " " + dir.file("ok.rsrc"), &out), 0) << out;
  const std::string good = owbtest::readWholeFile(dir.file("ok.dat"));
  ASSERT_GT(good.size(), 0x60u);

  auto dumpFails = [&](const std::string& name) {
    std::string said;
    EXPECT_EQ(tktest::runRescomp("--dump " + dir.file(name), &said), 1) << name;
    EXPECT_EQ(said.find("Unknown error"), std::string::npos) << said;
    EXPECT_EQ(said.find('\x1b'), std::string::npos) << name;
    return said;
  };
  EXPECT_NE(dumpFails("none.dat").find("Cannot open file \"" + dir.file("none.dat") + "\""), std::string::npos);
  owbtest::writeWholeFile(dir.file("short.dat"), good.substr(0, 0x60));
  EXPECT_NE(dumpFails("short.dat").find("Block at offset 64 lies outside the file"), std::string::npos);
  std::string named = good;
  named[4] = '\x1b';
  named[5] = '\xff';
  owbtest::writeWholeFile(dir.file("named.dat"), named);
  EXPECT_NE(dumpFails("named.dat").find("File is a \\x1b\\xffsource Database, expected a Resource Database"),
            std::string::npos);
}

TEST(ResourceCompiler, TheInstalledLibrariesDumpToTheirSources) {
  std::string sources = owbtest::sourceDir() + "/resources/";
  for (const char* lib : {"nd", "ndcore", "ndres", "ndvgm", "ndtkit", "ndgw", "shared"}) {
    std::string out;
    ASSERT_EQ(tktest::runRescomp("-I " + tktest::resourceDir() + " --dump " + tktest::resourceDir() + "/" + lib + ".dat",
                                 &out),
              0)
        << out;
    EXPECT_EQ(canonical(out), canonical(owbtest::readWholeFile(sources + lib + ".rsrc"))) << lib;
  }
}

}  // namespace
