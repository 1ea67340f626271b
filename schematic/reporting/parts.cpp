#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <utility>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "catalogue/price.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "schematic/lists.h"
#include "schematic/reporting/report.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"
#include "sort/clsLSortComp.h"

namespace ohmwise::schematic {
namespace {

using shapeutil::CellOrEmpty;

/// A price as people write it, "12.50", "12,50", "1.234,50 €", the first number of the text. 0
/// without one; nullopt for one that can be read in two ways ("1,234").
std::optional<double> PriceOf(std::u16string_view text) {
  constexpr std::u16string_view kDigits = u"0123456789";
  size_t begin = text.find_first_of(kDigits);
  if (begin == text.npos) return 0;
  const bool is_fraction = text.substr(0, begin).find_first_not_of(u".,") == text.npos;
  if (is_fraction) begin = 0;
  text = text.substr(begin);
  text = text.substr(0, text.find_first_not_of(u"0123456789.,' \u00A0\u202F\u2019"));
  const auto stored = catalogue::PriceOf(text.substr(0, text.find_last_of(kDigits) + 1));
  if (!stored) return std::nullopt;
  return TextToDouble(*stored);
}

Part Priced(Ref<clsLCmpRec> record, std::u16string_view price) {
  const std::optional<double> read = PriceOf(price);
  Part part{std::move(record), read.value_or(0), {}};
  if (!read) part.unread_price = price;
  part.record->SetPrice(static_cast<float>(part.price));
  return part;
}

/// How many pieces a quantity cell means: one without a number in it.
int32_t QuantityOf(std::u16string_view text) {
  if (text.find_first_of(u"0123456789") == text.npos) return 1;
  return ToInt32(LeadingNumber(text));
}

std::u16string OneLine(std::u16string_view text) {
  std::u16string line;
  for (const char16_t unit : text) {
    line += unit == u'\n' || unit == u'\r' || unit == u'\t' || unit == 0x2028 ? u' ' : unit;
  }
  return std::u16string(TrimSpaces(line));
}

Part PartOfProperties(const ShapeRef& shape) {
  auto record = MakeRef<clsLCmpRec>();
  const auto property = [&](std::u16string_view row) {
    return OneLine(CellOrEmpty(shape, u"Prop." + std::u16string(row)));
  };
  record->SetName(property(u"Name"));
  record->SetDesc(property(u"Desc"));
  record->SetBrand(property(u"Brand"));
  record->SetRating(property(u"Rating"));
  record->SetModel(property(u"Model"));
  record->SetOrder(property(u"Order"));
  record->SetSupplier(property(u"Supplier"));
  record->SetRemarks(property(u"Remarks"));
  return Priced(std::move(record), property(u"Price"));
}

bool SaysNothing(clsLSortComp& sorter, const Ref<clsLCmpRec>& record) {
  return sorter.GetDataString(record) == u"0";
}

/// The parts of the drawings, a line for each part of each drawing: what the catalogue, or else the
/// property rows of a component's shape, say about it.
class BillOfMaterials final : public Report {
 public:
  BillOfMaterials(bool with_drawing, Catalogue catalogue) : catalogue_(std::move(catalogue)) {
    using Kind = ReportColumn::Kind;
    table_.name = u"bom";
    table_.title = u"Bill of materials";
    table_.columns = Columns(with_drawing, {{u"quantity", u"Qty", Kind::kNumber},
                                            {u"name", u"Name", Kind::kText},
                                            {u"description", u"Description", Kind::kText},
                                            {u"brand", u"Brand", Kind::kText},
                                            {u"rating", u"Rating", Kind::kText},
                                            {u"model", u"Model", Kind::kText},
                                            {u"order", u"Order no.", Kind::kText},
                                            {u"supplier", u"Supplier", Kind::kText},
                                            {u"unitPrice", u"Unit price", Kind::kPrice},
                                            {u"total", u"Total", Kind::kPrice},
                                            {u"references", u"References", Kind::kText},
                                            {u"remarks", u"Remarks", Kind::kText}});
  }

  void Add(IndexedDrawing& drawing, const std::vector<std::u16string>& lead) override {
    const CollectionRef components = MakeCollection();
    drawing.index().GetRefComp(drawing.Member(u"colRefShape"), components, true);
    std::map<std::u16string, Line> lines;
    const int32_t count = components->Count();
    for (int32_t position = 1; position <= count; ++position) {
      AddComponent(ToShape(components->Item(position)), lines);
    }
    const auto unassigned = lines.extract(std::u16string());

    const CollectionRef sorted = MakeCollection();
    std::map<const clsLCmpRec*, const Line*> line_of;
    sorter_.SetDataSet(sorted);
    sorter_.SetAllowDuplicates(true);
    sorter_.SetDescending(false);
    for (const auto& [identity, line] : lines) {
      line_of[line.part.record.get()] = &line;
      sorter_.Add(line.part.record);
    }
    if (std::cmp_not_equal(sorted->Count(), lines.size())) {
      Raise(Err::kOverflow, u"The drawing has more than 32767 different parts.");
    }
    for (int32_t position = 1; position <= sorted->Count(); ++position) {
      AddRow(*line_of.at(clsLCmpRec::From(sorted->Item(position)).get()), lead);
    }
    if (unassigned) AddRow(unassigned.mapped(), lead);
  }

  ReportTable Take() override {
    if (has_price_) {
      table_.totals.resize(table_.columns.size());
      for (size_t i = 0; i < table_.columns.size(); ++i) {
        if (table_.columns[i].key == u"unitPrice") table_.totals[i] = u"Total";
        if (table_.columns[i].key == u"total") table_.totals[i] = DoubleText(total_);
      }
    }
    if (!unknown_.empty()) {
      const std::vector<std::u16string> all(unknown_.begin(), unknown_.end());
      table_.remarks.push_back(u"The catalogue has no part " + Joined(all, u", ") +
                               u"; the drawing's own data is shown.");
    }
    if (!unread_.empty()) {
      const std::vector<std::u16string> all(unread_.begin(), unread_.end());
      table_.remarks.push_back(u"Not counted, as they can be read in two ways: the prices " +
                               Joined(all, u"; ") + u".");
    }
    return std::move(table_);
  }

 private:
  struct Line {
    Part part;
    std::vector<std::u16string> references;
  };

  /// Files a component under what it is: its number in the catalogue, the text in its place, or
  /// what its properties say; "" without any of these.
  void AddComponent(const ShapeRef& shape, std::map<std::u16string, Line>& lines) {
    const std::u16string identity = OneLine(SharedMisc().CompIDStr(shape));
    Part part;
    std::u16string key;
    if (!identity.empty() && !catalogue_.empty()) {
      const auto known = catalogue_.find(NumberOf(identity));
      if (known != catalogue_.end()) {
        part = known->second;
        part.record = MakeRef<clsLCmpRec>();
        Copy(*known->second.record, *part.record);
      } else if (identity != u"0") {
        unknown_.insert(identity);
      }
    }
    if (!part.record) part = PartOfProperties(shape);
    if (!identity.empty() && identity != u"0") {
      key = u"#" + identity;
    } else if (!SaysNothing(sorter_, part.record)) {
      key = u"=" + sorter_.GetDataString(part.record);
    }
    Line& line = lines[key];
    if (!part.unread_price.empty()) unread_.insert(part.unread_price);
    if (!line.part.record) line.part = part;
    const clsLCmpRec& record = *line.part.record;
    const int64_t quantity = int64_t{record.Qty()} + QuantityOf(SharedMisc().QtyStr(shape));
    line.part.record->SetQty(CheckedCast<int32_t>(quantity));
    line.references.push_back(ReferenceOf(shape));
  }

  static int32_t NumberOf(std::u16string_view identity) {
    try {
      return TextToInt32(identity);
    } catch (const AutomationError&) {
      return 0;
    }
  }

  static void Copy(const clsLCmpRec& from, clsLCmpRec& to) {
    to.SetName(from.Name());
    to.SetDesc(from.Desc());
    to.SetBrand(from.Brand());
    to.SetRating(from.Rating());
    to.SetModel(from.Model());
    to.SetOrder(from.Order());
    to.SetSupplier(from.Supplier());
    to.SetRemarks(from.Remarks());
    to.SetPrice(from.Price());
    to.SetCompID(from.CompID());
  }

  /// The reference, and which group of its shapes where there are several: "K1", "K1-G2".
  static std::u16string ReferenceOf(const ShapeRef& shape) {
    std::u16string text = OneLine(shape->Text());
    if (shape->CellExists(u"User.Group", false)) {
      const int16_t group = ToInt16(shape->Cells(u"User.Group")->ResultNumber());
      if (group != 1) {
        text += u"-" + StoredText(text_number::kGroup) + DecimalText(int32_t{group});
      }
    }
    return text;
  }

  void AddRow(const Line& line, const std::vector<std::u16string>& lead) {
    const clsLCmpRec& record = *line.part.record;
    std::u16string price, total;
    if (line.part.price != 0) {
      price = DoubleText(line.part.price);
      const double product = line.part.price * record.Qty();
      total = DoubleText(product);
      total_ += product;
      has_price_ = true;
    }
    std::vector<std::u16string> row = lead;
    const bool is_named =
        !(record.Name() + record.Desc() + record.Model() + record.Order()).empty();
    for (const std::u16string& text :
         {DecimalText(record.Qty()), is_named ? record.Name() : u"(no part data)", record.Desc(),
          record.Brand(), record.Rating(), record.Model(), record.Order(), record.Supplier(), price,
          total, Joined(InReferenceOrder(line.references), u", "), record.Remarks()}) {
      row.push_back(text);
    }
    table_.rows.push_back(std::move(row));
  }

  Catalogue catalogue_;
  ReportTable table_;
  clsLSortComp sorter_;
  std::set<std::u16string> unknown_, unread_;
  double total_ = 0;
  bool has_price_ = false;
};

std::u16string FieldText(const RecordsetRef& records, std::u16string_view name) {
  const Value value = records->Field(name);
  return value.kind() == Value::Kind::kNull ? std::u16string() : OneLine(value.ToText());
}

}  // namespace

Catalogue ReadCatalogue(clsLDB& database) {
  std::u16string order;
  const RecordsetRef records = database.GetComponents(order);
  Catalogue catalogue;
  for (; !records->EndOfFile(); records->MoveNext()) {
    auto record = MakeRef<clsLCmpRec>();
    record->SetCompID(records->Field(u"CompID").ToInt32());
    record->SetName(FieldText(records, u"Name"));
    record->SetDesc(FieldText(records, u"Desc"));
    record->SetBrand(FieldText(records, u"Brand"));
    record->SetRating(FieldText(records, u"Rating"));
    record->SetModel(FieldText(records, u"Model"));
    record->SetOrder(FieldText(records, u"Order"));
    record->SetSupplier(FieldText(records, u"Supplier"));
    record->SetRemarks(FieldText(records, u"Remarks"));
    const int32_t key = record->CompID();
    catalogue.try_emplace(key, Priced(std::move(record), FieldText(records, u"Price")));
  }
  records->Close();
  return catalogue;
}

std::unique_ptr<Report> MakeBillOfMaterials(bool with_drawing, Catalogue catalogue) {
  return std::make_unique<BillOfMaterials>(with_drawing, std::move(catalogue));
}

}  // namespace ohmwise::schematic
