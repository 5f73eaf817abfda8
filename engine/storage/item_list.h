#pragma once

#include <memory>
#include <new>
#include <utility>

#include <ktmp4/result.h>

namespace kt {

/// An owning list of boxes or descriptors, numbered from 1, with a cursor that makes a walk over rising
/// numbers cost one step each. Looking something up moves the cursor: one caller at a time.
template <class Item>
class CItemList {
 public:
  struct Node {
    u32 index = 0;
    std::unique_ptr<Item> item;
    std::unique_ptr<Node> next;
  };

  CItemList() = default;
  CItemList(const CItemList&) = delete;
  CItemList& operator=(const CItemList&) = delete;
  ~CItemList() { Clear(); }

  /// Appends and owns `item`, which is freed when it is refused. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result Add(std::unique_ptr<Item> item) {
    if (!item) return MP4_BAD_ARGUMENT;
    std::unique_ptr<Node> node(new (std::nothrow) Node);
    if (!node) return MP4_NO_MEMORY;
    node->item = std::move(item);
    return AddNode(std::move(node));
  }

  /// Appends a node without allocating and numbers it behind the last. MP4_BAD_ARGUMENT for null.
  Mp4Result AddNode(std::unique_ptr<Node> node) {
    if (!node) return MP4_BAD_ARGUMENT;
    Node* added = node.get();
    added->index = ++m_count;
    (m_tail ? m_tail->next : m_head) = std::move(node);
    m_tail = added;
    return MP4_OK;
  }

  /// MP4_ZERO_INDEX for 0, MP4_NOT_FOUND beyond the count.
  Mp4Result GetByIndex(u32 index, Item** item) {
    if (index == 0) return MP4_ZERO_INDEX;
    return GetItem(index, item);
  }

  /// As `GetByIndex`, but 0 answers the first item.
  Mp4Result GetItem(u32 index, Item** item) {
    Node* node = nullptr;
    KT_TRY(GetNode(index, &node));
    *item = node->item.get();
    return MP4_OK;
  }

  /// The node with this number or, where removals have left a gap, the next above it; 0 answers the first.
  /// MP4_NOT_FOUND beyond the count or the end of the chain.
  Mp4Result GetNode(u32 index, Node** node) {
    if (index > m_count) return MP4_NOT_FOUND;
    if (m_cursor == nullptr || m_cursor->index > index) m_cursor = m_head.get();
    while (m_cursor != nullptr && m_cursor->index < index) m_cursor = m_cursor->next.get();
    if (m_cursor == nullptr) return MP4_NOT_FOUND;
    *node = m_cursor;
    return MP4_OK;
  }

  u32 GetCount() const { return m_count; }

  /// Deletes every node and item.
  void Clear() {
    m_cursor = nullptr;
    m_tail = nullptr;
    m_count = 0;
    while (m_head) m_head = std::move(m_head->next);
  }

 protected:
  /// Takes the node with that number out of the list, its own number 0. The nodes behind it keep theirs, so
  /// that the numbers have a gap; the cursor forgets its place. Not for a list that keeps further places.
  /// MP4_NOT_READY for an empty list, MP4_BAD_ARGUMENT beyond the count, MP4_NOT_FOUND for a number that no
  /// node has.
  Mp4Result Remove(u32 index, std::unique_ptr<Node>* node) {
    if (!m_head) return MP4_NOT_READY;
    if (index > m_count) return MP4_BAD_ARGUMENT;
    Node* previous = nullptr;
    Node* wanted = m_head.get();
    while (wanted != nullptr && wanted->index != index) {
      previous = wanted;
      wanted = wanted->next.get();
    }
    if (wanted == nullptr) return MP4_NOT_FOUND;
    *node = Unlink(previous);
    return MP4_OK;
  }

  /// Takes out the node behind `previous`, or the first for null; there has to be one.
  std::unique_ptr<Node> Unlink(Node* previous) {
    std::unique_ptr<Node>& link = previous != nullptr ? previous->next : m_head;
    std::unique_ptr<Node> node = std::move(link);
    link = std::move(node->next);
    if (m_tail == node.get()) m_tail = previous;
    m_cursor = nullptr;
    --m_count;
    node->index = 0;
    return node;
  }

  std::unique_ptr<Node> m_head;
  Node* m_tail = nullptr;
  Node* m_cursor = nullptr;
  u32 m_count = 0;
};

}  // namespace kt
