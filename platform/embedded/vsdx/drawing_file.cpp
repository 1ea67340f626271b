#include "platform/embedded/vsdx/drawing_file.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/file_kind.h"
#include "platform/embedded/files/file_lock.h"
#include "platform/embedded/vsdx/new_drawing.h"
#include "platform/embedded/vsdx/package.h"
#include "platform/embedded/vsdx/part_reader.h"
#include "platform/embedded/vsdx/part_writer.h"

namespace ohmwise::embedded {
namespace {

constexpr const char* kVisioRelationship = "http://schemas.microsoft.com/visio/2010/relationships/";
constexpr const char* kContentTypes = "[Content_Types].xml";

// The parts that make up the structure of a drawing; only these can lead in circles.
bool Structural(std::string_view type) {
  return type == "document" || type == "pages" || type == "masters" || type == "page" ||
         type == "master";
}

std::string Folder(std::string_view part) {
  const size_t slash = part.rfind('/');
  return slash == std::string_view::npos ? "" : std::string(part.substr(0, slash + 1));
}

bool AnyTouched(const Sheet& sheet) {
  return sheet.cells_changed || sheet.text_changed || sheet.attributes_changed;
}

class PackageFile final : public DrawingFile, private ContentsLoader {
 public:
  PackageFile(std::string bytes, const std::string& name, const PackageLimits& limits,
              std::optional<FileState> state = {})
      : state_(state),
        place_(state ? ResolvedPath(name) : ""),
        package_(std::move(bytes), name, limits) {
    model_.loader = this;
    ReadStructure();
  }

  DocumentModel& model() override { return model_; }

  void Save(const std::string& path, Writing writing) override {
    const bool own = state_ && (path == package_.file() || ResolvedPath(path) == place_);
    if (own && !state_->regular) {
      Raise(Err::kHost, FromUtf8("\"" + path + "\" is no regular file; it cannot be saved there."));
    }
    const FileState written = ReplaceFile(path, Build(), own ? &*state_ : nullptr, writing);
    if (own) state_ = written;
  }
  const std::string& bytes() const override { return package_.bytes(); }
  std::string SaveBytes() override { return Build(); }

 private:
  friend class Changes;

  void Load(Contents& contents) override {
    if (contents.loaded) return;
    const std::string& part =
        contents.master != nullptr ? contents.master->part : contents.page->part;
    if (part.empty()) {
      contents.loaded = true;
      return;
    }
    ReadContents(Adopt(package_.ReadXml(part), part), contents);
  }

  PartText Adopt(std::vector<char> text, const std::string& part) {
    const size_t size = text.size();
    return {model_.arena.Adopt(std::move(text)), size, package_.file(), part};
  }

  // Follows the relationships from the package down; a way that comes back to a part it went
  // through is refused. The chain of a drawing is five parts long.
  void CheckRelationships(const std::string& part, std::vector<std::string>& way,
                          std::set<std::string>& done) {
    if (std::find(way.begin(), way.end(), part) != way.end()) {
      RaisePackage(package_.file(), way.back(),
                   "the relationships are cyclic: they lead back to \"" + part + "\".");
    }
    if (done.count(part) != 0) return;
    if (way.size() > package_.limits().master_recursion) {
      RaisePackage(package_.file(), part, "the chain of relationships is too long.");
    }
    way.push_back(part);
    std::vector<Relationship>& found = relationships_[part];
    found = package_.Relationships(part);
    for (Relationship& one : found) {
      if (!Structural(one.type)) continue;
      const std::string entry = package_.Find(one.target);
      if (!entry.empty()) one.target = entry;
      CheckRelationships(one.target, way, done);
    }
    way.pop_back();
    done.insert(part);
  }

  std::string TargetOfType(const std::string& part, std::string_view type) {
    for (const Relationship& one : relationships_[part]) {
      if (one.type == type) return one.target;
    }
    return "";
  }

  void ReadStructure() {
    std::vector<std::string> way;
    std::set<std::string> done;
    CheckRelationships("", way, done);
    document_ = TargetOfType("", "document");
    if (document_.empty()) {
      const std::string kind = DescribeFile(package_.bytes());
      RaisePackage(package_.file(), "",
                   kind.ends_with("(.vsdx)")
                       ? "the main part of the drawing (relationship \"document\") is missing."
                       : "this is " + kind + ", no drawing.");
    }
    if (package_.Find(document_).empty()) {
      RaisePackage(package_.file(), document_, "the main part of the drawing is missing.");
    }
    ReadDocument(Adopt(package_.ReadXml(document_), document_), model_);
    for (const auto& style : model_.styles) styles_.insert(style->id);

    std::set<std::string> used = {document_};
    masters_ = TargetOfType(document_, "masters");
    if (!masters_.empty()) {
      used.insert(masters_);
      const auto ids = ReadMasters(Adopt(package_.ReadXml(masters_), masters_), model_);
      for (size_t i = 0; i < ids.size(); ++i) {
        model_.masters[i]->part = PartOf(masters_, ids[i], used);
      }
    }
    pages_ = TargetOfType(document_, "pages");
    if (!pages_.empty()) {
      used.insert(pages_);
      const auto ids = ReadPages(Adopt(package_.ReadXml(pages_), pages_), model_);
      for (size_t i = 0; i < ids.size(); ++i) {
        model_.pages[i]->part = PartOf(pages_, ids[i], used);
      }
    }
  }

  std::string PartOf(const std::string& list, const std::string& id, std::set<std::string>& used) {
    if (id.empty()) return "";
    for (const Relationship& one : relationships_[list]) {
      if (one.id != id) continue;
      if (package_.Find(one.target).empty()) {
        RaisePackage(package_.file(), one.target,
                     "the part is missing, though \"" + list + "\" refers to it.");
      }
      if (!used.insert(one.target).second) {
        RaisePackage(package_.file(), list, "two entries share the part \"" + one.target + "\".");
      }
      return one.target;
    }
    RaisePackage(package_.file(), list, "there is no relationship \"" + id + "\".");
  }

  std::string Build();

  std::optional<FileState> state_;  // of the file it was read from
  std::string place_;
  Package package_;
  DocumentModel model_;
  std::string document_, pages_, masters_;
  std::unordered_set<uint32_t> styles_;  // IDs of the style sheets that the file holds
  std::map<std::string, std::vector<Relationship>> relationships_;
};

// What one save changes in the package.
class Changes {
 public:
  explicit Changes(PackageFile& file)
      : file_(file),
        package_(file.package_),
        model_(file.model_),
        masters_list_(file.masters_),
        pages_list_(file.pages_) {}

  // The package anew, or nullopt when nothing differs.
  std::optional<std::string> Run() {
    PlaceNewParts();
    PatchSheets();
    for (const auto& master : model_.masters) Write(master->contents, master->added);
    for (const auto& page : model_.pages) {
      if (!page->erased) Write(page->contents, page->added);
    }
    if (model_.recalculate_on_open) Recalculate();
    Flush();
    if (replaced_.empty() && removed_.empty()) return std::nullopt;
    return package_.Rebuild(replaced_, removed_);
  }

 private:
  std::string Text(const std::string& part) {
    const auto found = replaced_.find(part);
    if (found != replaced_.end()) return found->second;
    const std::vector<char> xml = package_.ReadXml(part);
    return {xml.begin(), xml.end()};
  }

  // Calls `patch(PartOrigin)` and keeps the result if it differs.
  template <class Patch>
  void Rewrite(const std::string& part, const Patch& patch) {
    const std::string text = Text(part);
    std::string changed = patch(PartOrigin{text, package_.file(), part});
    if (changed != text) replaced_[part] = std::move(changed);
  }

  std::string FreeName(const std::string& stem) {
    uint32_t& number = numbers_[stem];
    std::string name;
    do {
      name = stem + std::to_string(++number) + ".xml";
    } while (!package_.Find(name).empty());
    return name;
  }

  std::string AddRelationship(const std::string& source, const std::string& type,
                              const std::string& target) {
    const auto [counter, first] = next_id_.try_emplace(source, 1u);
    if (first) {
      // External targets count too, so the text is searched and not the list.
      const std::string rels = package_.Find(RelationshipsPart(source));
      const std::string text = rels.empty() ? "" : Text(rels);
      for (size_t at = text.find("rId"); at != std::string::npos; at = text.find("rId", at + 3)) {
        uint32_t number = 0;
        for (size_t i = at + 3; i < text.size() && text[i] >= '0' && text[i] <= '9' && i < at + 11;
             ++i) {
          number = number * 10 + static_cast<uint32_t>(text[i] - '0');
        }
        counter->second = std::max(counter->second, number + 1);
      }
    }
    const std::string id = "rId" + std::to_string(counter->second++);
    new_relationships_[source] += "<Relationship Id=\"" + id + "\" Type=\"" + type +
                                  "\" Target=\"" + RelativeTarget(source, target) + "\"/>";
    return id;
  }

  void AddContentType(const std::string& part, const std::string& type) {
    new_types_ += "<Override PartName=\"/" + part + "\" ContentType=\"" + type + "\"/>";
  }

  // Names and relationships of pages and masters that the package has no parts for yet.
  void PlaceNewParts() {
    for (const auto& master : model_.masters) {
      if (master->added) Place(master->contents, ListPart(masters_list_, "masters"), "master");
    }
    for (const auto& page : model_.pages) {
      if (page->added && !page->erased) {
        Place(page->contents, ListPart(pages_list_, "pages"), "page");
      }
    }
  }

  // The list of masters or pages; begun where the drawing has none.
  const std::string& ListPart(std::string& list, const std::string& kind) {
    if (!list.empty()) return list;
    list = Folder(file_.document_) + kind + "/" + kind + ".xml";
    if (!package_.Find(list).empty()) list = FreeName(Folder(file_.document_) + kind + "/" + kind);
    replaced_[list] = EmptyList(kind == "masters" ? "Masters" : "Pages");
    AddRelationship(file_.document_, kVisioRelationship + kind, list);
    AddContentType(list, "application/vnd.ms-visio." + kind + "+xml");
    return list;
  }

  void Place(const Contents& contents, const std::string& list, const std::string& kind) {
    const std::string part = FreeName(Folder(list) + kind);
    parts_[&contents] = part;
    ids_[&contents] = AddRelationship(list, kVisioRelationship + kind, part);
    AddContentType(part, "application/vnd.ms-visio." + kind + "+xml");
  }

  void PatchSheets() {
    const bool document =
        AnyTouched(model_.sheet) ||
        std::any_of(model_.styles.begin(), model_.styles.end(), [&](const auto& style) {
          return AnyTouched(*style) || file_.styles_.count(style->id) == 0;
        });
    if (document) {
      Rewrite(file_.document_,
              [&](const PartOrigin& origin) { return PatchDocument(origin, model_); });
    }
    const auto relationship = [&](const Contents& contents) { return ids_[&contents]; };
    const bool masters =
        std::any_of(model_.masters.begin(), model_.masters.end(),
                    [](const auto& m) { return m->added || AnyTouched(m->sheet); });
    if (masters) {
      Rewrite(masters_list_,
              [&](const PartOrigin& origin) { return PatchMasters(origin, model_, relationship); });
    }
    const bool pages = std::any_of(model_.pages.begin(), model_.pages.end(), [](const auto& p) {
      return p->added || p->erased || p->attributes_changed || AnyTouched(p->sheet);
    });
    if (pages && !pages_list_.empty()) {
      Rewrite(pages_list_,
              [&](const PartOrigin& origin) { return PatchPages(origin, model_, relationship); });
      RemoveErasedPages();
    }
  }

  void RemoveErasedPages() {
    std::set<std::string> gone;
    for (const auto& page : model_.pages) {
      if (!page->erased || page->added || page->part.empty()) continue;
      gone.insert(page->part);
      removed_.insert(page->part);
      const std::string rels = package_.Find(RelationshipsPart(page->part));
      if (!rels.empty()) removed_.insert(rels);
    }
    if (gone.empty()) return;
    // Foreground pages refer to their background as well as the list does.
    std::vector<std::string> sources = {pages_list_};
    for (const auto& page : model_.pages) {
      if (!page->erased && !page->part.empty()) sources.push_back(page->part);
    }
    for (const std::string& source : sources) {
      const std::string rels = package_.Find(RelationshipsPart(source));
      if (rels.empty()) continue;
      Rewrite(rels, [&](const PartOrigin& origin) {
        return RemoveFromRoot(origin, "Target", [&](std::string_view target) {
          std::string part;
          return ResolveTarget(source, target, part) && gone.count(package_.Find(part)) != 0;
        });
      });
    }
    if (!package_.Find(kContentTypes).empty()) {
      Rewrite(kContentTypes, [&](const PartOrigin& origin) {
        return RemoveFromRoot(origin, "PartName", [&](std::string_view name) {
          return name.starts_with('/') && gone.count(package_.Find(name.substr(1))) != 0;
        });
      });
    }
  }

  const std::string& PartName(const Contents& contents) {
    const auto placed = parts_.find(&contents);
    if (placed != parts_.end()) return placed->second;
    return contents.master != nullptr ? contents.master->part : contents.page->part;
  }

  void Write(const Contents& contents, bool added) {
    if (!added && (!contents.loaded || !contents.changed)) return;
    const std::string part = PartName(contents);
    if (part.empty()) return;  // a stencil's page has no place for shapes
    if (added) {
      replaced_[part] = WriteContents(contents);
    } else {
      Rewrite(part, [&](const PartOrigin& origin) { return PatchContents(origin, contents); });
    }
    ReferToMasters(contents, part);
  }

  static void MastersOfNewShapes(const std::vector<std::unique_ptr<Sheet>>& shapes,
                                 std::set<uint32_t>& masters) {
    for (const auto& shape : shapes) {
      if (shape->erased) continue;
      if (shape->ordinal == Sheet::kNoOrdinal && shape->master != Sheet::kNoId) {
        masters.insert(shape->master);
      }
      MastersOfNewShapes(shape->children, masters);
    }
  }

  // Every master that shapes of a part use is among the part's relationships.
  void ReferToMasters(const Contents& contents, const std::string& part) {
    std::set<uint32_t> masters;
    MastersOfNewShapes(contents.shapes, masters);
    for (const uint32_t id : masters) {
      const MasterModel* master = model_.FindMaster(id);
      if (master == nullptr) continue;
      const std::string target = PartName(master->contents);
      if (target.empty() || target == part) continue;
      const auto& known = file_.relationships_[part];
      if (std::any_of(known.begin(), known.end(), [&](const Relationship& one) {
            return one.type == "master" && one.target == target;
          })) {
        continue;
      }
      AddRelationship(part, std::string(kVisioRelationship) + "master", target);
    }
  }

  void Recalculate() {
    for (const Relationship& one : file_.relationships_[""]) {
      const std::string part = one.type == "custom-properties" ? package_.Find(one.target) : "";
      if (part.empty()) continue;
      Rewrite(part, RequestRecalculation);
      return;
    }
    std::string part = "docProps/custom.xml";
    if (!package_.Find(part).empty()) part = FreeName("docProps/custom");
    replaced_[part] =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<Properties "
        "xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/custom-properties\"/>";
    Rewrite(part, RequestRecalculation);
    AddRelationship("",
                    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
                    "custom-properties",
                    part);
    AddContentType(part, "application/vnd.openxmlformats-officedocument.custom-properties+xml");
  }

  // Writes the collected relationships and content types, each list once.
  void Flush() {
    for (const auto& [source, elements] : new_relationships_) {
      std::string rels = package_.Find(RelationshipsPart(source));
      if (rels.empty()) {
        rels = RelationshipsPart(source);
        replaced_[rels] =
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<Relationships "
            "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"/>";
      }
      Rewrite(rels, [&elements = elements](const PartOrigin& origin) {
        return AppendToRoot(origin, elements);
      });
    }
    // A package without content types was read; inventing them for some parts only would not help.
    if (!new_types_.empty() && !package_.Find(kContentTypes).empty()) {
      Rewrite(package_.Find(kContentTypes),
              [&](const PartOrigin& origin) { return AppendToRoot(origin, new_types_); });
    }
  }

  PackageFile& file_;
  Package& package_;
  DocumentModel& model_;
  std::string masters_list_, pages_list_;
  std::map<std::string, std::string> replaced_;
  std::set<std::string> removed_;
  std::unordered_map<const Contents*, std::string> parts_, ids_;
  std::map<std::string, uint32_t> numbers_, next_id_;
  std::map<std::string, std::string> new_relationships_;
  std::string new_types_;
};

std::string PackageFile::Build() {
  std::optional<std::string> changed = Changes(*this).Run();
  return changed ? std::move(*changed) : package_.bytes();
}

}  // namespace

std::unique_ptr<DrawingFile> DrawingFile::Open(const std::string& path,
                                               const PackageLimits& limits) {
  FileState state;
  std::string bytes = ReadWholeFile(path, limits.total_bytes, &state);
  auto file = std::make_unique<PackageFile>(std::move(bytes), path, limits, state);
  file->model().full_path = path;
  return file;
}

std::unique_ptr<DrawingFile> DrawingFile::OpenBytes(std::string bytes, const std::string& name,
                                                    const PackageLimits& limits) {
  return std::make_unique<PackageFile>(std::move(bytes), name, limits);
}

std::unique_ptr<DrawingFile> DrawingFile::Create() {
  return OpenBytes(NewDrawingBytes(), "new drawing");
}

}  // namespace ohmwise::embedded
