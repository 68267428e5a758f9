// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// How deep requests are nested: one that a provider makes while it serves another is one deeper.
//
// Followed through clients and handles, on whatever threads the requests are served. A thread that
// a provider has made starts again at 0. Thread-safe: of each thread its own.
#ifndef VELMAR_EMBEDDED_REQUESTS_NESTING_H
#define VELMAR_EMBEDDED_REQUESTS_NESTING_H

namespace velmar_embedded {

class Nesting {
 public:
    /// Deeper than any chain of providers that ends.
    static constexpr unsigned limit = 100;

    /// Of the request that this thread serves; 0 if it serves none.
    static unsigned depth() { return current; }

    /// This thread serves a request of that depth for a while.
    class Scope {
     public:
        explicit Scope(unsigned depth) : _before(current) { current = depth; }
        ~Scope() { current = _before; }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

     private:
        const unsigned _before;
    };

 private:
    static inline thread_local unsigned current = 0;
};

}  // namespace velmar_embedded

#endif
