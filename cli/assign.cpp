#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "catalogue/article.h"
#include "cli/addin.h"
#include "cli/catalogue.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::cli {
namespace {

using catalogue::Article;
using catalogue::kComponents;

struct AssignOptions : CommonOptions {
  std::string catalogue, page, category;
  std::vector<std::string> shapes;
  int32_t component = 0;
};

struct Target {
  std::u16string page;
  ShapeRef shape;
};

/// People know components by their references: where the shapes of one are, "" for none.
std::u16string ShapesOfReference(AddIn& add_in, std::u16string_view reference) {
  constexpr int32_t kMost = 6;
  add_in.ScanDocument();
  const CollectionRef references = add_in.Member(u"colRefShape");
  std::u16string places;
  for (int32_t position = 1; position <= references->Count(); ++position) {
    const CollectionRef shapes = ToCollection(references->Item(position));
    const int32_t count = shapes->Count();
    for (int32_t i = 1; i <= count; ++i) {
      const ShapeRef shape = ToShape(shapes->Item(i));
      if (!shape->CellExists(u"User.Ref", false)) break;
      if (!EqualNoCase(shape->Cells(u"User.Ref")->ResultText(), reference)) break;
      const PageRef page = shape->ContainingPage();
      if (!places.empty()) places += u", ";
      if (i > kMost) return places + u"…";
      places += u"\"" + shape->Name() + u"\"" + (page ? u" on \"" + page->Name() + u"\"" : u"");
    }
  }
  return places;
}

/// The shape on the page, or on the one page that has it.
Target FindTarget(AddIn& add_in, const std::string& page, const std::string& name) {
  const std::u16string wanted = FromUtf8(name);
  if (!page.empty()) {
    return {FromUtf8(page), add_in.drawing().FindShape(FromUtf8(page), wanted)};
  }
  std::vector<Target> found;
  const PagesRef pages = add_in.document()->Pages();
  const int32_t count = pages->Count();
  for (int32_t position = 1; position <= count; ++position) {
    const std::u16string on = pages->Item(position)->Name();
    try {
      found.push_back({on, add_in.drawing().FindShape(on, wanted)});
    } catch (const AutomationError& error) {
      if (error.number() != Err::kHost) throw;
    }
  }
  if (found.empty()) {
    const std::u16string meant = ShapesOfReference(add_in, wanted);
    Raise(Err::kHost,
          u"There is no shape \"" + wanted + u"\" on any page of the drawing" +
              (meant.empty() ? u"."
                             : u"; the reference " + wanted + u" has the shapes " + meant + u"."));
  }
  if (found.size() > 1) {
    Raise(Err::kHost, u"There is a shape \"" + wanted + u"\" on page \"" + found[0].page +
                          u"\" and on page \"" + found[1].page + u"\"; --page tells which.");
  }
  return found.front();
}

std::u16string Quoted(std::u16string_view text) {
  return u"\"" + ReplaceAll(text, u"\"", u"\"\"") + u"\"";
}

/// Gives a shape the identity, the category and the properties of a component.
void CopyInto(const ShapeRef& shape, const Article& component, int32_t category) {
  clsLMisc& misc = SharedMisc();
  misc.CreateProp(shape);
  misc.SetCompIDStr(shape, DecimalText(component.key));
  misc.SetCatID(shape, category);
  for (size_t i = 0; i < kComponents.columns.size(); ++i) {
    const std::u16string cell = u"Prop." + std::u16string(kComponents.columns[i].name) + u".Value";
    const std::u16string& value = component.values[i];
    const bool yes_no = kComponents.columns[i].kind == catalogue::ColumnKind::kBoolean;
    const std::u16string formula = yes_no ? (value == u"True" ? u"TRUE" : u"FALSE") : Quoted(value);
    shape->Cells(cell)->SetFormula(formula);
  }
}

int32_t CategoryOf(clsLDB& db, const AssignOptions& options, int32_t component) {
  if (!options.category.empty()) return RequireCategory(db, options.category);
  const RecordsetRef links = db.GetOrgByCompID(component);
  const int32_t category = links->EndOfFile() ? 0 : links->Field(u"CatID").ToInt32();
  links->Close();
  return category;
}

void Run(const AssignOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kCollect);
  clsLDB db;
  OpenCatalogue(db, CatalogueLocation(options.catalogue));
  const std::optional<Article> component =
      catalogue::FindArticle(db, kComponents, options.component);
  if (!component) {
    Raise(Err::kProvider,
          u"There is no component " + DecimalText(options.component) + u" in the catalogue.");
  }
  const int32_t category = CategoryOf(db, options, options.component);
  std::vector<Target> targets;
  for (const std::string& name : options.shapes) {
    targets.push_back(FindTarget(add_in, options.page, name));
  }
  for (const Target& target : targets) CopyInto(target.shape, *component, category);
  const std::vector<CellChange> changed = add_in.ChangedFormulas();
  const std::string written = options.Finish(add_in);
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"drawing").Text(FromUtf8(options.drawing));
    json.Key(u"component").BeginObject();
    WriteArticle(json, kComponents, *component);
    json.End().Key(u"category").Number(category).Key(u"shapes").BeginArray();
    for (const Target& target : targets) {
      json.BeginObject().Key(u"page").Text(target.page);
      json.Key(u"shape").Text(target.shape->Name()).End();
    }
    json.End().Key(u"changes");
    WriteChanges(json, changed, u"formula");
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  std::vector<std::vector<std::string>> rows;
  for (const Target& target : targets) {
    rows.push_back({Shown(target.shape->Name()), Shown(target.page)});
  }
  printer.Line("Component " + std::to_string(component->key) + ", " + Shown(component->values[0]) +
               ", is assigned to " + Counted(targets.size(), "shape") + ":");
  printer.Table({"Shape", "Page"}, rows);
  printer.Line("\n" + Counted(changed.size(), "cell") + " changed.");
  if (!written.empty()) printer.Line("Saved to " + Shown(FromUtf8(written)));
}

}  // namespace

void AddAssignCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<AssignOptions>();
  CLI::App* const command =
      app.add_subcommand("assign", "Give shapes a component of the catalogue");
  options->AddTo(*command);
  command->add_option("SHAPE", options->shapes, "Name, Sheet.n or unique ID of a shape; several")
      ->required()
      ->type_name("");
  command->add_option("--component", options->component, "Number of the component")
      ->required()
      ->type_name("ID");
  command->add_option("--page", options->page, "The page of the shapes")->type_name("PAGE");
  command
      ->add_option("--category", options->category,
                   "The category to note (default: the component's first)")
      ->type_name("NAME");
  command
      ->add_option("--catalogue", options->catalogue,
                   "The catalogue: a file, or postgresql://… (default: the setting CompDB)")
      ->type_name("PATH|URL");
  command->footer(
      "Example:\n  ohmwise assign motor-starter.vsdx Motor --component 12 --catalogue parts.mdb "
      "--save\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
