#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/value.h"

namespace ohmwise {

/// One component line of a report or bill of materials: the catalogue record, its price as a
/// number, and how often it is used.
///
/// Late-bound members carry the same names; assigning them converts as the runtime does (13 where a
/// value does not convert, 6 out of range).
class clsLCmpRec final : public Counted<Object> {
 public:
  /// The record in a value. Raises 13 for another kind of object, 424 or 91 without one.
  static Ref<clsLCmpRec> From(const Value& value);

  const std::u16string& Name() const noexcept { return name_; }
  void SetName(std::u16string v) { name_ = std::move(v); }
  const std::u16string& Desc() const noexcept { return desc_; }
  void SetDesc(std::u16string v) { desc_ = std::move(v); }
  const std::u16string& Brand() const noexcept { return brand_; }
  void SetBrand(std::u16string v) { brand_ = std::move(v); }
  const std::u16string& Rating() const noexcept { return rating_; }
  void SetRating(std::u16string v) { rating_ = std::move(v); }
  const std::u16string& Model() const noexcept { return model_; }
  void SetModel(std::u16string v) { model_ = std::move(v); }
  const std::u16string& Order() const noexcept { return order_; }
  void SetOrder(std::u16string v) { order_ = std::move(v); }
  const std::u16string& Supplier() const noexcept { return supplier_; }
  void SetSupplier(std::u16string v) { supplier_ = std::move(v); }
  const std::u16string& Remarks() const noexcept { return remarks_; }
  void SetRemarks(std::u16string v) { remarks_ = std::move(v); }
  float Price() const noexcept { return price_; }
  void SetPrice(float v) noexcept { price_ = v; }
  bool Layout() const noexcept { return layout_; }
  void SetLayout(bool v) noexcept { layout_ = v; }
  const std::u16string& LayShape() const noexcept { return lay_shape_; }
  void SetLayShape(std::u16string v) { lay_shape_ = std::move(v); }
  const std::u16string& Width() const noexcept { return width_; }
  void SetWidth(std::u16string v) { width_ = std::move(v); }
  const std::u16string& Height() const noexcept { return height_; }
  void SetHeight(std::u16string v) { height_ = std::move(v); }
  int32_t Qty() const noexcept { return qty_; }
  void SetQty(int32_t v) noexcept { qty_ = v; }
  int32_t CompID() const noexcept { return comp_id_; }
  void SetCompID(int32_t v) noexcept { comp_id_ = v; }

  Value Get(std::u16string_view member, std::span<const Value> arguments = {}) override;
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments = {}) override;

 private:
  std::u16string name_;
  std::u16string desc_;
  std::u16string brand_;
  std::u16string rating_;
  std::u16string model_;
  std::u16string order_;
  std::u16string supplier_;
  std::u16string remarks_;
  float price_ = 0;
  bool layout_ = false;
  std::u16string lay_shape_;
  std::u16string width_;
  std::u16string height_;
  int32_t qty_ = 0;
  int32_t comp_id_ = 0;
};

}  // namespace ohmwise
