// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The definitions of Array<T>, for element types that are not ready-made.
#ifndef Pegasus_ArrayInternal_h
#define Pegasus_ArrayInternal_h

#if !defined(Pegasus_MessageLoader_h) && !defined(Pegasus_Tracer_h)
#error \
    "include <Pegasus/Common/MessageLoader.h> or <Pegasus/Common/Tracer.h> before ArrayInternal.h"
#endif

#include <Pegasus/Common/Array.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <utility>

namespace Pegasus {

template <class T>
ArrayRep* Array<T>::create(Uint32 capacity) {
    static_assert(alignof(T) <= alignof(ArrayRep), "elements are allocated right after the head");
    void* memory = ::operator new(sizeof(ArrayRep) + sizeof(T) * std::size_t(capacity));
    ArrayRep* rep = new (memory) ArrayRep;
    rep->refs.store(1, std::memory_order_relaxed);
    rep->size = 0;
    rep->capacity = capacity;
    return rep;
}

template <class T>
void Array<T>::release(ArrayRep* rep) {
    if (!rep || rep->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return;
    }
    std::destroy_n(items(rep), rep->size);
    ::operator delete(rep);
}

template <class T>
Boolean Array<T>::unique() const {
    return _rep && _rep->refs.load(std::memory_order_acquire) == 1;
}

// Makes this array the only owner of storage for at least `capacity` elements.
template <class T>
void Array<T>::detach(Uint32 capacity) {
    const Boolean sole = unique();
    if (sole && _rep->capacity >= capacity) {
        return;
    }
    Array<T> fresh;
    fresh._rep = create(std::max(capacity, size()));
    if (_rep) {
        if (sole) {
            std::uninitialized_move_n(items(_rep), _rep->size, items(fresh._rep));
        } else {
            std::uninitialized_copy_n(items(_rep), _rep->size, items(fresh._rep));
        }
        fresh._rep->size = _rep->size;
    }
    swap(fresh);
}

// Capacity that lets repeated appending move each element a constant number of times.
template <class T>
Uint32 Array<T>::capacityFor(Uint32 more) const {
    const Uint64 wanted = Uint64(size()) + more;
    if (wanted > 0xFFFFFFFFULL) {
        throw std::bad_alloc();
    }
    const Uint64 have = getCapacity();
    if (wanted <= have) {
        return Uint32(have);
    }
    return Uint32(
        std::min<Uint64>(std::max<Uint64>(wanted, std::max<Uint64>(8, have * 2)), 0xFFFFFFFFULL));
}

template <class T>
Array<T>::Array() : _rep(nullptr) {}

template <class T>
Array<T>::Array(const Array<T>& x) : _rep(x._rep) {
    if (_rep) {
        _rep->refs.fetch_add(1, std::memory_order_relaxed);
    }
}

template <class T>
Array<T>::Array(Array<T>&& x) noexcept : _rep(x._rep) {
    x._rep = nullptr;
}

template <class T>
Array<T>::Array(Uint32 size) : Array() {
    if (size == 0) {
        return;
    }
    _rep = create(size);
    std::uninitialized_value_construct_n(items(_rep), size);
    _rep->size = size;
}

template <class T>
Array<T>::Array(Uint32 size, const T& x) : Array() {
    grow(size, x);
}

template <class T>
Array<T>::Array(const T* items, Uint32 size) : Array() {
    append(items, size);
}

template <class T>
Array<T>::~Array() {
    release(_rep);
}

template <class T>
Array<T>& Array<T>::operator=(const Array<T>& x) {
    if (_rep != x._rep) {
        Array<T> copy(x);
        swap(copy);
    }
    return *this;
}

template <class T>
Array<T>& Array<T>::operator=(Array<T>&& x) noexcept {
    std::swap(_rep, x._rep);
    return *this;
}

template <class T>
void Array<T>::clear() {
    if (unique()) {
        std::destroy_n(items(_rep), _rep->size);
        _rep->size = 0;
    } else {
        release(_rep);
        _rep = nullptr;
    }
}

template <class T>
void Array<T>::reserveCapacity(Uint32 capacity) {
    if (capacity > getCapacity()) {
        detach(capacity);
    }
}

template <class T>
void Array<T>::grow(Uint32 size, const T& x) {
    if (size == 0) {
        return;
    }
    const T value(x);
    detach(capacityFor(size));
    std::uninitialized_fill_n(items(_rep) + _rep->size, size, value);
    _rep->size += size;
}

template <class T>
void Array<T>::swap(Array<T>& x) {
    std::swap(_rep, x._rep);
}

template <class T>
T& Array<T>::operator[](Uint32 index) {
    if (index >= size()) {
        ArrayRep::outOfBounds();
    }
    detach(0);
    return items(_rep)[index];
}

template <class T>
void Array<T>::append(const T& x) {
    if (unique() && _rep->size < _rep->capacity) {
        new (items(_rep) + _rep->size) T(x);
    } else {
        T value(x);  // before the elements move, as `x` may be one of them
        detach(capacityFor(1));
        new (items(_rep) + _rep->size) T(std::move(value));
    }
    _rep->size++;
}

template <class T>
void Array<T>::append(const T* x, Uint32 size) {
    if (size == 0) {
        return;
    }
    Array<T> old;
    if (_rep && !std::less<const T*>()(x, items(_rep)) &&
        std::less<const T*>()(x, items(_rep) + _rep->size)) {
        old = *this;  // keeps the elements that `x` points to alive
    }
    detach(capacityFor(size));
    std::uninitialized_copy_n(x, size, items(_rep) + _rep->size);
    _rep->size += size;
}

template <class T>
void Array<T>::appendArray(const Array<T>& x) {
    if (_rep) {
        append(x.getData(), x.size());
    } else {
        *this = x;
    }
}

template <class T>
void Array<T>::prepend(const T& x) {
    insert(0, &x, 1);
}

template <class T>
void Array<T>::prepend(const T* x, Uint32 size) {
    insert(0, x, size);
}

template <class T>
void Array<T>::insert(Uint32 index, const T& x) {
    insert(index, &x, 1);
}

template <class T>
void Array<T>::insert(Uint32 index, const T* x, Uint32 size) {
    const Uint32 before = this->size();
    if (index > before) {
        ArrayRep::outOfBounds();
    }
    if (size == 0) {
        return;
    }
    append(x, size);
    std::rotate(items(_rep) + index, items(_rep) + before, items(_rep) + _rep->size);
}

template <class T>
void Array<T>::remove(Uint32 index) {
    remove(index, 1);
}

template <class T>
void Array<T>::remove(Uint32 index, Uint32 size) {
    const Uint32 before = this->size();
    if (index > before) {
        ArrayRep::outOfBounds();
    }
    const Uint32 n = std::min(size, before - index);
    if (n == 0) {
        return;
    }
    detach(0);
    T* first = items(_rep) + index;
    std::move(first + n, items(_rep) + before, first);
    std::destroy_n(items(_rep) + before - n, n);
    _rep->size = before - n;
}

}  // namespace Pegasus

#endif
