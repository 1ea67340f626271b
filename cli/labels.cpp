#include <CLI/CLI.hpp>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"
#include "cli/output.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::cli {
namespace {

/// One location row of a label, as its cells say it now.
struct Row {
  ShapeRef target;
  std::u16string location, link;
};

struct Label {
  ShapeRef shape;
  std::u16string reference;
  std::vector<Row> rows;
};

std::u16string Result(const ShapeRef& shape, const std::u16string& cell) {
  return shape->Cells(cell)->ResultText();
}

/// The parts of a location together, as the drawing shows them: an error stands for the whole.
std::u16string Joined(std::initializer_list<std::u16string> parts) {
  std::u16string whole;
  for (const std::u16string& part : parts) {
    for (const std::u16string_view error :
         {u"#DIV/0!", u"#VALUE!", u"#REF!", u"#NAME?", u"#NUM!", u"#N/A"}) {
      if (part == error) return part;
    }
    whole += part;
  }
  return whole;
}

/// The shapes of an entry as they are now: filing a label anew changes its entry.
std::vector<ShapeRef> ShapesIn(const CollectionRef& entry) {
  std::vector<ShapeRef> shapes;
  const int32_t count = entry ? entry->Count() : 0;
  for (int32_t position = 1; position <= count; ++position) {
    shapes.push_back(ToShape(entry->Item(position)));
  }
  return shapes;
}

/// Reads a label's rows. Raises what reading a cell raises: a label that was not written whole has
/// no cells for the rows that are missing.
std::vector<Row> RowsOf(AddIn& add_in, const Label& label) {
  const ShapeRef sheet = add_in.document()->DocumentSheet();
  std::vector<Row> rows;
  for (const ShapeRef& target :
       ShapesIn(add_in.index().GetShapes(add_in.Member(u"colRefShape"), label.reference))) {
    const std::u16string number = DecimalText(static_cast<int32_t>(rows.size()) + 1);
    const auto part = [&](const char16_t* column) {
      return Result(label.shape, u"Scratch." + std::u16string(column) + number);
    };
    rows.push_back({target,
                    Joined({Result(sheet, u"User.LocationPage"), part(u"A"),
                            Result(sheet, u"User.LocationSeparator"), part(u"B"), part(u"C")}),
                    Result(label.shape, u"Hyperlink.Go" + number + u".SubAddress")});
  }
  return rows;
}

std::vector<Label> WriteLabels(AddIn& add_in) {
  std::vector<Label> labels;
  const CollectionRef index = add_in.Member(u"colAutoLoc");
  const int32_t count = index->Count();
  for (int32_t position = 1; position <= count; ++position) {
    for (const ShapeRef& shape : ShapesIn(ToCollection(index->Item(position)))) {
      labels.push_back({shape, shape->Text(), {}});
    }
  }
  for (Label& label : labels) {
    add_in.index().SetAutoLoc(label.shape, label.reference);
    try {
      label.rows = RowsOf(add_in, label);
    } catch (const AutomationError& error) {
      add_in.AddFailure(label.shape->ContainingPage(), label.shape, error.description());
    }
  }
  return labels;
}

/// A sub-shape that should show a row and has a text without field shows that instead, whatever the
/// cells of the label say.
std::vector<embedded::ShownMessage> PlainTexts(const std::vector<Label>& labels) {
  constexpr int32_t kShowsNothing = 3;
  std::vector<embedded::ShownMessage> messages;
  for (const Label& label : labels) {
    if (SharedMisc().LocType(label.shape) == kShowsNothing) continue;
    const ShapesRef parts = label.shape->Shapes();
    for (int32_t position = 1; position <= parts->Count(); ++position) {
      const ShapeRef part = parts->Item(position);
      const std::u16string name = SharedMisc().GetNameU(part->NameU());
      if (part->CellExists(u"Fields.Value", false)) continue;
      for (size_t row = 0; row < label.rows.size(); ++row) {
        if (name != u"L" + DecimalText(static_cast<int32_t>(row))) continue;
        messages.push_back({u"Plain text",
                            u"The sub-shape \"" + part->Name() + u"\" of the label \"" +
                                label.shape->Name() + u"\" on page \"" +
                                label.shape->ContainingPage()->Name() + u"\" has the text \"" +
                                part->Text() + u"\" instead of a field and does not show " +
                                label.rows[row].location + u".",
                            MessageIcon::kExclamation});
      }
    }
  }
  return messages;
}

std::string AsJson(const std::vector<Label>& labels) {
  JsonWriter json;
  json.BeginArray();
  for (const Label& label : labels) {
    json.BeginObject().Key(u"label").Text(label.shape->UniqueID());
    json.Key(u"reference").Text(label.reference);
    json.Key(u"page").Text(label.shape->ContainingPage()->Name());
    json.Key(u"rows").BeginArray();
    for (const Row& row : label.rows) {
      json.BeginObject().Key(u"target").Text(row.target->UniqueID());
      json.Key(u"location").Text(row.location).Key(u"link").Text(row.link).End();
    }
    json.End().End();
  }
  return json.End().Take();
}

void Run(const CommonOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kCollect);
  add_in.ScanDocument();
  const std::vector<Label> labels = WriteLabels(add_in);
  const std::vector<CellChange> changes = add_in.ChangedFormulas();
  const std::vector<embedded::ShownMessage> plain = PlainTexts(labels);
  const std::string written = options.Finish(add_in);
  if (options.json) {
    std::cout << AsJson(labels);
    std::cout.flush();
    for (const embedded::ShownMessage& message : plain) {
      std::cerr << Shown(message.text) << '\n';  // the array has no place for it
    }
    add_in.EndWithFailures(Outcome(written));
    return;
  }
  const Printer printer;
  std::vector<std::vector<std::string>> rows;
  for (const Label& label : labels) {
    std::string reference = Shown(label.reference);
    std::string page = Shown(label.shape->ContainingPage()->Name());
    std::string name = Shown(label.shape->Name());
    for (const Row& row : label.rows) {
      rows.push_back({std::move(reference), std::move(page), std::move(name), Shown(row.location),
                      Shown(row.link)});
      reference.clear();  // said once, the rows below belong to the same label
      page.clear();
      name.clear();
    }
    if (label.rows.empty()) rows.push_back({reference, page, name, "-", "-"});
  }
  printer.Line(printer.Styled(Style::kStrong, Shown(FromUtf8(options.drawing))) + ": " +
               Counted(labels.size(), "label"));
  if (!rows.empty()) printer.Table({"Follows", "Page", "Label", "Location", "Link"}, rows);
  std::vector<embedded::ShownMessage> messages = add_in.messages();
  messages.insert(messages.end(), plain.begin(), plain.end());
  PrintWarnings(printer, messages);
  if (written.empty()) {
    printer.Line("\n" + Counted(changes.size(), "cell") +
                 " would change (--save or --output FILE writes them)");
  } else {
    printer.Line("\n" + Counted(changes.size(), "cell") + " changed\nSaved to " +
                 Shown(FromUtf8(written)));
  }
  add_in.EndWithFailures(Outcome(written));
}

}  // namespace

void AddLabelsCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CommonOptions>();
  CLI::App* const command =
      app.add_subcommand("labels", "Write the location labels: where the shapes they follow are");
  options->AddTo(*command);
  command->footer(
      "A label holds formulas: once written it follows its shapes by itself. Write it again when\n"
      "shapes of its reference come or go.\n\nExample:\n  ohmwise labels motor-starter.vsdx "
      "--save\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
