// C handles: a C handle is a struct holding one pointer (`obj`). These helpers are shared by the
// C functions of every family; they throw like the library does and are meant to run inside the
// C boundary (cboundary.h).
#pragma once

#include "qorcommon/gc.h"

#include <utility>

namespace Orvane {
namespace Core {
namespace CApi {

/// A handle of type Handle on `object` (null gives the null handle).
template <class Handle> Handle handleOf(void* object) noexcept {
    Handle handle;
    handle.obj = object;
    return handle;
}

/// The null handle of type Handle.
template <class Handle> Handle nullHandle() noexcept {
    return handleOf<Handle>(nullptr);
}

/// The object behind a handle, as the type the handle was made for.
template <class T, class Handle> T* objectOf(Handle handle) noexcept {
    return static_cast<T*>(handle.obj);
}

/// A handle on a new T made from `args`; throws when the object cannot be made.
template <class Handle, class T, class... Args> Handle construct(Args&&... args) {
    return handleOf<Handle>(new T(std::forward<Args>(args)...));
}

/// A handle holding one use of `object` until it is released by deleting the GC<T> behind it
/// (the family's destruct or detach function). A null object gives a handle on a null GC<T>.
template <class Handle, class T> Handle wrapGC(const GC<T>& object) {
    return handleOf<Handle>(new GC<T>(object));
}

/// The object of a handle made by wrapGC (null for the null handle).
template <class T, class Handle> GC<T> unwrapGC(Handle handle) {
    if (!handle.obj) return GC<T>();
    return *static_cast<GC<T>*>(handle.obj);
}

/// Releases the use held by a handle made by wrapGC.
template <class T, class Handle> void releaseGC(Handle handle) noexcept {
    delete static_cast<GC<T>*>(handle.obj);
}

} // namespace CApi
} // namespace Core
} // namespace Orvane
