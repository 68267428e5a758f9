// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "client/AnswerSlices.h"

#include <algorithm>
#include <utility>

using namespace Pegasus;

namespace velmar_embedded {

namespace {

template <class T>
void move(Array<T>& from, Uint32 begin, Uint32 end, Array<T>& to) {
    for (Uint32 i = begin; i < std::min(end, from.size()); i++) {
        to.append(from[i]);
        from[i] = T();
    }
}

}  // namespace

AnswerSlices::AnswerSlices(Answer whole)
    : _rest(std::move(whole)),
      // An answer has objects of one kind.
      _size(std::max({_rest.classes.size(), _rest.names.size(), _rest.instances.size(),
                      _rest.paths.size(), _rest.objects.size()})) {}

Answer AnswerSlices::take(Uint32 most) {
    const Uint32 end = _next + std::min(most, left());
    Answer slice;
    slice.propertyList = _rest.propertyList;
    slice.enumeration = _rest.enumeration;
    slice.guards.swap(_rest.guards);
    move(_rest.classes, _next, end, slice.classes);
    move(_rest.names, _next, end, slice.names);
    move(_rest.instances, _next, end, slice.instances);
    move(_rest.paths, _next, end, slice.paths);
    move(_rest.objects, _next, end, slice.objects);
    _next = end;
    if (left() == 0) {
        slice.qualifiers.swap(_rest.qualifiers);
        slice.returnValue = _rest.returnValue;
        slice.parameters = _rest.parameters;
        slice.continuation = _rest.continuation;
    }
    return slice;
}

}  // namespace velmar_embedded
