// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/MessageLoader.h>
//
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/ArrayInternal.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace Pegasus;

namespace {

// An element that is wrong once it is destroyed or moved from, so that misplaced ones show.
struct Tracked {
    static int alive;
    std::unique_ptr<int> value;
    Tracked(int v = -1) : value(new int(v)) { alive++; }
    Tracked(const Tracked& x) : Tracked(*x.value) {}
    Tracked(Tracked&& x) noexcept : value(std::move(x.value)) { alive++; }
    Tracked& operator=(const Tracked& x) {
        value.reset(new int(*x.value));
        return *this;
    }
    Tracked& operator=(Tracked&& x) = default;
    ~Tracked() { alive--; }
};
int Tracked::alive = 0;

typedef std::vector<int> V;
typedef Array<Tracked> A;

V values(const A& a) {
    V r;
    for (Uint32 i = 0; i < a.size(); i++) {
        r.push_back(*a[i].value);
    }
    return r;
}

TEST(Array, EveryChangeKeepsTheOthersWhole) {
    static const Tracked more[] = {7, 8};
    const struct {
        V expected;
        void (*change)(A& a);  // of 1 2 3
    } rows[] = {{{1, 2, 3, 4}, [](A& a) { a.append(4); }},
                {{1, 9, 2, 3}, [](A& a) { a.insert(1, 9); }},
                {{1, 2, 7, 8, 3}, [](A& a) { a.insert(2, more, 2); }},
                {{7, 8, 1, 2, 3}, [](A& a) { a.prepend(more, 2); }},
                {{2, 3}, [](A& a) { a.remove(0); }},
                {{1}, [](A& a) { a.remove(1, 99); }},
                {{1, 2, 3, 5, 5}, [](A& a) { a.grow(2, 5); }},
                {{}, [](A& a) { a.clear(); }},
                {{-1, -1}, [](A& a) { a = A(2); }},
                {{1, 2, 3, 1, 2, 3}, [](A& a) { a.appendArray(a); }},
                {{1, 2, 3, 2}, [](A& a) { a.append(a[1]); }},
                {{1, 6, 3}, [](A& a) { a[1] = Tracked(6); }},
                {V(20, 3), [](A& a) {
                     a.remove(0, 2);
                     while (a.size() < 20) {
                         a.append(a[0]);
                     }
                 }}};
    const int before = Tracked::alive;
    {
        const Tracked items[] = {1, 2, 3};
        const A original(items, 3);
        for (const auto& row : rows) {
            for (const Uint32 capacity : {0u, 30u}) {  // shared, and alone with room
                A a(original);
                a.reserveCapacity(capacity);
                row.change(a);
                EXPECT_EQ(row.expected, values(a)) << capacity;
                EXPECT_EQ((V{1, 2, 3}), values(original));
            }
        }
    }
    EXPECT_EQ(before, Tracked::alive);
}

TEST(Array, ConstDataIsShared) {
    Array<Uint32> a(3, 7), empty;
    const Array<Uint32> b(a);
    EXPECT_EQ(a.getData(), b.getData());
    a.swap(empty);
    EXPECT_EQ(3u, empty.size());
    EXPECT_THROW(b[3], IndexOutOfBoundsException);
    EXPECT_THROW(a[0], IndexOutOfBoundsException);
}

}  // namespace
