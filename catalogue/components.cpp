#include <string>

#include "base/text.h"
#include "catalogue/clsLDB.h"
#include "catalogue/price.h"
#include "platform/host.h"

namespace ohmwise {
namespace {

constexpr std::u16string_view kDefaultLayShape = u"LayRect";

struct ComponentFields {
  std::u16string_view name, desc, brand, rating, model, order, supplier, remarks, price;
  bool layout;
  std::u16string_view lay_shape, width, height;
};

void Assign(const RecordsetRef& records, const ComponentFields& fields) {
  records->SetField(u"Name", fields.name);
  records->SetField(u"Desc", fields.desc);
  records->SetField(u"Brand", fields.brand);
  records->SetField(u"Rating", fields.rating);
  records->SetField(u"Model", fields.model);
  records->SetField(u"Order", fields.order);
  records->SetField(u"Supplier", fields.supplier);
  records->SetField(u"Remarks", fields.remarks);
  records->SetField(u"Price", catalogue::PriceText(fields.price, CurrentHost().number_format()));
  records->SetField(u"Layout", fields.layout);
  records->SetField(u"LayShape", fields.lay_shape);
  records->SetField(u"Width", fields.width);
  records->SetField(u"Height", fields.height);
}

}  // namespace

int32_t clsLDB::AddComponent(std::u16string_view tName, std::u16string_view tDesc,
                             std::u16string_view tBrand, std::u16string_view tRating,
                             std::u16string_view tModel, std::u16string_view tOrder,
                             std::u16string_view tSupplier, std::u16string_view tRemarks,
                             std::u16string_view tPrice, bool tLayout,
                             std::u16string_view tLayShape, std::u16string_view tWidth,
                             std::u16string_view tHeight) {
  const RecordsetRef records = Open(u"SELECT * FROM CompDB");
  records->AddNew();
  Assign(records, {tName, tDesc, tBrand, tRating, tModel, tOrder, tSupplier, tRemarks, tPrice,
                   tLayout, tLayShape.empty() ? kDefaultLayShape : tLayShape, tWidth, tHeight});
  records->SetField(u"CompID", GetNextCompID());
  const int32_t key = records->Field(u"CompID").ToInt32();
  records->Update();
  records->Close();
  return key;
}

void clsLDB::SetComponent(std::u16string_view tName, std::u16string_view tDesc,
                          std::u16string_view tBrand, std::u16string_view tRating,
                          std::u16string_view tModel, std::u16string_view tOrder,
                          std::u16string_view tSupplier, std::u16string_view tRemarks,
                          std::u16string_view tPrice, bool tLayout, std::u16string_view tLayShape,
                          std::u16string_view tWidth, std::u16string_view tHeight,
                          int32_t tCompID) {
  const RecordsetRef records = Open(u"SELECT * FROM CompDB WHERE CompID=" + DecimalText(tCompID));
  if (!records->EndOfFile()) {
    Assign(records, {tName, tDesc, tBrand, tRating, tModel, tOrder, tSupplier, tRemarks, tPrice,
                     tLayout, tLayShape, tWidth, tHeight});
    records->Update();
  }
  if (records->State() != kStateClosed) records->Close();
}

void clsLDB::DeleteComponent(int32_t tCompID) {
  Run(u"DELETE * FROM CompDB WHERE CompID=" + DecimalText(tCompID));
}

RecordsetRef clsLDB::GetComponent(int32_t tCompID, bool Silent) {
  return Lookup(u"SELECT * FROM CompDB WHERE CompID = " + DecimalText(tCompID),
                u"SELECT * FROM CompDB WHERE CompID=1", Silent);
}

RecordsetRef clsLDB::GetComponents(std::u16string& tOrder) {
  if (!tOrder.empty()) tOrder.insert(0, u" ORDER BY ");
  return Open(u"SELECT * FROM CompDB" + tOrder);
}

int32_t clsLDB::GetNextCompID() { return NextKey(u"Select Max(CompID) from CompDB"); }

}  // namespace ohmwise
