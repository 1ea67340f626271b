// Damages a sound drawing as another program or a careless hand would, on the level of its XML:
// elements (cells, rows, shapes, connects, masters) are dropped, doubled, swapped and nested,
// attributes exchanged, formulas broken, whole parts left out. The input is a list of such edits.
// The result is loaded, calculated, edited and saved, all in memory. What is refused must be
// refused by an AutomationError; what was loaded must be readable again after saving.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/error.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/embedded/vsdx/package.h"

namespace {

using ohmwise::AutomationError;
using ohmwise::PageRef;
using ohmwise::ShapeRef;
using ohmwise::ShapesRef;
using ohmwise::embedded::Drawing;
using ohmwise::embedded::DrawingFile;
using ohmwise::embedded::Package;
using ohmwise::embedded::PackageLimits;

using Parts = std::map<std::string, std::string>;

/// Sound drawings, and of each the parts that hold the drawing.
struct Sound {
  std::string bytes;
  Parts parts;
};

std::vector<Sound> LoadAll() {
  std::vector<Sound> all;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(OHMWISE_FUZZ_DRAWINGS)) {
    if (entry.path().extension() == ".vsdx") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    Sound sound{std::string(std::istreambuf_iterator<char>(in), {}), {}};
    Package package(sound.bytes, file.string(), {});
    std::vector<std::string> names = {
        "[Content_Types].xml",       "visio/document.xml",
        "visio/pages/pages.xml",     "visio/pages/_rels/pages.xml.rels",
        "visio/masters/masters.xml", "visio/masters/_rels/masters.xml.rels"};
    for (int i = 1; i < 20; ++i) {
      names.push_back("visio/pages/page" + std::to_string(i) + ".xml");
      names.push_back("visio/masters/master" + std::to_string(i) + ".xml");
    }
    for (const std::string& name : names) {
      if (package.Find(name) != name) continue;
      const std::vector<char> part = package.ReadXml(name);
      sound.parts[name] = std::string(part.begin(), part.end());
    }
    all.push_back(std::move(sound));
  }
  if (all.empty()) std::abort();
  return all;
}

struct Span {
  size_t begin = 0, end = 0;
};

/// Whole elements of a part, by where they begin; the root is not among them.
std::vector<Span> Elements(const std::string& xml) {
  std::vector<Span> found;
  std::vector<size_t> open;
  for (size_t at = xml.find('<'); at < xml.size(); at = xml.find('<', at + 1)) {
    const size_t close = xml.find('>', at);
    if (close == xml.npos) break;
    const char next = xml[at + 1];
    if (next == '?' || next == '!') continue;
    if (next == '/') {
      if (open.empty()) break;
      found[open.back()].end = close + 1;
      open.pop_back();
      continue;
    }
    found.push_back({at, close + 1});
    if (xml[close - 1] != '/') open.push_back(found.size() - 1);
  }
  if (!found.empty()) found.erase(found.begin());
  std::sort(found.begin(), found.end(), [](Span a, Span b) { return a.begin < b.begin; });
  return found;
}

/// What stands between the quotes of attributes.
std::vector<Span> Values(const std::string& xml) {
  std::vector<Span> found;
  for (size_t at = xml.find('='); at < xml.size(); at = xml.find('=', at + 1)) {
    if (at + 1 >= xml.size() || (xml[at + 1] != '\'' && xml[at + 1] != '"')) continue;
    const size_t end = xml.find(xml[at + 1], at + 2);
    if (end == xml.npos) break;
    found.push_back({at + 2, end});
    at = end;
  }
  return found;
}

constexpr const char* kValues[] = {"",
                                   "0",
                                   "-1",
                                   "4294967295",
                                   "1E308",
                                   "NaN",
                                   "1+",
                                   "Sheet.1!PinX",
                                   "Sheet.99999!PinX",
                                   "PinX",
                                   "Width*0",
                                   "1/0",
                                   "User.Ref",
                                   "Prop.Tag",
                                   "GUARD(PinX)",
                                   "SETATREF(PinX)",
                                   "REF()",
                                   "#REF!",
                                   "Pages[]!PinX",
                                   "Pages[Power circuit]!TheDoc!User.Ref",
                                   "((((((((1))))))))",
                                   "THEGUARD(",
                                   "&quot;",
                                   "&#1;",
                                   "&lt;",
                                   "User",
                                   "Property",
                                   "Inh",
                                   "_XFTRIGGER(Angle)",
                                   "PAR(PNT(Sheet.1!Connections.X1,Sheet.1!Connections.Y1))",
                                   "Text",
                                   "V"};

class Bytes {
 public:
  Bytes(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool empty() const { return at_ >= size_; }
  size_t Take(size_t below) {
    size_t value = empty() ? 0 : data_[at_++];
    if (below > 256) value = value << 8 | (empty() ? 0 : data_[at_++]);
    return below == 0 ? 0 : value % below;
  }

 private:
  const uint8_t* data_;
  size_t size_, at_ = 0;
};

void EditOnce(Bytes& bytes, Parts& parts, std::set<std::string>& removed) {
  auto& [name, xml] = *std::next(parts.begin(), static_cast<ptrdiff_t>(bytes.Take(parts.size())));
  const size_t kind = bytes.Take(8);
  if (kind == 0) {
    if (bytes.Take(8) == 0) removed.insert(name);
    return;
  }
  const bool of_values = kind >= 5;
  const std::vector<Span> spans = of_values ? Values(xml) : Elements(xml);
  if (spans.empty()) return;
  const Span one = spans[bytes.Take(spans.size())];
  const Span other = spans[bytes.Take(spans.size())];
  const std::string text = xml.substr(one.begin, one.end - one.begin);
  const std::string second = xml.substr(other.begin, other.end - other.begin);
  switch (kind) {
    case 1:
      xml.erase(one.begin, text.size());
      break;
    case 2:
      if (xml.size() < 200000) xml.insert(one.end, text);
      break;
    case 3:  // the same element elsewhere, also within another
      if (xml.size() < 200000) xml.insert(other.begin, text);
      break;
    case 4:
      xml.replace(one.begin, text.size(), second);
      break;
    case 5:
    case 6:
      xml.replace(one.begin, text.size(), second);
      break;
    default:
      xml.replace(one.begin, text.size(), kValues[bytes.Take(std::size(kValues))]);
  }
}

/// Reads what there is to read; the number of shapes at any depth.
size_t Read(const ShapesRef& shapes) {
  size_t count = 0;
  const int32_t all = shapes->Count();
  for (int32_t i = 1; i <= all; ++i) {
    const ShapeRef shape = shapes->Item(i);
    count += 1;
    try {
      shape->Text();
      shape->UniqueID();
      shape->OneD();
      shape->Connects();
      shape->FromConnects();
      for (const char16_t* cell : {u"PinX", u"EndX", u"User.Ref", u"User.Type", u"LocPinX"}) {
        if (shape->CellExists(cell, false)) shape->Cells(cell)->ResultText();
      }
      for (const int16_t section : {int16_t{242}, int16_t{243}, int16_t{7}}) {
        const int16_t rows = shape->RowCount(section);
        for (int16_t row = 0; row < rows; ++row) {
          shape->RowName(section, row);
          shape->CellsSRC(section, row, 0)->ResultText();
        }
      }
    } catch (const AutomationError&) {
    }
    count += Read(shape->Shapes());
  }
  return count;
}

size_t ReadPages(Drawing& drawing) {
  size_t count = 0;
  const auto pages = drawing.document()->Pages();
  const int32_t all = pages->Count();
  for (int32_t i = 1; i <= all; ++i) count += Read(pages->Item(i)->Shapes());
  return count;
}

void Edit(Drawing& drawing) {
  const auto pages = drawing.document()->Pages();
  const auto attempt = [](const auto& edit) {
    try {
      edit();
    } catch (const AutomationError&) {
    }
  };
  const int32_t all = pages->Count();
  for (int32_t i = 1; i <= all; ++i) {
    const PageRef page = pages->Item(i);
    const ShapesRef shapes = page->Shapes();
    for (int32_t k = 1; k <= shapes->Count() && k < 20; ++k) {
      const ShapeRef shape = shapes->Item(k);
      attempt([&] { shape->Cells(u"PinX")->SetFormula(u"PinX+1 in"); });
      attempt([&] { shape->Cells(u"PinY")->SetFormula(u"2"); });
      attempt([&] { shape->Cells(u"User.Ref")->SetFormula(u"\"K1\""); });
      attempt([&] { shape->SetText(u"K1"); });
      attempt([&] { drawing.Move(shape, 1, 1); });
    }
    attempt([&] { page->SetName(u"Renamed"); });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<Sound> all = LoadAll();
  PackageLimits limits;
  limits.part_bytes = 1u << 20;
  limits.total_bytes = 4u << 20;
  limits.compression_ratio = 10000;
  Bytes bytes(data, std::min<size_t>(size, 200));
  const Sound& sound = all[bytes.Take(all.size())];
  Parts parts = sound.parts;
  std::set<std::string> removed;
  while (!bytes.empty()) EditOnce(bytes, parts, removed);
  for (const std::string& name : removed) parts.erase(name);
  std::erase_if(parts, [&](const auto& part) {
    const auto was = sound.parts.find(part.first);
    return was->second == part.second;
  });
  std::string saved;
  size_t shapes = 0;
  try {
    const std::string broken = Package(sound.bytes, "fuzz", {}).Rebuild(parts, removed);
    const auto file = DrawingFile::OpenBytes(broken, "fuzz", limits);
    Drawing drawing(file->model());
    ReadPages(drawing);
    Edit(drawing);
    shapes = ReadPages(drawing);
    saved = file->SaveBytes();
  } catch (const AutomationError&) {
    return 0;
  }
  try {
    const auto again = DrawingFile::OpenBytes(saved, "again", {});
    Drawing drawing(again->model());
    const size_t count = ReadPages(drawing);
    if (count == shapes) return 0;
    std::cerr << count << " shapes after saving, " << shapes << " before\n";
  } catch (const AutomationError& error) {
    std::cerr << "not readable after saving: " << error.what() << '\n';
  }
  std::abort();
}
