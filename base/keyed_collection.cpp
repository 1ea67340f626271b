#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "base/collection.h"
#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"

namespace ohmwise {
namespace {

struct FoldedHash {
  size_t operator()(std::u16string_view key) const noexcept { return HashNoCase(key); }
};
struct FoldedEqual {
  bool operator()(std::u16string_view a, std::u16string_view b) const noexcept {
    return EqualNoCase(a, b);
  }
};

/// A treap ordered by position, every node knowing the size of its subtree and its parent, beside a
/// hash of the keys: position, key, insertion and removal are O(log n).
class KeyedCollection final : public Counted<Collection> {
 public:
  ~KeyedCollection() override {
    // Iterative: items may own collections, and the tree itself must not recurse either.
    for (Node* node = root_; node;) {
      if (node->left) {
        node = std::exchange(node->left, nullptr);
      } else if (node->right) {
        node = std::exchange(node->right, nullptr);
      } else {
        delete std::exchange(node, node->parent);
      }
    }
  }

  int32_t Count() override { return static_cast<int32_t>(Size(root_)); }

  Value Item(int32_t position) override { return At(position)->item; }
  Value Item(std::u16string_view key) override { return Under(key)->item; }

  std::optional<bool> HasKey(std::u16string_view key) override {
    return keys_.find(key) != keys_.end();
  }

  void Add(const Value& item, std::optional<std::u16string_view> key) override {
    Insert(item, key, Size(root_));
  }
  void AddBefore(const Value& item, std::optional<std::u16string_view> key,
                 int32_t position) override {
    CheckPosition(position);
    Insert(item, key, static_cast<uint32_t>(position) - 1);
  }
  void AddAfter(const Value& item, std::optional<std::u16string_view> key,
                int32_t position) override {
    CheckPosition(position);
    Insert(item, key, static_cast<uint32_t>(position));
  }

  void Remove(int32_t position) override { Erase(At(position)); }
  void Remove(std::u16string_view key) override { Erase(Under(key)); }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"Count") && arguments.empty()) return Value(Count());
    if (EqualNoCase(member, u"Item") && arguments.size() == 1) return LateItem(arguments[0]);
    return Counted<Collection>::Get(member, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"Add") && !arguments.empty() && arguments.size() <= 4) {
      LateAdd(arguments);
      return {};
    }
    if (EqualNoCase(member, u"Remove") && arguments.size() == 1) {
      Erase(Find(arguments[0]));
      return {};
    }
    return Get(member, arguments);
  }

 private:
  struct Node {
    Value item;
    std::u16string key;
    bool keyed = false;
    uint32_t priority = 0;
    uint32_t size = 1;
    Node* left = nullptr;
    Node* right = nullptr;
    Node* parent = nullptr;
  };

  static uint32_t Size(const Node* node) { return node ? node->size : 0; }

  void CheckPosition(int32_t position) {
    if (position < 1 || position > Count()) Raise(Err::kSubscript);
  }

  Node* At(int32_t position) {
    CheckPosition(position);
    auto index = static_cast<uint32_t>(position) - 1;
    // Walking in order, as for-each does, is one step from the last place.
    if (last_ && index == last_index_) return last_;
    if (last_ && index == last_index_ + 1) {
      last_ = Next(last_);
      ++last_index_;
      return last_;
    }
    Node* node = root_;
    for (uint32_t skip = index;;) {
      const uint32_t before = Size(node->left);
      if (skip == before) break;
      if (skip < before) {
        node = node->left;
      } else {
        skip -= before + 1;
        node = node->right;
      }
    }
    last_ = node;
    last_index_ = index;
    return node;
  }

  static Node* Next(Node* node) {
    if (node->right) {
      for (node = node->right; node->left;) node = node->left;
      return node;
    }
    while (node->parent && node->parent->right == node) node = node->parent;
    return node->parent;
  }

  Node* Under(std::u16string_view key) {
    const auto found = keys_.find(key);
    if (found == keys_.end()) Raise(Err::kInvalidCall);
    return found->second;
  }

  Node* Find(const Value& index) {
    return index.IsText() ? Under(index.AsText()) : At(index.ToInt32());
  }
  Value LateItem(const Value& index) { return Find(index)->item; }

  void LateAdd(std::span<const Value> arguments) {
    const auto given = [&](size_t i) {
      return i < arguments.size() && arguments[i].kind() != Value::Kind::kEmpty;
    };
    std::optional<std::u16string_view> key;
    if (given(1)) key = arguments[1].AsText();
    if (given(2) && given(3)) Raise(Err::kInvalidCall);
    uint32_t place = Size(root_);
    if (given(2)) place = IndexOf(Find(arguments[2]));
    if (given(3)) place = IndexOf(Find(arguments[3])) + 1;
    Insert(arguments[0], key, place);
  }

  static uint32_t IndexOf(const Node* node) {
    uint32_t index = Size(node->left);
    for (; node->parent; node = node->parent) {
      if (node->parent->right == node) index += Size(node->parent->left) + 1;
    }
    return index;
  }

  void Insert(const Value& item, std::optional<std::u16string_view> key, uint32_t place) {
    auto node = std::make_unique<Node>();
    node->item = item;
    if (key) {
      node->key = *key;
      node->keyed = true;
      if (!keys_.emplace(node->key, node.get()).second) Raise(Err::kDuplicateKey);
    }
    // xorshift: balance needs no better randomness, and two runs behave alike.
    seed_ ^= seed_ << 13;
    seed_ ^= seed_ >> 17;
    seed_ ^= seed_ << 5;
    node->priority = seed_;
    Attach(node.release(), place);
    last_ = nullptr;
  }

  /// Hangs the node in as the leaf of its place, then rotates it up to its priority.
  void Attach(Node* node, uint32_t place) {
    if (!root_) {
      root_ = node;
      return;
    }
    for (Node* at = root_;;) {
      ++at->size;
      const uint32_t before = Size(at->left);
      Node*& side = place <= before ? at->left : at->right;
      if (place > before) place -= before + 1;
      if (!side) {
        side = node;
        node->parent = at;
        break;
      }
      at = side;
    }
    while (node->parent && node->priority > node->parent->priority) RotateUp(node);
  }

  void RotateUp(Node* node) {
    Node* parent = node->parent;
    Node* above = parent->parent;
    const bool left = parent->left == node;
    Node*& inner = left ? node->right : node->left;
    (left ? parent->left : parent->right) = inner;
    if (inner) inner->parent = parent;
    inner = parent;
    parent->parent = node;
    node->parent = above;
    (above ? (above->left == parent ? above->left : above->right) : root_) = node;
    parent->size = 1 + Size(parent->left) + Size(parent->right);
    node->size = 1 + Size(node->left) + Size(node->right);
  }

  void Erase(Node* node) {
    if (node->keyed) keys_.erase(node->key);
    while (node->left || node->right) {
      Node* up = !node->left                                    ? node->right
                 : !node->right                                 ? node->left
                 : node->left->priority > node->right->priority ? node->left
                                                                : node->right;
      RotateUp(up);
    }
    Node* parent = node->parent;
    (parent ? (parent->left == node ? parent->left : parent->right) : root_) = nullptr;
    for (; parent; parent = parent->parent) --parent->size;
    last_ = nullptr;
    // Freed last: the item's own end may come back to this collection.
    delete node;
  }

  Node* root_ = nullptr;
  Node* last_ = nullptr;
  uint32_t last_index_ = 0;
  uint32_t seed_ = 2463534242u;
  std::unordered_map<std::u16string_view, Node*, FoldedHash, FoldedEqual> keys_;
};

}  // namespace

CollectionRef MakeCollection() { return MakeRef<KeyedCollection>(); }

}  // namespace ohmwise
