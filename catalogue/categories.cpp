#include <string>

#include "base/text.h"
#include "catalogue/clsLDB.h"

namespace ohmwise {
namespace {

std::u16string ByName(std::u16string_view name) {
  return u"SELECT * FROM CatDB WHERE CatName='" + std::u16string(name) + u"'";
}

std::u16string ByBoth(int32_t component, int32_t category) {
  return u"OrgDB WHERE CompID=" + DecimalText(component) + u" AND CatID=" + DecimalText(category);
}

}  // namespace

void clsLDB::AddCategory(std::u16string_view tCatName) {
  const RecordsetRef records = Open(u"SELECT * FROM CatDB");
  records->AddNew();
  records->SetField(u"CatID", GetNextCatID());
  records->SetField(u"CatName", tCatName);
  records->Update();
  records->Close();
}

void clsLDB::EditCategory(std::u16string_view tCatName, std::u16string_view tNewName) {
  const RecordsetRef records = Open(ByName(tCatName));
  records->SetField(u"CatName", tNewName);
  records->Update();
  records->Close();
}

void clsLDB::DeleteCatByID(int32_t tCatID) {
  Run(u"DELETE * FROM CatDB WHERE CatID=" + DecimalText(tCatID));
}

RecordsetRef clsLDB::GetCategories() { return Open(u"SELECT * FROM CatDB ORDER BY CatName"); }

int32_t clsLDB::GetCatID(std::u16string_view tCatName) {
  const RecordsetRef records = Open(ByName(tCatName));
  const int32_t key = records->EndOfFile() ? 0 : records->Field(u"CatID").ToInt32();
  records->Close();
  return key;
}

std::u16string clsLDB::GetCatName(int32_t tCatID) {
  const RecordsetRef records = Open(u"SELECT * FROM CatDB WHERE CatID=" + DecimalText(tCatID));
  std::u16string name;
  if (!records->EndOfFile()) name = records->Field(u"CatName").ToText();
  records->Close();
  return name;
}

int32_t clsLDB::GetNextCatID() { return NextKey(u"Select Max(CatID) from CatDB"); }

void clsLDB::AddOrg(int32_t tCompID, int32_t tCatID) {
  const RecordsetRef records = Open(u"SELECT * FROM OrgDB");
  records->AddNew();
  records->SetField(u"CompID", tCompID);
  records->SetField(u"CatID", tCatID);
  records->Update();
  records->Close();
}

RecordsetRef clsLDB::GetOrg(int32_t tCompID, int32_t tCatID) {
  return Open(u"SELECT * FROM " + ByBoth(tCompID, tCatID));
}

RecordsetRef clsLDB::GetOrgByCompID(int32_t tCompID) {
  return Open(u"SELECT * FROM OrgDB WHERE CompID=" + DecimalText(tCompID) + u" ORDER BY CatID");
}

void clsLDB::DeleteOrg(int32_t tCompID, int32_t tCatID) {
  Run(u"DELETE * FROM " + ByBoth(tCompID, tCatID));
}

void clsLDB::DeleteOrgByCompID(int32_t tCompID) {
  Run(u"DELETE * FROM OrgDB WHERE CompID=" + DecimalText(tCompID));
}

void clsLDB::DeleteOrgByCatID(int32_t tCatID) {
  Run(u"DELETE * FROM OrgDB WHERE CatID=" + DecimalText(tCatID));
}

}  // namespace ohmwise
