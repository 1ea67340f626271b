#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/drawing.h"

namespace ohmwise::testing {

/// Every change made to fake shapes, in order, and the one that is to fail.
struct Journal {
  std::vector<std::u16string> entries;
  size_t fail_at = SIZE_MAX;  ///< number of the change that raises, from 0

  void Record(std::u16string entry) {
    if (entries.size() == fail_at) Raise(Err::kHost, u"The shape is protected.");
    entries.push_back(std::move(entry));
  }
};

/// A cell that knows constants: a number, or a text in quotes. Anything else is its own text.
class FakeCell : public Counted<Cell> {
 public:
  FakeCell(std::u16string name, std::u16string formula, Journal* journal)
      : name_(std::move(name)), formula_(std::move(formula)), journal_(journal) {}

  std::u16string Name() override { return name_; }
  std::u16string Formula() override { return formula_; }
  void SetFormula(std::u16string_view formula) override {
    journal_->Record(name_ + u"=" + std::u16string(formula));
    formula_ = formula;
  }
  std::u16string ResultText() override {
    if (formula_.size() < 2 || formula_.front() != u'"') return formula_;
    return ReplaceAll(std::u16string_view(formula_).substr(1, formula_.size() - 2), u"\"\"", u"\"");
  }
  double ResultNumber() override {
    return formula_.empty() || formula_[0] == u'"' ? 0 : TextToDouble(formula_);
  }
  void SetResultNumber(double number) override { SetFormula(DecimalText(number)); }

 private:
  std::u16string name_;
  std::u16string formula_;
  Journal* journal_;
};

class FakeShapes : public Counted<Shapes> {
 public:
  int32_t Count() override { return static_cast<int32_t>(shapes.size()); }
  ShapeRef Item(int32_t position) override {
    if (position < 1 || position > Count()) Raise(Err::kHost, u"There is no such shape.");
    return shapes[static_cast<size_t>(position - 1)];
  }
  ShapeRef Item(std::u16string_view name) override {
    for (const ShapeRef& shape : shapes) {
      if (shape->Name() == name || shape->UniqueID() == name) return shape;
    }
    Raise(Err::kHost, u"There is no such shape.");
  }

  std::vector<ShapeRef> shapes;
};

class FakeConnect : public Counted<Connect> {
 public:
  ShapeRef FromSheet() override { return ShapeRef::Share(from); }
  ShapeRef ToSheet() override { return ShapeRef::Share(to); }
  std::u16string FromCell() override { return from_cell; }
  std::u16string ToCell() override { return to_cell; }

  Shape* from = nullptr;
  Shape* to = nullptr;
  std::u16string from_cell;
  std::u16string to_cell;
};

/// A shape whose cells and connection points are listed by the test.
class FakeShape : public Counted<Shape> {
 public:
  explicit FakeShape(Journal* journal_of_all) : journal(journal_of_all) {}

  void PutCell(std::u16string_view cell, std::u16string_view formula) {
    cells[FoldCase(cell)] =
        MakeRef<FakeCell>(std::u16string(cell), std::u16string(formula), journal);
  }
  /// Adds a connection point; `list` is the formula of its D cell.
  void AddPoint(int16_t type, std::u16string_view list) {
    point_types.push_back(type);
    points.push_back(MakeRef<FakeCell>(u"D", std::u16string(list), journal));
  }
  static void Glue(FakeShape& from, std::u16string from_cell, FakeShape& to,
                   std::u16string to_cell) {
    auto connect = MakeRef<FakeConnect>();
    connect->from = &from;
    connect->to = &to;
    connect->from_cell = std::move(from_cell);
    connect->to_cell = std::move(to_cell);
    from.connects->Add(connect);
    to.from_connects->Add(connect);
  }

  int32_t ID() override { return 1; }
  std::u16string Name() override { return name; }
  std::u16string NameU() override { return name; }
  std::u16string UniqueID() override { return u"{" + name + u"}"; }
  std::u16string Text() override { return text; }
  void SetText(std::u16string_view new_text) override {
    journal->Record(name + u" Text=" + std::u16string(new_text));
    text = new_text;
  }
  ApplicationRef Application() override { return nullptr; }
  DocumentRef Document() override { return nullptr; }
  PageRef ContainingPage() override { return nullptr; }
  int32_t ContainingPageID() override { return -1; }
  ShapesRef Shapes() override { return children; }
  ShapeRef ParentShape() override { return ShapeRef::Share(parent); }
  MasterRef Master() override { return nullptr; }
  bool OneD() override { return one_d; }

  bool CellExists(std::u16string_view cell, bool) override { return cells.count(FoldCase(cell)); }
  CellRef Cells(std::u16string_view cell) override {
    const auto found = cells.find(FoldCase(cell));
    if (found == cells.end()) Raise(Err::kHost, u"There is no such cell.");
    return found->second;
  }
  bool CellsSRCExists(int16_t, int16_t row, int16_t, bool) override { return row < RowCount(7); }
  CellRef CellsSRC(int16_t section, int16_t row, int16_t column) override {
    if (section != 7 || column != 5 || row >= RowCount(7)) Raise(Err::kHost, u"No such cell.");
    return points[static_cast<size_t>(row)];
  }
  int16_t RowCount(int16_t section) override {
    return section == 7 ? static_cast<int16_t>(points.size()) : int16_t{0};
  }
  int16_t RowType(int16_t, int16_t row) override { return point_types[static_cast<size_t>(row)]; }
  std::u16string RowName(int16_t, int16_t) override { return {}; }
  int16_t AddNamedRow(int16_t section, std::u16string_view row, int16_t tag) override {
    journal->Record(u"AddNamedRow " + DecimalText(int32_t{section}) + u" " + std::u16string(row) +
                    u" " + DecimalText(int32_t{tag}));
    const std::u16string cell = (section == 242 ? u"User." : u"Prop.") + std::u16string(row);
    PutCell(cell, u"");
    if (section == 243) PutCell(cell + u".Value", u"");
    return 0;
  }
  int16_t AddRow(int16_t, int16_t, int16_t) override { return 0; }
  void DeleteRow(int16_t, int16_t) override {}
  CollectionRef Connects() override { return connects; }
  CollectionRef FromConnects() override { return from_connects; }
  void Delete() override {}

  Journal* journal;
  std::u16string name = u"Shape";
  std::u16string text;
  bool one_d = false;
  Shape* parent = nullptr;
  std::map<std::u16string, Ref<FakeCell>> cells;
  std::vector<int16_t> point_types;
  std::vector<Ref<FakeCell>> points;
  Ref<FakeShapes> children = MakeRef<FakeShapes>();
  CollectionRef connects = MakeCollection();
  CollectionRef from_connects = MakeCollection();
};

}  // namespace ohmwise::testing
