#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"
#include "cli/output.h"
#include "crossref/clsTBlockObj.h"
#include "settings/clsLSettings.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::cli {
namespace {

using Uid = std::u16string;

struct IndexedShape {
  std::u16string page, name, name_u, text, reference;
  int32_t page_id = 0;
  int32_t type = 0;
  std::u16string location;
  ShapeRef handle;
};

/// One entry of an index collection: its key and its shapes in the collection's own order.
struct Entry {
  std::u16string key;
  std::vector<Uid> shapes;
};

struct IndexedPage {
  int32_t id = 0;
  std::u16string name;
  int32_t number = 0;
  std::vector<Uid> nets, terminals, zones;
};

struct TitleBlock {
  std::u16string key;
  Uid shape;
};

std::u16string ResultOrEmpty(const ShapeRef& shape, std::u16string_view cell) {
  return shape->CellExists(cell, false) ? shape->Cells(cell)->ResultText() : std::u16string();
}

/// The index collections read out. Collections don't tell their keys, so each entry's key is read
/// from its first shape, the way it was made.
class Index {
 public:
  explicit Index(AddIn& add_in) {
    for (const PageRef& page : add_in.ForegroundPages()) {
      IndexedPage& row = pages.emplace_back();
      row.id = page->ID();
      row.name = page->Name();
      const ShapeRef sheet = page->PageSheet();
      row.number = Value(sheet->Cells(u"User.PageNumber")->ResultNumber()).ToInt32();
      row.nets = Uids(add_in.index().GetPageNets(add_in.Member(u"colPageNet"), row.id));
      row.terminals = Uids(add_in.index().GetPageTerms(add_in.Member(u"colPageTerm"), row.id));
      row.zones = Uids(add_in.index().GetShapes(add_in.Member(u"colLZone"), DecimalText(row.id)));
    }
    references = Entries(add_in.Member(u"colRefShape"),
                         [](const ShapeRef& shape) { return ResultOrEmpty(shape, u"User.Ref"); });
    kinds = Entries(add_in.Member(u"colShapeRef"),
                    [](const ShapeRef& shape) { return SharedMisc().GetNameU(shape->NameU()); });
    net_names = Entries(add_in.Member(u"colUNetName"),
                        [](const ShapeRef& shape) { return ResultOrEmpty(shape, u"Scratch.B1"); });
    labels =
        Entries(add_in.Member(u"colAutoLoc"), [](const ShapeRef& shape) { return shape->Text(); });
    ReadTitleBlocks(add_in.index().GetTBlock(add_in.document()));
  }

  /// Reads where the shapes are. A grid that the drawing lacks is made with its defaults for that;
  /// so this is done when the drawing has been saved. What has no place in the grid gets no text.
  void ReadLocations() {
    clsLSettings settings;
    for (auto& [uid, shape] : shapes) {
      try {
        shape.location = settings.GetLocation(shape.handle);
      } catch (const AutomationError&) {
        shape.location.clear();
      }
    }
  }

  const IndexedShape& Shape(const Uid& uid) const { return shapes[positions_.at(uid)].second; }

  std::vector<IndexedPage> pages;
  std::vector<Entry> references, kinds, net_names, labels;
  std::vector<TitleBlock> title_blocks;
  std::vector<std::pair<Uid, IndexedShape>> shapes;  ///< in the order they were met

 private:
  Uid Note(const ShapeRef& shape) {
    const Uid uid = shape->UniqueID();
    if (!positions_.try_emplace(uid, shapes.size()).second) return uid;
    IndexedShape row;
    row.page = shape->ContainingPage()->Name();
    row.page_id = shape->ContainingPageID();
    row.name = shape->Name();
    row.name_u = shape->NameU();
    row.type = SharedMisc().TypeNo(shape);
    row.text = shape->Text();
    row.reference = ResultOrEmpty(shape, u"User.Ref");
    row.handle = shape;
    shapes.emplace_back(uid, std::move(row));
    return uid;
  }

  std::vector<Uid> Uids(const CollectionRef& entry) {
    std::vector<Uid> result;
    const int32_t count = entry ? entry->Count() : 0;
    for (int32_t position = 1; position <= count; ++position) {
      result.push_back(Note(ToShape(entry->Item(position))));
    }
    return result;
  }

  template <class KeyOf>
  std::vector<Entry> Entries(const CollectionRef& index, const KeyOf& key_of) {
    std::vector<Entry> result;
    const int32_t count = index->Count();
    for (int32_t position = 1; position <= count; ++position) {
      const CollectionRef entry = ToCollection(index->Item(position));
      if (entry->Count() == 0) continue;
      result.push_back({key_of(ToShape(entry->Item(1))), Uids(entry)});
    }
    return result;
  }

  void ReadTitleBlocks(const CollectionRef& blocks) {
    const int32_t count = blocks ? blocks->Count() : 0;
    for (int32_t position = 1; position <= count; ++position) {
      const ShapeRef shape = ToShape(blocks->Item(position));
      clsTBlockObj record;
      record.SetData(shape);
      title_blocks.push_back({record.GetKey(), Note(shape)});
    }
  }

  std::map<Uid, size_t> positions_;
};

const char16_t* IconWord(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::kCritical:
      return u"critical";
    case MessageIcon::kExclamation:
      return u"exclamation";
    case MessageIcon::kInformation:
      return u"information";
    case MessageIcon::kNone:
      break;
  }
  return u"none";
}

// ---- JSON ----

void WriteUids(JsonWriter& json, std::u16string_view name, const std::vector<Uid>& uids) {
  json.Key(name).BeginArray();
  for (const Uid& uid : uids) json.Text(uid);
  json.End();
}

void WriteEntries(JsonWriter& json, std::u16string_view name, std::u16string_view key,
                  const std::vector<Entry>& entries) {
  json.Key(name).BeginArray();
  for (const Entry& entry : entries) {
    json.BeginObject().Key(key).Text(entry.key);
    WriteUids(json, u"shapes", entry.shapes);
    json.End();
  }
  json.End();
}

std::string AsJson(const AddIn& add_in, const Index& index,
                   const std::vector<CellChange>& changes) {
  JsonWriter json;
  json.BeginObject().Key(u"drawing").Text(FromUtf8(add_in.path()));
  json.Key(u"pages").BeginArray();
  for (const IndexedPage& page : index.pages) {
    json.BeginObject().Key(u"id").Number(page.id).Key(u"name").Text(page.name);
    json.Key(u"pageNumber").Number(page.number);
    WriteUids(json, u"nets", page.nets);
    WriteUids(json, u"terminals", page.terminals);
    WriteUids(json, u"ladderZones", page.zones);
    json.End();
  }
  json.End();
  WriteEntries(json, u"references", u"reference", index.references);
  WriteEntries(json, u"kinds", u"kind", index.kinds);
  WriteEntries(json, u"netNames", u"name", index.net_names);
  WriteEntries(json, u"labels", u"reference", index.labels);
  json.Key(u"titleBlocks").BeginArray();
  for (const TitleBlock& block : index.title_blocks) {
    json.BeginObject().Key(u"key").Text(block.key).Key(u"shape").Text(block.shape).End();
  }
  json.End();
  json.Key(u"shapes").BeginObject();
  for (const auto& [uid, shape] : index.shapes) {
    json.Key(uid).BeginObject();
    json.Key(u"page").Text(shape.page).Key(u"pageId").Number(shape.page_id);
    json.Key(u"name").Text(shape.name).Key(u"nameU").Text(shape.name_u);
    json.Key(u"type").Number(shape.type).Key(u"text").Text(shape.text);
    json.Key(u"reference").Text(shape.reference);
    json.Key(u"location").Text(shape.location).End();
  }
  json.End();
  json.Key(u"changes");
  WriteChanges(json, changes, u"formula");
  json.Key(u"messages").BeginArray();
  std::vector<embedded::ShownMessage> messages = add_in.messages();
  for (const std::u16string& failure : add_in.failures()) {
    messages.push_back({u"Not indexed", failure, MessageIcon::kCritical});
  }
  for (const embedded::ShownMessage& message : messages) {
    json.BeginObject().Key(u"title").Text(message.title).Key(u"text").Text(message.text);
    json.Key(u"icon").Text(IconWord(message.icon)).End();
  }
  json.End();
  return json.End().Take();
}

// ---- Tables ----

/// "K1, K2, K3" in lines of a width that tables can hold; "-" for none.
std::vector<std::string> Listed(const Index& index, const std::vector<Uid>& uids) {
  constexpr size_t kWidth = 60;
  std::vector<std::string> lines(1);
  for (size_t i = 0; i < uids.size(); ++i) {
    const std::string text = Shown(index.Shape(uids[i]).text) + (i + 1 < uids.size() ? "," : "");
    std::string& line = lines.back();
    if (!line.empty() && DisplayWidth(line) + 1 + DisplayWidth(text) > kWidth) {
      lines.push_back(text);
    } else {
      line += (line.empty() ? "" : " ") + text;
    }
  }
  if (uids.empty()) lines.back() = "-";
  return lines;
}

/// One row for a page; a long list goes on below its beginning.
void AddPageRows(std::vector<std::vector<std::string>>& rows, std::vector<std::string> first,
                 const std::vector<std::string>& list) {
  for (const std::string& line : list) {
    first.push_back(line);
    rows.push_back(first);
    first.assign(first.size() - 1, "");
  }
}

void PrintReferences(const Printer& printer, const Index& index) {
  if (index.references.empty()) return;
  std::vector<std::vector<std::string>> rows;
  for (const Entry& entry : index.references) {
    std::string reference = Shown(entry.key);
    for (const Uid& uid : entry.shapes) {
      const IndexedShape& shape = index.Shape(uid);
      rows.push_back({std::move(reference), Shown(SharedMisc().GetNameU(shape.name_u)),
                      Shown(shape.page), Shown(shape.name)});
      reference.clear();  // said once, the shapes below carry the same
    }
  }
  printer.Heading("References");
  printer.Table({"Reference", "Kind", "Page", "Shape"}, rows);
}

void PrintPages(const Printer& printer, const Index& index) {
  std::vector<std::vector<std::string>> rows;
  for (const IndexedPage& page : index.pages) {
    AddPageRows(rows,
                {std::to_string(page.number), Shown(page.name), std::to_string(page.zones.size())},
                Listed(index, page.nets));
  }
  printer.Heading("Nets by page");
  printer.Table({"No.", "Page", "Ladder zones", "Nets"}, rows);

  rows.clear();
  for (const IndexedPage& page : index.pages) {
    if (page.terminals.empty()) continue;
    AddPageRows(rows, {std::to_string(page.number), Shown(page.name)},
                Listed(index, page.terminals));
  }
  if (rows.empty()) return;
  printer.Heading("Terminals by page");
  printer.Table({"No.", "Page", "Terminals"}, rows);
}

void PrintLabels(const Printer& printer, const Index& index) {
  std::vector<std::vector<std::string>> rows;
  for (const Entry& entry : index.labels) {
    for (const Uid& uid : entry.shapes) {
      rows.push_back(
          {Shown(entry.key), Shown(index.Shape(uid).page), Shown(index.Shape(uid).name)});
    }
  }
  if (rows.empty()) return;
  printer.Heading("Location labels");
  printer.Table({"Follows", "Page", "Shape"}, rows);
}

void PrintTitleBlocks(const Printer& printer, const Index& index) {
  std::vector<std::vector<std::string>> rows;
  for (const TitleBlock& block : index.title_blocks) {
    rows.push_back({Shown(block.key), Shown(index.Shape(block.shape).page),
                    Shown(index.Shape(block.shape).name)});
  }
  if (rows.empty()) return;
  printer.Heading("Title blocks");
  printer.Table({"Key", "Page", "Shape"}, rows);
}

void PrintChanges(const Printer& printer, const std::vector<CellChange>& changes,
                  const std::string& written) {
  if (changes.empty()) {
    printer.Heading("Everything is in step; no cell has to change.");
  } else {
    printer.Heading(written.empty()
                        ? "Cells that would change (--save or --output FILE writes them)"
                        : "Cells changed");
    std::vector<std::vector<std::string>> rows;
    for (const CellChange& change : changes) {
      rows.push_back({Shown(change.place.page), Shown(change.place.shape), Shown(change.place.cell),
                      Shown(change.text)});
    }
    printer.Table({"Page", "Shape", "Cell", "Formula"}, rows);
  }
  if (!written.empty()) printer.Line("\nSaved to " + Shown(FromUtf8(written)));
}

void Run(const CommonOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kCollect);
  add_in.ScanDocument();
  Index index(add_in);
  const std::vector<CellChange> changes = add_in.ChangedFormulas();
  const std::string written = options.Finish(add_in);
  if (options.json) {
    index.ReadLocations();
    std::cout << AsJson(add_in, index, changes);
    add_in.EndWithFailures(Outcome(written));
    return;
  }
  const Printer printer;
  printer.Line(printer.Styled(Style::kStrong, Shown(FromUtf8(options.drawing))) + ": " +
               Counted(index.pages.size(), "page") + ", " +
               Counted(index.shapes.size(), "indexed shape") + ", " +
               Counted(index.references.size(), "reference") + ", " +
               Counted(index.net_names.size(), "net name"));
  PrintReferences(printer, index);
  PrintPages(printer, index);
  PrintLabels(printer, index);
  PrintTitleBlocks(printer, index);
  PrintWarnings(printer, add_in.messages());
  PrintChanges(printer, changes, written);
  add_in.EndWithFailures(Outcome(written));
}

}  // namespace

void AddIndexCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CommonOptions>();
  CLI::App* const command =
      app.add_subcommand("index", "Scan all pages and print the cross-reference index");
  options->AddTo(*command);
  command->footer(
      "Without --save or --output the drawing is not touched; the output says which cells would\n"
      "change.\n\nExample:\n  ohmwise index motor-starter.vsdx --output checked.vsdx\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
