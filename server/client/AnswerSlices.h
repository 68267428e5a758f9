// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An answer whose objects are taken some at a time; what was taken is kept no longer.
//
// Not thread-safe.
#ifndef VELMAR_EMBEDDED_EXCHANGE_ANSWERSLICES_H
#define VELMAR_EMBEDDED_EXCHANGE_ANSWERSLICES_H

#include "client/Request.h"

namespace velmar_embedded {

class AnswerSlices {
 public:
    explicit AnswerSlices(Answer whole = Answer());

    /// How many objects are left.
    Pegasus::Uint32 left() const { return _size - _next; }
    /// Objects that were taken are null in it.
    const Answer& rest() const { return _rest; }
    /// The next objects, `most` at most. The first slice has the guards, the last one all else.
    Answer take(Pegasus::Uint32 most);

 private:
    Answer _rest;
    Pegasus::Uint32 _size;
    Pegasus::Uint32 _next = 0;
};

}  // namespace velmar_embedded

#endif
