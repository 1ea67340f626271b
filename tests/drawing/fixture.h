#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/drawing.h"
#include "tests/support/model_builder.h"

namespace ohmwise::testing {

/// Notes every changed result as "page/shape/cell=text", and what the texts were before.
class Recorder : public embedded::ChangeObserver {
 public:
  void FormulaSet(const CellChange& change) override {
    formulas.push_back(Line(change.place, change.text));
    before.push_back(change.before ? ToUtf8(*change.before) : "-");
  }
  void ResultChanged(const CellChange& change) override {
    results.push_back(Line(change.place, change.text));
    before.push_back(change.before ? ToUtf8(*change.before) : "-");
  }
  std::vector<std::string> formulas;
  std::vector<std::string> results;
  std::vector<std::string> before;  ///< of both, in the order in which they were told

 private:
  static std::string Line(const CellPlace& place, std::u16string_view text) {
    return ToUtf8(place.page) + "/" + ToUtf8(place.shape) + "/" + ToUtf8(place.cell) + "=" +
           ToUtf8(text);
  }
};

/// A model being built, then opened; no counted object may be left at the end.
class ModelTest : public ::testing::Test {
 protected:
  void SetUp() override { objects_at_start_ = LiveObjectCount(); }
  void TearDown() override {
    drawing_.reset();
    EXPECT_EQ(LiveObjectCount(), objects_at_start_);
  }
  embedded::Drawing& Open() {
    drawing_ = std::make_unique<embedded::Drawing>(build.model);
    return *drawing_;
  }
  ShapeRef Find(std::u16string_view page, std::u16string_view shape) {
    return drawing_->FindShape(page, shape);
  }
  CellRef At(std::u16string_view page, std::u16string_view shape, std::u16string_view cell) {
    return Find(page, shape)->Cells(cell);
  }
  static std::string Text(const CellRef& cell) { return ToUtf8(cell->ResultText()); }
  static std::string FormulaOf(const CellRef& cell) { return ToUtf8(cell->Formula()); }

  /// The sentence of the host error that a call raises; "" when it raises none.
  template <class Callable>
  static std::string Refusal(const Callable& call) {
    try {
      call();
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kHost) << error.what();
      return error.what();
    }
    return "";
  }

  ModelBuilder build;
  std::unique_ptr<embedded::Drawing> drawing_;

 private:
  int64_t objects_at_start_ = 0;
};

}  // namespace ohmwise::testing
