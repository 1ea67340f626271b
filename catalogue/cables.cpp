#include <string>

#include "base/text.h"
#include "catalogue/clsLDB.h"
#include "catalogue/price.h"
#include "platform/host.h"

namespace ohmwise {
namespace {

struct CableFields {
  std::u16string_view name, brand, model;
  int16_t cores;
  std::u16string_view core_names, area, order, supplier, remarks, price;
  int32_t key;
};

void Assign(const RecordsetRef& records, const CableFields& fields) {
  records->SetField(u"Name", fields.name);
  records->SetField(u"Brand", fields.brand);
  records->SetField(u"Model", fields.model);
  records->SetField(u"Cores", fields.cores);
  records->SetField(u"CoreNames", fields.core_names);
  records->SetField(u"Area", fields.area);
  records->SetField(u"Order", fields.order);
  records->SetField(u"Supplier", fields.supplier);
  records->SetField(u"Remarks", fields.remarks);
  records->SetField(u"Price", catalogue::PriceText(fields.price, CurrentHost().number_format()));
  records->SetField(u"CableID", fields.key);
}

}  // namespace

int32_t clsLDB::AddCable(std::u16string_view tName, std::u16string_view tBrand,
                         std::u16string_view tModel, int16_t tCores, std::u16string_view tCoreNames,
                         std::u16string_view tArea, std::u16string_view tOrder,
                         std::u16string_view tSupplier, std::u16string_view tRemarks,
                         std::u16string_view tPrice, int32_t tCableID) {
  const RecordsetRef records = Open(u"SELECT * FROM  CableDB");  // with both blanks
  records->AddNew();
  Assign(records, {tName, tBrand, tModel, tCores, tCoreNames, tArea, tOrder, tSupplier, tRemarks,
                   tPrice, tCableID});
  const int32_t key = records->Field(u"CableID").ToInt32();
  records->Update();
  records->Close();
  return key;
}

void clsLDB::SetCable(std::u16string_view tName, std::u16string_view tBrand,
                      std::u16string_view tModel, int16_t tCores, std::u16string_view tCoreNames,
                      std::u16string_view tArea, std::u16string_view tOrder,
                      std::u16string_view tSupplier, std::u16string_view tRemarks,
                      std::u16string_view tPrice, int32_t tCableID) {
  const RecordsetRef records =
      Open(u"SELECT * FROM CableDB WHERE CableID=" + DecimalText(tCableID));
  if (!records->EndOfFile()) {
    Assign(records, {tName, tBrand, tModel, tCores, tCoreNames, tArea, tOrder, tSupplier, tRemarks,
                     tPrice, tCableID});
    records->Update();
  }
  if (records->State() != kStateClosed) records->Close();
}

void clsLDB::DeleteCable(int32_t tCableID) {
  Run(u"DELETE * FROM CableDB WHERE CableID=" + DecimalText(tCableID));
}

RecordsetRef clsLDB::GetCable(int32_t tCableID, bool Silent) {
  return Lookup(u"SELECT * FROM CableDB WHERE CableID = " + DecimalText(tCableID),
                u"SELECT * FROM CableDB WHERE CableID=0", Silent);
}

bool clsLDB::CableExist(std::u16string_view tName, std::u16string_view tBrand,
                        std::u16string_view tModel, int16_t tCores, std::u16string_view tCoreNames,
                        std::u16string_view tArea, std::u16string_view tOrder,
                        std::u16string_view tSupplier, std::u16string_view tRemarks,
                        std::u16string_view tPrice) {
  std::u16string sql = u"Select * From CableDB Where ";
  const auto equals = [&sql](std::u16string_view column, std::u16string_view text) {
    sql.append(column).append(u" = '").append(text).append(u"' And ");
  };
  equals(u"Name", tName);
  equals(u"Brand", tBrand);
  equals(u"Model", tModel);
  sql.append(u"Cores = ").append(DecimalText(int32_t{tCores})).append(u" And ");
  equals(u"CoreNames", tCoreNames);
  equals(u"Area", tArea);
  equals(u"[Order]", tOrder);
  equals(u"Supplier", tSupplier);
  equals(u"Remarks", tRemarks);
  sql.append(u"Price = ").append(tPrice);
  return !Open(sql)->EndOfFile();  // never closed: it ends with its last holder
}

int32_t clsLDB::GetNextCableID() { return NextKey(u"SELECT MAX(CableID) from CableDB"); }

}  // namespace ohmwise
