#include <memory>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"
#include "settings/clsLSettings.h"

namespace ohmwise {
namespace {

constexpr std::u16string_view kApplication = u"Ohmwise";
constexpr std::u16string_view kSection = u"Options";
constexpr std::u16string_view kStencil = u"Ohmwise.vss";
constexpr std::u16string_view kStencilPackage = u"Ohmwise.vssx";  // of newer programs
constexpr std::u16string_view kCatalogue = u"Ohmwise6.mdb";
constexpr std::u16string_view kFormerCatalogue = u"Ohmwise.mdb";
constexpr std::u16string_view kOptionsFile = u"Options.txt";

std::vector<std::u16string_view> Fields(std::u16string_view line) {
  std::vector<std::u16string_view> fields;
  for (size_t begin = 0;;) {
    const size_t comma = line.find(u',', begin);
    fields.push_back(line.substr(begin, comma - begin));
    if (comma == line.npos) return fields;
    begin = comma + 1;
  }
}

DocumentRef OpenStencil(Application& application) {
  try {
    return application.DocumentNamed(kStencil);
  } catch (const AutomationError&) {
    try {
      return application.DocumentNamed(kStencilPackage);
    } catch (const AutomationError&) {
    }
    throw;
  }
}

}  // namespace

void clsLSettings::SetActiveDocument(const DocumentRef& v) {
  if (!v) Raise(Err::kObjectNotSet);
  const ApplicationRef application = v->Application();
  if (!application) Raise(Err::kObjectNotSet);
  app_path_ = OpenStencil(*application)->Path();
  reference_pop_up_ = StoredBoolean(u"ReferencePopUp", false);
  ref_page_prefix_enable_ = StoredBoolean(u"UsePagePrefixOnRef", false);
  net_page_prefix_enable_ = StoredBoolean(u"UsePagePrefixOnNet", false);
  net_page_prefix_separator_ = RegRead(u"PrefixSeparator", Value(u".")).ToText();
  const std::u16string beside = app_path_ + std::u16string(kCatalogue);
  comp_db_ = RegRead(u"CompDB6", Value(beside)).ToText();
  if (comp_db_.empty() || !CurrentHost().files().FileExists(comp_db_)) comp_db_ = beside;
  comp_db5_ = RegRead(u"CompDB", Value(app_path_ + std::u16string(kFormerCatalogue))).ToText();
  auto_unit_convert_ = StoredBoolean(u"AutoUnitConvert", true);
  auto_propagate_ = StoredBoolean(u"AutoPropagate", true);
  ReadOptionsFile();
}

void clsLSettings::SetReferencePopUp(bool v) {
  RegWrite(u"ReferencePopUp", Value(v));
  reference_pop_up_ = v;
}
void clsLSettings::SetRefPagePrefixEnable(bool v) {
  RegWrite(u"UsePagePrefixOnRef", Value(v));
  ref_page_prefix_enable_ = v;
}
void clsLSettings::SetNetPagePrefixEnable(bool v) {
  RegWrite(u"UsePagePrefixOnNet", Value(v));
  net_page_prefix_enable_ = v;
}
void clsLSettings::SetNetPagePrefixSeparator(std::u16string_view v) {
  RegWrite(u"PrefixSeparator", Value(v));
  net_page_prefix_separator_ = v;
}
void clsLSettings::SetCompDB(std::u16string_view v) {
  RegWrite(u"CompDB6", Value(v));
  comp_db_ = v;
}
void clsLSettings::SetAutoUnitConvert(bool v) {
  RegWrite(u"AutoUnitConvert", Value(v));
  auto_unit_convert_ = v;
}
void clsLSettings::SetAutoPropagate(bool v) {
  RegWrite(u"AutoPropagate", Value(v));
  auto_propagate_ = v;
}

void clsLSettings::RegWrite(std::u16string_view DataName, const Value& Data) {
  CurrentHost().settings_store().Write(kApplication, kSection, DataName, Data.ToText());
}

Value clsLSettings::RegRead(std::u16string_view DataName, const Value& Default) {
  const std::optional<std::u16string> stored =
      CurrentHost().settings_store().Read(kApplication, kSection, DataName);
  return stored ? Value(*stored) : Default;
}

bool clsLSettings::StoredBoolean(std::u16string_view name, bool otherwise) {
  const Value stored = RegRead(name, Value(otherwise));
  try {
    return stored.ToBoolean();
  } catch (const AutomationError& error) {
    Raise(error.number(), u"The stored option " + std::u16string(name) + u" is \"" +
                              stored.ToText() + u"\", which is neither True nor False (" +
                              CurrentHost().settings_store().Location() + u").");
  }
}

void clsLSettings::ReadOptionsFile() {
  wire_pattern_.clear();
  wire_companion_.clear();
  wire_regex_enable_ = false;
  const std::u16string path = ReplaceAll(comp_db_, kCatalogue, kOptionsFile);
  // A catalogue of another name has no options file; the catalogue itself is no text.
  if (path == comp_db_ || !CurrentHost().files().FileExists(path)) return;
  const std::unique_ptr<TextFile> file = CurrentHost().files().OpenText(path);
  while (!file->AtEnd()) {
    const std::u16string line = file->ReadLine();
    if (line.starts_with(u'#')) continue;
    const std::vector<std::u16string_view> fields = Fields(line);
    if (fields.size() < 3 || TrimSpaces(fields[0]) != u"WIRES") continue;
    wire_pattern_ = TrimSpaces(fields[1]);
    wire_companion_ = ReplaceAll(TrimSpaces(fields[2]), u"$", u"");
    wire_regex_enable_ = true;
  }
}

}  // namespace ohmwise
