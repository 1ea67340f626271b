#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace ohmwise {

/// Handle to an intrusively counted object (`AddRef`/`Release` on the interface), so that one
/// handle fits embedded objects and COM objects alike.
template <class T>
class Ref {
 public:
  Ref() noexcept = default;
  Ref(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor)
  /// Takes over a count that the caller already holds.
  static Ref Adopt(T* object) noexcept {
    Ref ref;
    ref.object_ = object;
    return ref;
  }
  /// Adds a count of its own.
  static Ref Share(T* object) noexcept {
    if (object) object->AddRef();
    return Adopt(object);
  }
  Ref(const Ref& other) noexcept : object_(other.object_) {
    if (object_) object_->AddRef();
  }
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  requires std::is_convertible_v<U*, T*> Ref(const Ref<U>& other)
  noexcept : object_(other.get()) {  // NOLINT(google-explicit-constructor)
    if (object_) object_->AddRef();
  }
  template <class U>
  requires std::is_convertible_v<U*, T*> Ref(Ref<U>&& other)
  noexcept : object_(other.Detach()) {}  // NOLINT(google-explicit-constructor)
  ~Ref() {
    if (object_) object_->Release();
  }
  /// The new count is taken before the old one is dropped: the old object may own the new.
  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  T* get() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  T* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  T* Detach() noexcept { return std::exchange(object_, nullptr); }

 private:
  T* object_ = nullptr;
};

/// Makes a counted object with its first count held by the handle.
template <class T, class... Args>
Ref<T> MakeRef(Args&&... args) {
  return Ref<T>::Adopt(new T(std::forward<Args>(args)...));
}

/// Number of counted objects alive in this process; tests check that it returns to its start.
int64_t LiveObjectCount() noexcept;

/// Base of implementations: `Counted<Interface>` supplies the count for any interface that declares
/// virtual `AddRef` and `Release`.
template <class Interface>
class Counted : public Interface {
 public:
  template <class... Args>
  explicit Counted(Args&&... args) : Interface(std::forward<Args>(args)...) {
    Track(1);
  }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  void AddRef() noexcept override { count_.fetch_add(1, std::memory_order_relaxed); }
  void Release() noexcept override {
    if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

 protected:
  virtual ~Counted() { Track(-1); }

 private:
  static void Track(int delta) noexcept;
  std::atomic<uint32_t> count_{1};
};

namespace detail {
void TrackLiveObjects(int delta) noexcept;
}
template <class Interface>
void Counted<Interface>::Track(int delta) noexcept {
  detail::TrackLiveObjects(delta);
}

}  // namespace ohmwise
