#pragma once

#include <memory>
#include <new>
#include <utility>

#include "engine/box/box.h"

namespace kt {

/// The first child of a type, as its class; borrowed. The factory makes each code into one class, so the code
/// vouches for the cast. Answers what `GetChild` does, MP4_NOT_FOUND when there is none.
template <class Container, class Wanted>
Mp4Result RequireChild(Container* container, u32 type, Wanted** wanted) {
  CBox* box = nullptr;
  if constexpr (requires { container->GetChild(type, &box); }) {
    KT_TRY(container->GetChild(type, &box));
  } else {
    KT_TRY(container->GetChild(type, &box, 0));
  }
  *wanted = static_cast<Wanted*>(box);
  return MP4_OK;
}

/// As `RequireChild`, but a missing box is a success and leaves null.
template <class Container, class Wanted>
Mp4Result AcceptChild(Container* container, u32 type, Wanted** wanted) {
  *wanted = nullptr;
  const Mp4Result result = RequireChild(container, type, wanted);
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

/// The first child of a type, which is made at the end of the container when there is none; borrowed.
template <class Container, class Wanted>
Mp4Result EnsureChild(Container* container, u32 type, Wanted** wanted) {
  KT_TRY(AcceptChild(container, type, wanted));
  return *wanted != nullptr ? MP4_OK : AddNewChild(container, wanted);
}

}  // namespace kt
