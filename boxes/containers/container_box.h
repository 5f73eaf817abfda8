#pragma once

#include <cstdio>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "engine/box/box_list.h"

namespace kt {

enum class ChildLookup { kNone, kFirst, kByOccurrence };

/// The points in which container boxes differ: mostly what they make of a list of children that does not
/// exist, which is so in a new box until its first child comes. Callers see these results on an empty box and
/// rely on them. The defaults are those of most containers.
struct ContainerRules {
  /// A second `Deserialize` replaces the children; otherwise it is refused with MP4_NOT_READY.
  bool readsAgain = false;
  /// Whether each operation does without a list of children; otherwise it answers MP4_NOT_READY, after what
  /// stands before the children has been written, printed or counted.
  bool serializesWithoutList = false;
  bool dumpsWithoutList = false;
  bool sizesWithoutList = false;
  /// What `GetChild` answers without a list.
  Mp4Result lookupWithoutList = MP4_NOT_READY;
  /// Whether `GetChild` finds the first box of a type or also the later ones; kNone leaves out `GetChild` and
  /// `AddChild`.
  ChildLookup lookup = ChildLookup::kFirst;
  /// `AddChild` adds the child's size to that of the box; the next `CalculateSize` makes up for it.
  bool countsAddedChild = false;
  /// `Dump` prints braces around the children.
  bool braces = true;
};

/// A box that holds boxes behind the payload of `Base`, which is `CBox` for the plain containers. The list,
/// which owns the children, comes to be by `Deserialize` or by the first child that is added. It takes memory
/// with its first child only: eight bytes of a file are enough for a box without any.
template <class Base, ContainerRules Rules>
class CContainerBox : public Base {
 public:
  using Base::Base;
  CContainerBox() = default;
  explicit CContainerBox(CBox&& header) : Base(std::move(header)) {}  // not inherited by the line above

  /// Reads children until the box is used up. MP4_NOT_READY the second time, unless the rules allow it;
  /// MP4_NO_MEMORY; what a child answers, with those before it kept.
  Mp4Result Deserialize(CStorage* storage) override {
    // CBox itself would read a header here, which has been read.
    if constexpr (!std::is_same_v<Base, CBox>) KT_TRY(Base::Deserialize(storage));
    if (m_hasList && !Rules.readsAgain) return MP4_NOT_READY;
    m_hasList = true;
    m_children.reset();
    if (this->m_remaining == 0) return MP4_OK;
    KT_TRY(MakeChildren());
    return m_children->DeserializeAll(storage, &this->m_remaining);
  }

  Mp4Result Serialize(CStorage* storage) override {
    KT_TRY(Base::Serialize(storage));
    if (!m_hasList && !Rules.serializesWithoutList) return MP4_NOT_READY;
    return m_children ? m_children->SerializeAll(storage) : MP4_OK;
  }

  Mp4Result Dump(int indent) override {
    KT_TRY(Base::Dump(indent));
    if (Rules.braces) {
      PrintIndent(indent);
      std::printf("{");
    }
    if (!m_hasList && !Rules.dumpsWithoutList) return MP4_NOT_READY;
    if (m_children) KT_TRY(m_children->DumpAll(indent + 1, this->m_level + 1));
    if (Rules.braces) {
      PrintIndent(indent);
      std::printf("}\n");
    }
    return MP4_OK;
  }

  Mp4Result CalculateSize() override {
    KT_TRY(Base::CalculateSize());
    if (!m_hasList && !Rules.sizesWithoutList) return MP4_NOT_READY;
    u64 total = 0;
    if (m_children) KT_TRY(m_children->CalculateSizeAll(&total));
    this->m_size += total;
    return MP4_OK;
  }

  // Releases of clang-format differ in where such a clause stands.
  // clang-format off

  /// The first child of a type, borrowed. MP4_NOT_FOUND, with `*box` null; without a list as the rules say.
  Mp4Result GetChild(u32 type, CBox** box)
    requires(Rules.lookup == ChildLookup::kFirst)
  {
    return FindChild(type, box, 0);
  }

  /// The same for the `occurrence`-th child of that type, counted from 1; 0 means the first as well.
  Mp4Result GetChild(u32 type, CBox** box, u32 occurrence = 0)
    requires(Rules.lookup == ChildLookup::kByOccurrence)
  {
    return FindChild(type, box, occurrence);
  }

  /// Appends and owns `box`. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddChild(std::unique_ptr<CBox> box)
    requires(Rules.lookup != ChildLookup::kNone)
  {
    return Append(std::move(box));
  }

  /// The same for a box that stands in a node of its own, so that a container with children cannot lose it for
  /// lack of memory.
  Mp4Result AddChildNode(std::unique_ptr<CBoxList::Node> node)
    requires(Rules.lookup != ChildLookup::kNone && !Rules.countsAddedChild)
  {
    m_hasList = true;
    KT_TRY(MakeChildren());
    return m_children->AddNode(std::move(node));
  }
  // clang-format on

 protected:
  Mp4Result FindChild(u32 type, CBox** box, u32 occurrence) {
    *box = nullptr;
    if (m_children) return m_children->FindByType(type, box, occurrence);
    // Spelled out, so that it is plain to static analysis that this is a failure.
    static_assert(Rules.lookupWithoutList == MP4_NOT_FOUND || Rules.lookupWithoutList == MP4_NOT_READY);
    return m_hasList || Rules.lookupWithoutList == MP4_NOT_FOUND ? MP4_NOT_FOUND : MP4_NOT_READY;
  }

  Mp4Result Append(std::unique_ptr<CBox> box) {
    m_hasList = true;
    KT_TRY(MakeChildren());
    CBox* added = box.get();
    KT_TRY(m_children->Add(std::move(box)));
    if constexpr (Rules.countsAddedChild) {
      u64 childSize = 0;
      KT_TRY(added->GetSize(&childSize));
      this->m_size += childSize;
    }
    return MP4_OK;
  }

  Mp4Result MakeChildren() {
    if (!m_children) m_children.reset(new (std::nothrow) CBoxList(this));
    return m_children ? MP4_OK : MP4_NO_MEMORY;
  }

  std::unique_ptr<CBoxList> m_children;  // null while there is no child
  bool m_hasList = false;                // whether the box counts as having a list, with children or without
};

}  // namespace kt
