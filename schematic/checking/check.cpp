#include "schematic/checking/check.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "schematic/wiring/wires.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"
#include "shapeutil/symbol_types.h"

namespace ohmwise::schematic {
namespace {

using shapeutil::CellText;
using shapeutil::ValueOr;

struct RuleCode {
  std::string_view name;
  FindingLevel level;
};
constexpr RuleCode kBrokenLink{"broken-link", FindingLevel::kError};
constexpr RuleCode kCoilWithoutContact{"coil-without-contact", FindingLevel::kWarning};
constexpr RuleCode kContactUsedTwice{"contact-used-twice", FindingLevel::kWarning};
constexpr RuleCode kContactWithoutCoil{"contact-without-coil", FindingLevel::kError};
constexpr RuleCode kDuplicateReference{"duplicate-reference", FindingLevel::kError};
constexpr RuleCode kDuplicateTitleBlock{"duplicate-title-block", FindingLevel::kWarning};
constexpr RuleCode kEmptyText{"empty-text", FindingLevel::kError};
constexpr RuleCode kLabelOutOfStep{"label-out-of-step", FindingLevel::kWarning};
constexpr RuleCode kLabelWithoutReference{"label-without-reference", FindingLevel::kError};
constexpr RuleCode kNetOnOnePage{"net-on-one-page", FindingLevel::kWarning};
constexpr RuleCode kPageWithoutTitleBlock{"page-without-title-block", FindingLevel::kWarning};
constexpr RuleCode kTerminalWithoutNet{"terminal-without-net", FindingLevel::kWarning};
constexpr RuleCode kTextOutOfStep{"text-out-of-step", FindingLevel::kError};
constexpr RuleCode kUnknownComponent{"unknown-component", FindingLevel::kError};

std::u16string Quoted(std::u16string_view text) { return u"\"" + std::u16string(text) + u"\""; }

/// A shape that the index knows, as it was before the scan.
struct Symbol {
  ShapeRef shape;
  size_t page = 0;
  int32_t type = 0;
  std::u16string text;                   ///< as shown
  std::optional<std::u16string> stored;  ///< what its cell keeps of the text; none without the cell
  std::u16string group;
  bool is_nameless = false;  ///< no text of its own
  Wiring wiring;

  bool IsComponent() const { return symbol::IsComponent(type); }
  bool IsNet() const { return type == symbol::kNet; }
  bool IsTerminal() const { return symbol::IsTerminal(type); }
};

struct CheckedPage {
  PageRef page;
  int32_t number = 0;
  std::vector<WiredShape> wired;  ///< also what the index passes over: pieces of wire, junctions
  std::vector<size_t> symbols;    ///< which of them is which symbol, kNone for the others
};

constexpr size_t kNone = static_cast<size_t>(-1);

/// The shapes that carry a reference in one group: the symbols of one component.
struct Component {
  std::u16string reference;
  int16_t group = 0;
  std::vector<const Symbol*> symbols;
};

/// Pin names of a symbol: those of the pin set in use, or all that its lists have.
std::set<std::u16string> PinNames(const ShapeRef& shape, bool of_every_set) {
  std::set<std::u16string> names;
  const int16_t set = SharedMisc().PinSet(shape);
  const int16_t rows = shape->RowCount(section::kConnectionPoints);
  for (int16_t row = 0; row < rows; ++row) {
    std::u16string list =
        ValueOr(std::u16string(), [&] { return shapeutil::PinList(*shape, row); });
    if (!of_every_set) {
      if (set < 1) continue;
      const std::u16string name(TrimSpaces(SharedMisc().GetPin(list, set)));
      if (!name.empty() && name != u"?") names.insert(name);
      continue;
    }
    for (size_t at = list.find(u','); at != list.npos;) {  // after the header
      const size_t end = std::min(list.find(u',', at + 1), list.size());
      const std::u16string_view name =
          TrimSpaces(std::u16string_view(list).substr(at + 1, end - at - 1));
      if (!name.empty()) names.insert(FoldCase(name));
      at = end == list.size() ? list.npos : end;
    }
  }
  return names;
}

/// Letters that say of which class a component is: "K" of "=A1+B2-K12.3" and of "3K1".
std::u16string ClassLetters(std::u16string_view reference) {
  const size_t sign = reference.find_last_of(u"-+=");
  if (sign != reference.npos) reference.remove_prefix(sign + 1);
  const auto is_letter = [](char16_t c) {
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c >= 0x80;
  };
  const auto first = std::find_if(reference.begin(), reference.end(), is_letter);
  const auto last = std::find_if_not(first, reference.end(), is_letter);
  return FoldCase(std::u16string(first, last));
}

/// What the scan writes where there is no text.
std::u16string Placeholder(int32_t role) {
  return SharedLang().GetStr(role) + u" " + SharedLang().GetStr(text_number::kError);
}

bool HasPartData(const ShapeRef& shape) {
  return SharedMisc().GotProp(shape) || !SharedMisc().CompIDStr(shape).empty();
}

/// Windings are marked A1 and A2 the world over. A symbol without pin names is taken for a coil
/// where its letters are those of relays and contactors.
bool IsCoil(const Symbol& symbol) {
  if (symbol.type == symbol::kContact) return false;
  const std::set<std::u16string> pins = PinNames(symbol.shape, true);
  if (!pins.empty()) return pins.count(FoldCase(u"A1")) > 0 && pins.count(FoldCase(u"A2")) > 0;
  return ClassLetters(symbol.text).starts_with(FoldCase(u"K"));
}

/// A contact belongs to another symbol. One that says itself which part it is stands for itself.
bool IsContact(const Symbol& symbol) {
  return symbol.type == symbol::kContact && !HasPartData(symbol.shape);
}

bool IsMain(const Symbol& symbol) {
  return symbol.type != symbol::kContact && (HasPartData(symbol.shape) || IsCoil(symbol));
}

/// One pass over a drawing.
class Check {
 public:
  Check(IndexedDrawing& drawing, const ChangeRecord& changes, const std::set<int32_t>* components)
      : drawing_(drawing), changes_(changes), known_components_(components) {
    ReadSymbols();
    drawing_.Scan();
    for (const Symbol& symbol : symbols_) {
      if (symbol.is_nameless || !symbol.IsComponent()) continue;
      const int16_t group = ValueOr(
          int16_t{0}, [&] { return ToInt16(shapeutil::NumberOr(symbol.shape, u"User.Group", 0)); });
      Component& component = components_[{FoldCase(symbol.text), group}];
      if (component.symbols.empty()) {
        component.reference = symbol.text;
        component.group = group;
      }
      component.symbols.push_back(&symbol);
    }
    for (CheckedPage& page : pages_) {
      const std::vector<Wiring> wiring = FollowWires(page.page, page.wired);
      for (size_t i = 0; i < wiring.size(); ++i) {
        if (page.symbols[i] != kNone) symbols_[page.symbols[i]].wiring = wiring[i];
      }
    }
  }

  CheckedDrawing Run() {
    CheckTexts();
    CheckReferences();
    CheckContacts();
    CheckParts();
    CheckNets();
    CheckTerminals();
    CheckTitleBlocks();
    CheckLabels();
    CheckedDrawing result;
    result.pages = pages_.size();
    result.symbols = symbols_.size();
    result.has_parts = has_parts_;
    std::stable_sort(findings_.begin(), findings_.end(), [](const auto& a, const auto& b) {
      if (a.first != b.first) return a.first < b.first;
      return a.second.level > b.second.level;
    });
    for (auto& [page, finding] : findings_) result.findings.push_back(std::move(finding));
    return result;
  }

 private:
  void ReadSymbols() {
    const std::u16string no_net = Placeholder(text_number::kNet);
    const std::u16string no_reference = Placeholder(text_number::kComponent);
    for (const PageRef& page : drawing_.ForegroundPages()) {
      const size_t number = pages_.size();
      CheckedPage& checked = pages_.emplace_back();
      checked.page = page;
      shapeutil::ForEachShape(page->Shapes(), [&](ShapeRef shape) {
        Symbol symbol;
        symbol.shape = std::move(shape);
        symbol.page = number;
        symbol.type = SharedMisc().TypeNo(symbol.shape);
        const bool is_known = symbol.IsComponent() || symbol.IsNet() || symbol.IsTerminal() ||
                              symbol.type == symbol::kLabel || symbol.type == symbol::kTitleBlock ||
                              symbol.type == symbol::kLadderZone;
        if (symbol.IsComponent() || symbol.IsNet() || symbol.IsTerminal() ||
            symbol.type == symbol::kJunction || (!is_known && symbol.shape->OneD())) {
          checked.wired.push_back({symbol.shape, symbol.type});
          checked.symbols.push_back(is_known ? symbols_.size() : kNone);
        }
        if (!is_known) return;
        symbol.text = symbol.shape->Text();
        if (symbol.IsComponent() || symbol.IsNet()) {
          const std::u16string_view cell = symbol.IsNet() ? u"Scratch.B1" : u"User.Ref";
          if (symbol.shape->CellExists(cell, false)) {
            symbol.stored = symbol.shape->Cells(cell)->ResultText();
          }
        }
        symbol.group = CellText(*symbol.shape, u"User.Group");
        const std::u16string_view text = TrimSpaces(symbol.text);
        symbol.is_nameless = text.empty() || (symbol.IsNet() && text == no_net) ||
                             (symbol.IsComponent() && text == no_reference);
        symbols_.push_back(std::move(symbol));
      });
    }
    for (CheckedPage& page : pages_) {
      page.number = ValueOr(page.page->Index(), [&] { return PageNumber(page.page); });
    }
  }

  void Report(const RuleCode& code, const Symbol& symbol, std::u16string message) {
    Finding& finding = ReportPage(code, symbol.page, std::move(message));
    finding.shape = symbol.shape->UniqueID();
    finding.name = symbol.shape->Name();
    if (!symbol.is_nameless && symbol.type != symbol::kTitleBlock) finding.reference = symbol.text;
    finding.location = LocationOf(symbol.shape);
  }

  Finding& ReportPage(const RuleCode& code, size_t page, std::u16string message) {
    Finding finding;
    finding.code = code.name;
    finding.level = code.level;
    finding.page = pages_[page].page->Name();
    finding.page_number = pages_[page].number;
    finding.message = std::move(message);
    return findings_.emplace_back(page, std::move(finding)).second;
  }

  /// Where a symbol is, for the middle of a sentence.
  std::u16string Place(const Symbol& symbol) const {
    const std::u16string location = LocationOf(symbol.shape);
    return location.empty() ? u"on page " + Quoted(pages_[symbol.page].page->Name())
                            : u"at " + location;
  }

  void CheckTexts() {
    for (const Symbol& symbol : symbols_) {
      // A protective conductor needs no number of its own.
      const bool needs_text = symbol.IsComponent() || symbol.IsNet() ||
                              symbol.type == symbol::kTerminal || symbol.type == symbol::kLabel;
      if (symbol.is_nameless && needs_text) {
        Report(kEmptyText, symbol, EmptyTextMessage(symbol));
        continue;
      }
      if (!symbol.IsComponent() && !symbol.IsNet()) continue;
      if (symbol.stored == symbol.text) continue;
      const std::u16string cell = symbol.IsNet() ? u"Scratch.B1" : u"User.Ref";
      const std::u16string stored = !symbol.stored           ? u"is missing"
                                    : symbol.stored->empty() ? u"is empty"
                                                             : u"says " + Quoted(*symbol.stored);
      Report(kTextOutOfStep, symbol,
             u"It shows " + Quoted(symbol.text) + u" and its cell " + cell + u" " + stored +
                 u"; formulas follow the cell. Correct the text if it is wrong, then run ohmwise "
                 u"index --save.");
    }
  }

  static std::u16string EmptyTextMessage(const Symbol& symbol) {
    const std::u16string now =
        symbol.text.empty() ? u"no text" : u"no text but " + Quoted(symbol.text);
    if (symbol.IsNet()) return u"The wire has " + now + u". Give it its number.";
    if (symbol.IsTerminal()) return u"The terminal has " + now + u". Give it strip and number.";
    if (symbol.type == symbol::kLabel) {
      return u"The location label has " + now + u". Give it the reference that it follows.";
    }
    return u"The symbol has " + now + u". Give it its reference.";
  }

  /// Symbols that could stand for the component in a list of parts equally well.
  void CheckReferences() {
    for (const auto& [key, component] : components_) {
      std::vector<const Symbol*> best;
      std::pair<bool, double> best_rank;
      for (const Symbol* const symbol : component.symbols) {
        // A cable is drawn wherever its cores run.
        if (symbol->type == symbol::kCable || symbol->type == symbol::kContact) continue;
        if (!HasPartData(symbol->shape) && PinNames(symbol->shape, true).empty()) continue;
        if (!IsMain(*symbol)) continue;
        const std::pair rank(SharedMisc().GotProp(symbol->shape),
                             shapeutil::NumberOr(symbol->shape, u"User.Priority", 0));
        if (best.empty() || rank > best_rank) {
          best.clear();
          best_rank = rank;
        }
        if (rank == best_rank) best.push_back(symbol);
      }
      for (size_t i = 1; i < best.size(); ++i) {
        Report(kDuplicateReference, *best[i],
               component.reference + u" is used " + Place(*best[0]) +
                   u" already. Give one of the two another reference; if they are one component, "
                   u"the part that stands for it needs the greater User.Priority, and a separate "
                   u"unit another User.Group.");
      }
    }
  }

  void CheckContacts() {
    std::set<std::u16string> driven = {FoldCase(u"K")};  // letters of what has contacts
    std::set<std::u16string> with_main;                  // references
    for (const auto& [key, component] : components_) {
      const auto& all = component.symbols;
      const bool has_main = std::any_of(all.begin(), all.end(), [](auto* s) { return IsMain(*s); });
      const bool has_coil = std::any_of(all.begin(), all.end(), [](auto* s) { return IsCoil(*s); });
      const bool has_contact =
          std::any_of(all.begin(), all.end(), [](auto* s) { return IsContact(*s); });
      if (has_coil || (has_main && has_contact)) driven.insert(ClassLetters(component.reference));
      if (has_main) with_main.insert(key.first);
    }
    for (const auto& [key, component] : components_) {
      CheckPins(component);
      const std::u16string letters = ClassLetters(component.reference);
      std::vector<const Symbol*> contacts;
      const Symbol* main = nullptr;
      for (const Symbol* const symbol : component.symbols) {
        if (IsMain(*symbol)) main = symbol;
        if (IsContact(*symbol)) contacts.push_back(symbol);
      }
      if (main && component.symbols.size() == 1 && IsCoil(*main)) {
        Report(kCoilWithoutContact, *main,
               u"The coil " + component.reference +
                   u" switches nothing in this drawing. Draw its contacts, or correct their "
                   u"reference.");
      }
      if (main || contacts.empty()) continue;
      if (driven.count(letters) == 0 && !letters.starts_with(FoldCase(u"K"))) continue;
      std::u16string message = component.reference + u" has ";
      message += contacts.size() == 1
                     ? u"a contact"
                     : DecimalText(static_cast<int32_t>(contacts.size())) + u" contacts";
      if (with_main.count(key.first) > 0) {
        message += u" in group " + DecimalText(component.group) +
                   u" and its coil is in another. Give both the same User.Group.";
      } else {
        message +=
            u" but no coil or other symbol that they belong to. Draw it, or correct the "
            u"reference.";
        if (contacts.size() == 1) {
          message = ReplaceAll(message, u"they belong", u"it belongs");
        }
      }
      if (contacts.size() > 1) {
        message += contacts.size() == 2 ? u" The other is " : u" The others are ";
        for (size_t i = 1; i < contacts.size(); ++i) {
          message += (i > 1 ? u", " : u"") + Place(*contacts[i]);
        }
        message += u".";
      }
      Report(kContactWithoutCoil, *contacts.front(), std::move(message));
    }
  }

  void CheckPins(const Component& component) {
    std::map<std::u16string, const Symbol*> users;
    for (const Symbol* const symbol : component.symbols) {
      if (symbol->type != symbol::kContact) continue;
      for (const std::u16string& pin : PinNames(symbol->shape, false)) {
        const auto [known, is_new] = users.try_emplace(pin, symbol);
        if (is_new || known->second == symbol) continue;
        Report(kContactUsedTwice, *symbol,
               u"The contact of " + component.reference + u" with pin " + pin + u" is drawn " +
                   Place(*known->second) +
                   u" already. Choose a free one: its pin set, or another "
                   u"reference.");
        break;
      }
    }
  }

  void CheckParts() {
    for (const Symbol& symbol : symbols_) {
      if (!symbol.IsComponent()) continue;
      const std::u16string identity(TrimSpaces(SharedMisc().CompIDStr(symbol.shape)));
      if (identity.empty() || identity == u"0") continue;
      has_parts_ = true;
      if (!known_components_) continue;
      const int32_t number = ValueOr(int32_t{0}, [&] { return TextToInt32(identity); });
      if (known_components_->count(number) > 0) continue;
      Report(kUnknownComponent, symbol,
             u"The catalogue has no component " + Quoted(identity) +
                 u". Assign one with ohmwise assign, or check against the catalogue that it is "
                 u"from.");
    }
  }

  void CheckNets() {
    std::map<std::u16string, std::vector<const Symbol*>> nets;
    for (const Symbol& symbol : symbols_) {
      if (symbol.IsNet() && !symbol.is_nameless) nets[FoldCase(symbol.text)].push_back(&symbol);
    }
    for (const auto& [name, wires] : nets) {
      for (const Symbol* const wire : wires) {
        const auto is_elsewhere = [&](const Symbol* other) {
          if (other->page != wire->page) return true;
          return other != wire && other->wiring.has_open_end;  // a jump within the page
        };
        if (wire->wiring.has_open_end && std::none_of(wires.begin(), wires.end(), is_elsewhere)) {
          Report(kNetOnOnePage, *wire,
                 u"The wire " + wire->text +
                     u" ends in the open, and no other page has its number. Connect it, or give "
                     u"it the number of the wire that it goes on in.");
        }
        const ShapeRef linked = SharedMisc().GetUserLinkShape(wire->shape);
        const int32_t page = linked ? linked->ContainingPageID() : -1;
        if (page < 0 || page == wire->shape->ContainingPageID()) continue;
        const bool is_there = std::any_of(wires.begin(), wires.end(), [&](const Symbol* other) {
          return other->shape->ContainingPageID() == page;
        });
        if (is_there) continue;
        Report(kNetOnOnePage, *wire,
               u"The wire " + wire->text + u" goes on on page " +
                   Quoted(linked->ContainingPage()->Name()) +
                   u" by its link, and no wire there has its number. Number the two alike, or "
                   u"take the link away.");
      }
    }
  }

  void CheckTerminals() {
    for (const Symbol& symbol : symbols_) {
      if (!symbol.IsTerminal()) continue;
      const std::u16string name =
          symbol.is_nameless ? u"The terminal" : u"The terminal " + symbol.text;
      if (!symbol.wiring.is_wired) {
        Report(kTerminalWithoutNet, symbol,
               name + u" has no wire. Connect it, or take it away if it is no longer needed.");
      } else if (!symbol.wiring.has_net && symbol.type == symbol::kTerminal) {
        Report(kTerminalWithoutNet, symbol,
               name + u" has wires, and none of them has a number. Put a numbered wire to it.");
      }
    }
  }

  void CheckTitleBlocks() {
    std::set<size_t> with_block, with_symbols;
    for (const Symbol& symbol : symbols_) {
      if (symbol.IsComponent() || symbol.IsNet() || symbol.IsTerminal()) {
        with_symbols.insert(symbol.page);
      }
      if (symbol.type != symbol::kTitleBlock) continue;
      with_block.insert(symbol.page);
      // The scan numbers blocks of one title; a block as it comes from the stencil is in group 1.
      const std::u16string before = symbol.group.empty() ? u"1" : symbol.group;
      if (CellText(*symbol.shape, u"User.Group") == before) continue;
      Report(kDuplicateTitleBlock, symbol,
             u"Another title block says " + Quoted(symbol.text) + u" in group " + before +
                 u", too. Give the page a title of its own, or let ohmwise index --save number "
                 u"them.");
    }
    std::vector<size_t> without;
    for (const size_t page : with_symbols) {
      if (with_block.count(page) > 0 || BackgroundHasBlock(pages_[page].page)) continue;
      without.push_back(page);
    }
    if (without.size() > 1 && without.size() == with_symbols.size()) {
      ReportPage(kPageWithoutTitleBlock, without.front(),
                 u"No page of the drawing has a title block. Put one on each, or on their "
                 u"background page.");
      return;
    }
    for (const size_t page : without) {
      ReportPage(kPageWithoutTitleBlock, page,
                 u"The page has no title block. Put one on it or on its background page.");
    }
  }

  bool BackgroundHasBlock(const PageRef& page) {
    std::set<int32_t> seen;
    for (PageRef back = BackPage(page); back && seen.insert(back->ID()).second;
         back = BackPage(back)) {
      const auto [known, is_new] = background_has_block_.try_emplace(back->ID(), false);
      if (is_new) {
        shapeutil::ForEachShape(back->Shapes(), [&, &has_block = known->second](ShapeRef shape) {
          has_block = has_block || SharedMisc().TypeNo(shape) == symbol::kTitleBlock;
        });
      }
      if (known->second) return true;
    }
    return false;
  }

  void CheckLabels() {
    const CollectionRef references = drawing_.Member(u"colRefShape");
    std::vector<const Symbol*> labels;
    for (const Symbol& symbol : symbols_) {
      const std::u16string link = CellText(*symbol.shape, u"User.Link");
      if (!link.empty() && !SharedMisc().GetUserLinkShape(symbol.shape)) {
        Report(kBrokenLink, symbol,
               u"Its link leads to " + Quoted(link) +
                   u", and there is no such shape. Link it anew, or empty its cell User.Link.");
      }
      const bool is_label = symbol.type == symbol::kLabel;
      if (is_label && symbol.is_nameless) continue;
      const std::u16string reference =
          is_label ? symbol.text : CellText(*symbol.shape, u"User.Reference");
      if (reference.empty()) continue;
      if (drawing_.index().RefExist(references, reference)) {
        if (is_label) labels.push_back(&symbol);
        continue;
      }
      Report(kLabelWithoutReference, symbol,
             u"It shows where " + reference +
                 u" is, and no symbol has that reference. Correct it, or take the label away.");
    }
    CheckLabelRows(labels);
  }

  /// Writes the labels anew: those whose rows become others did not say where the shapes are.
  void CheckLabelRows(const std::vector<const Symbol*>& labels) {
    std::map<std::pair<std::u16string, std::u16string>, const Symbol*> owners;
    for (const Symbol* const label : labels) {
      const std::u16string page = pages_[label->page].page->Name();
      owners[{page, label->shape->Name()}] = label;
      shapeutil::ForEachShape(label->shape->Shapes(), [&](const ShapeRef& line) {
        owners[{page, line->Name()}] = label;
      });
      drawing_.index().SetAutoLoc(label->shape, label->text);
    }
    if (labels.empty()) return;
    std::set<const Symbol*> changed;
    for (const CellChange& change : changes_.ChangedResults()) {
      const std::u16string_view cell = change.place.cell;
      if (!cell.starts_with(u"Scratch.") && cell != u"HideText") continue;
      const auto owner = owners.find({change.place.page, change.place.shape});
      if (owner != owners.end()) changed.insert(owner->second);
    }
    for (const Symbol* const label : labels) {
      if (changed.count(label) == 0) continue;
      Report(kLabelOutOfStep, *label,
             u"It does not show where the shapes of " + label->text +
                 u" are now. Run ohmwise labels --save.");
    }
  }

  IndexedDrawing& drawing_;
  const ChangeRecord& changes_;
  const std::set<int32_t>* known_components_;
  std::vector<CheckedPage> pages_;
  std::vector<Symbol> symbols_;
  std::map<std::pair<std::u16string, int16_t>, Component> components_;
  std::map<int32_t, bool> background_has_block_;
  std::vector<std::pair<size_t, Finding>> findings_;
  bool has_parts_ = false;
};

}  // namespace

CheckedDrawing CheckDrawing(IndexedDrawing& drawing, const ChangeRecord& changes,
                            const std::set<int32_t>* components) {
  return Check(drawing, changes, components).Run();
}

}  // namespace ohmwise::schematic
