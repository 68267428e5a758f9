// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A growing sequence of elements.
//
// Value class: copies share their elements until one of the arrays changes; elements that are
// handles still share what they refer to. Distinct arrays may be used on distinct threads even
// while they share; one array needs outside locking once it is changed.
//
// The members are defined for the ready-made element types only (ArrayInter.h, and the header of
// each object model class). A source file that uses another element type includes ArrayInternal.h.
#ifndef Pegasus_Array_h
#define Pegasus_Array_h

#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <atomic>

namespace Pegasus {

/// Heads the storage of an array; the elements follow in the same allocation.
struct PEGASUS_EXPORT ArrayRep {
    alignas(std::max_align_t) std::atomic<Uint32> refs;
    Uint32 size;
    Uint32 capacity;

    [[noreturn]] static void outOfBounds();
};

template <class T>
class Array {
 public:
    Array();
    Array(const Array<T>& x);
    Array(Array<T>&& x) noexcept;
    /// `size` default elements.
    Array(Uint32 size);
    Array(Uint32 size, const T& x);
    Array(const T* items, Uint32 size);
    ~Array();
    Array<T>& operator=(const Array<T>& x);
    Array<T>& operator=(Array<T>&& x) noexcept;

    void clear();
    void reserveCapacity(Uint32 capacity);
    /// Appends `size` copies of `x`.
    void grow(Uint32 size, const T& x);
    void swap(Array<T>& x);
    Uint32 size() const { return _rep ? _rep->size : 0; }
    Uint32 getCapacity() const { return _rep ? _rep->capacity : 0; }
    /// The storage shared with the copies of this array, valid until the array changes.
    const T* getData() const { return _rep ? items(_rep) : nullptr; }

    /// Out of range: IndexOutOfBoundsException. The non-const form separates a shared array first.
    T& operator[](Uint32 index);
    const T& operator[](Uint32 index) const {
        if (index >= size()) {
            ArrayRep::outOfBounds();
        }
        return items(_rep)[index];
    }

    void append(const T& x);
    void append(const T* x, Uint32 size);
    void appendArray(const Array<T>& x);
    void prepend(const T& x);
    void prepend(const T* x, Uint32 size);
    /// Past the end: IndexOutOfBoundsException.
    void insert(Uint32 index, const T& x);
    void insert(Uint32 index, const T* x, Uint32 size);
    /// More than one past the end: IndexOutOfBoundsException.
    void remove(Uint32 index);
    /// A range that reaches past the end ends there.
    void remove(Uint32 index, Uint32 size);

 private:
    static T* items(ArrayRep* rep) { return reinterpret_cast<T*>(rep + 1); }
    static ArrayRep* create(Uint32 capacity);
    static void release(ArrayRep* rep);
    Boolean unique() const;
    void detach(Uint32 capacity);
    Uint32 capacityFor(Uint32 more) const;

    ArrayRep* _rep;  // null stands for the empty array
};

}  // namespace Pegasus

#define Pegasus_Array_h_inter
#include <Pegasus/Common/ArrayInter.h>
#undef Pegasus_Array_h_inter

#endif
