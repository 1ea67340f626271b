#include <gtest/gtest.h>

#include <functional>

#include "base/error.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/vsdx/zip_support.h"

namespace ohmwise::embedded {
namespace {

const std::string kPage = "<PageContents><Shapes><Shape ID='1'/></Shapes></PageContents>";

using Entries = std::vector<ZipEntry>;

ZipEntry& Part(Entries& entries, const std::string& name) {
  for (ZipEntry& entry : entries) {
    if (entry.name == name) return entry;
  }
  return entries.emplace_back(ZipEntry{name, ""});
}

void Replace(std::string& text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  text.replace(at, from.size(), to);
}

std::string Nested(int depth) {
  std::string out = "<PageContents>";
  for (int i = 1; i < depth; ++i) out += "<a>";
  for (int i = 1; i < depth; ++i) out += "</a>";
  return out + "</PageContents>";
}

struct Refusal {
  const char* what;
  std::function<void(Entries&, PackageLimits&)> spoil;
  const char* fragment;  // nullptr: it only looks odd and is read
};

TEST(HostileTest, RefusedWithOneSentence) {
  const Refusal table[] = {
      {"nothing wrong", [](Entries&, PackageLimits&) {}, nullptr},
      {"entries at the limit",
       [](Entries& e, PackageLimits& l) { l.entries = static_cast<uint32_t>(e.size()); }, nullptr},
      {"too many entries",
       [](Entries& e, PackageLimits& l) { l.entries = static_cast<uint32_t>(e.size()) - 1; },
       "more than 10 entries"},
      {"large part", [](Entries&, PackageLimits& l) { l.part_bytes = 100; }, "limit of 100 bytes"},
      {"large in total", [](Entries&, PackageLimits& l) { l.total_bytes = 1000; }, "together"},
      {"small bomb is exempt",
       [](Entries& e, PackageLimits&) {
         Part(e, "visio/sheets/first.xml").data = std::string(100u << 10, ' ');
         Part(e, "visio/sheets/first.xml").data.replace(0, kPage.size(), kPage);
       },
       nullptr},
      {"bomb",
       [](Entries& e, PackageLimits&) {
         Part(e, "visio/sheets/first.xml").data = kPage + std::string(1u << 20, ' ');
       },
       "compressed more than 100:1"},
      {"bomb that lies about its size",
       [](Entries& e, PackageLimits&) {
         Part(e, "visio/sheets/first.xml").data = kPage + std::string(1u << 20, ' ');
         Part(e, "visio/sheets/first.xml").claimed_size = 1000;
       },
       "first.xml\": the part is"},
      {"nesting at the limit",
       [](Entries& e, PackageLimits&) { Part(e, "visio/sheets/first.xml").data = Nested(256); },
       nullptr},
      {"nesting beyond",
       [](Entries& e, PackageLimits&) { Part(e, "visio/sheets/first.xml").data = Nested(257); },
       "nested deeper than 256"},
      {"items at the limit", [](Entries&, PackageLimits& l) { l.xml_items = 13; }, nullptr},
      {"too many items", [](Entries&, PackageLimits& l) { l.xml_items = 3; },
       "more than 3 elements"},
      {"line end in a name",
       [](Entries& e, PackageLimits&) {
         e.push_back({"a\n/..", ""});
       },
       "a?/.."},
      {"entry outside",
       [](Entries& e, PackageLimits&) {
         e.push_back({"visio/../../x", ""});
       },
       "leads out"},
      {"entry outside, other slashes",
       [](Entries& e, PackageLimits&) {
         e.push_back({"..\\x", ""});
       },
       "leads out"},
      {"target outside",
       [](Entries& e, PackageLimits&) {
         Replace(Part(e, "visio/_rels/document.xml.rels").data, "sheets/all", "../../all");
       },
       "leads out"},
      {"dots that stay inside",
       [](Entries& e, PackageLimits&) {
         Replace(Part(e, "visio/_rels/document.xml.rels").data, "sheets/all",
                 "../visio/./sheets/all");
       },
       nullptr},
      {"target in other letters and escapes",
       [](Entries& e, PackageLimits&) {
         Replace(Part(e, "visio/_rels/document.xml.rels").data, "sheets/all", "Sheets/%61ll");
       },
       nullptr},
      {"same name twice",
       [](Entries& e, PackageLimits&) {
         e.push_back({"docProps/keep.bin", ""});
       },
       "two entries of this name"},
      {"encrypted", [](Entries& e, PackageLimits&) { Part(e, "docProps/keep.bin").flags = 1; },
       "encrypted"},
      {"DOCTYPE",
       [](Entries& e, PackageLimits&) {
         std::string& page = Part(e, "visio/sheets/first.xml").data;
         page = "<!DOCTYPE a [<!ENTITY b 'c'>]>" + page;
       },
       "DOCTYPE"},
      {"DOCTYPE in a comment",
       [](Entries& e, PackageLimits&) {
         std::string& page = Part(e, "visio/sheets/first.xml").data;
         page = "<!-- <!DOCTYPE a> -->" + page;
       },
       nullptr},
      {"page leads back to the list",
       [](Entries& e, PackageLimits&) {
         Replace(Part(e, "visio/sheets/_rels/all.xml.rels").data, "first.xml", "all.xml");
       },
       "cyclic"},
      {"page refers to the list of pages",
       [](Entries& e, PackageLimits&) {
         std::string rels = Part(e, "visio/sheets/_rels/all.xml.rels").data;
         Replace(rels, "first.xml", "all.xml");
         Part(e, "visio/sheets/_rels/first.xml.rels").data = rels;
       },
       "cyclic"},
      {"page is a master",
       [](Entries& e, PackageLimits&) {
         Replace(Part(e, "visio/sheets/_rels/all.xml.rels").data, "first.xml",
                 "../stamps/stamp.xml");
       },
       "share the part"},
      {"no relationship to a document",
       [](Entries& e, PackageLimits&) { Part(e, "_rels/.rels").data = "<Relationships/>"; },
       "main part"},
      {"main part missing",
       [](Entries& e, PackageLimits&) { Part(e, "visio/document.xml").name = "visio/other.xml"; },
       "document.xml\": the main part of the drawing is missing"},
      {"page part missing",
       [](Entries& e, PackageLimits&) { Part(e, "visio/sheets/first.xml").name = "visio/other"; },
       "first.xml\": the part is missing"},
      {"main part of another kind",
       [](Entries& e, PackageLimits&) { Part(e, "visio/document.xml").data = "<w:document/>"; },
       "should hold \"VisioDocument\""},
      {"broken XML",
       [](Entries& e, PackageLimits&) {
         Part(e, "visio/sheets/first.xml").data = "<PageContents><Shapes></PageContents>";
       },
       "not well-formed"},
      {"an encoding nobody knows",
       [](Entries& e, PackageLimits&) {
         Part(e, "visio/sheets/first.xml").data = "<?xml version='1.0' encoding='x-old'?>" + kPage;
       },
       "first.xml\": the part declares the encoding \"x-old\""},
      {"bytes that are no UTF-8",
       [](Entries& e, PackageLimits&) {
         Part(e, "visio/sheets/first.xml").data = "<!-- a long \xC3\xBC \xFC -->" + kPage;
       },
       "first.xml\": the part is not valid UTF-8 at byte 15"},
      {"page ID that is no number",
       [](Entries& e, PackageLimits&) {
         Replace(Part(e, "visio/sheets/all.xml").data, "ID='4'", "ID='abc'");
       },
       "\" has the ID \"abc\", which is no number"},
      {"page ID that another page has",
       [](Entries& e, PackageLimits&) {
         Replace(Part(e, "visio/sheets/all.xml").data, "<Page ID='4'",
                 "<Page ID='4' NameU='P'/><Page ID='4'");
       },
       "has the ID \"4\", which another one has too"},
      {"damaged part",
       [](Entries& e, PackageLimits&) { Part(e, "visio/stamps/stamp.xml").claimed_size = 20; },
       "stamp.xml\": the part is damaged"},
  };
  for (const Refusal& row : table) {
    SCOPED_TRACE(row.what);
    Entries entries = SmallDrawing(kPage);
    PackageLimits limits;
    row.spoil(entries, limits);
    std::string message;
    try {
      const auto file = DrawingFile::OpenBytes(MakeZip(entries), "evil.vsdx", limits);
      for (const auto& page : file->model().pages) file->model().Ensure(page->contents);
      for (const auto& master : file->model().masters) file->model().Ensure(master->contents);
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kHost);
      message = error.what();
    }
    if (row.fragment == nullptr) {
      EXPECT_EQ(message, "");
      continue;
    }
    EXPECT_NE(message.find(row.fragment), std::string::npos) << message;
    EXPECT_NE(message.find("evil.vsdx"), std::string::npos) << message;
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
  }
}

TEST(HostileTest, WhatIsNoPackageIsNamed) {
  const std::string whole = MakeZip(SmallDrawing(kPage));
  const std::pair<std::string, const char*> table[] = {
      {"", "the file is empty"},
      {"hello", "this is a text file, not a drawing package"},
      {"<?xml version='1.0'?>\n<VisioDocument xmlns='urn'>", "2003"},
      {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", "binary or encrypted"},
      {whole.substr(0, whole.size() / 2), "it is cut off"},
      {whole.substr(whole.size() / 2), "directory"},
  };
  for (const auto& [bytes, fragment] : table) {
    try {
      DrawingFile::OpenBytes(bytes, "evil.vsdx");
      ADD_FAILURE() << "read: " << fragment;
    } catch (const AutomationError& error) {
      EXPECT_NE(std::string(error.what()).find(fragment), std::string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace ohmwise::embedded
