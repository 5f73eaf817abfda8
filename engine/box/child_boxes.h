#pragma once

#include <concepts>
#include <memory>
#include <new>
#include <utility>

#include "engine/box/box_list.h"

namespace kt {

/// A class of boxes that is told by its code: whatever a tree holds under `Boxed::kType` is of this class.
/// Only so can a box be taken for what its code says.
template <class Boxed>
concept ToldByType = std::derived_from<Boxed, CBox> && !Boxed::kTypeIsAmbiguous;

/// The box as that class, null when it has another code.
template <ToldByType Wanted>
Wanted* BoxAs(CBox* box) {
  u32 type = 0;
  return box->GetType(&type) == MP4_OK && type == Wanted::kType ? static_cast<Wanted*>(box) : nullptr;
}

/// The first child of a class, or, in containers that count them, the `occurrence`-th; borrowed. Answers what
/// `GetChild` does, MP4_NOT_FOUND when there is none.
template <class Container, ToldByType Wanted, class... Occurrence>
Mp4Result RequireChild(Container* container, Wanted** wanted, Occurrence... occurrence) {
  CBox* box = nullptr;
  KT_TRY(container->GetChild(Wanted::kType, &box, occurrence...));
  *wanted = static_cast<Wanted*>(box);
  return MP4_OK;
}

/// The same for the top level of a file.
template <ToldByType Wanted>
Mp4Result RequireChild(CBoxList* boxes, Wanted** wanted) {
  CBox* box = nullptr;
  KT_TRY(boxes->FindByType(Wanted::kType, &box, 1));
  *wanted = static_cast<Wanted*>(box);
  return MP4_OK;
}

/// As `RequireChild`, but a missing box is a success and leaves null.
template <class Container, ToldByType Wanted, class... Occurrence>
Mp4Result AcceptChild(Container* container, Wanted** wanted, Occurrence... occurrence) {
  *wanted = nullptr;
  const Mp4Result result = RequireChild(container, wanted, occurrence...);
  return result == MP4_NOT_FOUND ? MP4_OK : result;
}

/// Gives `box` to the container, which frees it when it refuses it; `*borrowed` is null then and otherwise
/// points to the box. MP4_NO_MEMORY, also for null.
template <class Container, class Added>
Mp4Result HandOverChild(Container* container, std::unique_ptr<Added> box, Added** borrowed) {
  *borrowed = nullptr;
  if (!box) return MP4_NO_MEMORY;
  Added* const added = box.get();
  KT_TRY(container->AddChild(std::move(box)));
  *borrowed = added;
  return MP4_OK;
}

/// Makes a new box at the end of the container; borrowed. MP4_NO_MEMORY, with null.
template <class Container, class Added>
Mp4Result AddNewChild(Container* container, Added** borrowed) {
  return HandOverChild(container, std::unique_ptr<Added>(new (std::nothrow) Added), borrowed);
}

/// As `RequireChild`, but a missing box is made, at the end of the container whatever the occurrence.
template <class Container, ToldByType Wanted, class... Occurrence>
Mp4Result EnsureChild(Container* container, Wanted** wanted, Occurrence... occurrence) {
  KT_TRY(AcceptChild(container, wanted, occurrence...));
  return *wanted != nullptr ? MP4_OK : AddNewChild(container, wanted);
}

}  // namespace kt
