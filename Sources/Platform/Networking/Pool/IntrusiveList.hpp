#pragma once

namespace platform::networking {

/// Base of what may be in one `IntrusiveList` at a time.
template <class Node>
class ListLinks {
 private:
  template <class>
  friend class IntrusiveList;
  Node* previous_ = nullptr;
  Node* next_ = nullptr;
};

/// A list through its elements: no memory of its own, and any element leaves in constant time. It owns
/// nothing; an element stays where it is in memory while it is in the list.
template <class Node>
class IntrusiveList {
 public:
  bool isEmpty() const { return first_ == nullptr; }
  Node* first() const { return first_; }
  /// The one after `node`, which is in this list; null after the last.
  Node* next(Node& node) const { return links(node).next_; }

  void append(Node& node) {
    links(node).previous_ = last_;
    links(node).next_ = nullptr;
    (last_ ? links(*last_).next_ : first_) = &node;
    last_ = &node;
  }

  /// Requires: `node` is in this list.
  void remove(Node& node) {
    ListLinks<Node>& own = links(node);
    (own.previous_ ? links(*own.previous_).next_ : first_) = own.next_;
    (own.next_ ? links(*own.next_).previous_ : last_) = own.previous_;
    own.previous_ = own.next_ = nullptr;
  }

  /// Null when empty.
  Node* takeFirst() {
    Node* node = first_;
    if (node) remove(*node);
    return node;
  }

 private:
  static ListLinks<Node>& links(Node& node) { return node; }

  Node* first_ = nullptr;
  Node* last_ = nullptr;
};

}  // namespace platform::networking
