#include <Pegasus/Common/MessageLoader.h>
//
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/ArrayInternal.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace Pegasus;

namespace {

// An element that is wrong once it is destroyed or moved from, so that misplaced ones show.
struct Tracked {
    static int alive;
    std::unique_ptr<int> value;
    Tracked(int v = -1) : value(new int(v)) { alive++; }
    Tracked(const Tracked& x) : value(new int(*x.value)) { alive++; }
    Tracked(Tracked&& x) noexcept : value(std::move(x.value)) { alive++; }
    Tracked& operator=(const Tracked& x) {
        value.reset(new int(*x.value));
        return *this;
    }
    Tracked& operator=(Tracked&& x) = default;
    ~Tracked() { alive--; }
};
int Tracked::alive = 0;

std::vector<int> values(const Array<Tracked>& a) {
    std::vector<int> r;
    for (Uint32 i = 0; i < a.size(); i++)
        r.push_back(*a[i].value);
    return r;
}

typedef std::vector<int> V;

TEST(Array, EveryChangeKeepsTheOthersWhole) {
    {
        const Tracked items[] = {1, 2, 3};
        const Array<Tracked> original(items, 3);
        for (const bool shared : {false, true}) {
            Array<Tracked> copy(original);
            if (!shared)
                copy.reserveCapacity(20);
            const auto changed = [&](void (*change)(Array<Tracked>&)) {
                Array<Tracked> a(copy);
                if (!shared)
                    a.reserveCapacity(30);
                change(a);
                return values(a);
            };
            EXPECT_EQ((V{1, 2, 3, 4}), changed([](Array<Tracked>& a) { a.append(Tracked(4)); }));
            EXPECT_EQ((V{1, 9, 2, 3}), changed([](Array<Tracked>& a) { a.insert(1, 9); }));
            EXPECT_EQ((V{1, 2, 7, 8, 3}), changed([](Array<Tracked>& a) {
                          const Tracked more[] = {7, 8};
                          a.insert(2, more, 2);
                      }));
            EXPECT_EQ((V{7, 8, 1, 2, 3}), changed([](Array<Tracked>& a) {
                          const Tracked more[] = {7, 8};
                          a.prepend(more, 2);
                      }));
            EXPECT_EQ((V{2, 3}), changed([](Array<Tracked>& a) { a.remove(0); }));
            EXPECT_EQ((V{1}), changed([](Array<Tracked>& a) { a.remove(1, 99); }));
            EXPECT_EQ((V{1, 2, 3, 5, 5}), changed([](Array<Tracked>& a) { a.grow(2, 5); }));
            EXPECT_EQ((V{}), changed([](Array<Tracked>& a) { a.clear(); }));
            EXPECT_EQ((V{1, 2, 3, 1, 2, 3}), changed([](Array<Tracked>& a) { a.appendArray(a); }));
            EXPECT_EQ((V{1, 2, 3, 2}), changed([](Array<Tracked>& a) { a.append(a[1]); }));
            EXPECT_EQ((V{1, 6, 3}), changed([](Array<Tracked>& a) { a[1] = Tracked(6); }));
            EXPECT_EQ((V{1, 2, 3}), values(copy));
        }
        EXPECT_EQ((V{1, 2, 3}), values(original));
        EXPECT_EQ((V{-1, -1}), values(Array<Tracked>(2)));
    }
    EXPECT_EQ(0, Tracked::alive);
}

TEST(Array, GrowsByAppending) {
    Array<Array<Uint32>> a;
    for (Uint32 i = 0; i < 1000; i++)
        a.append(Array<Uint32>(i % 3, i));
    ASSERT_EQ(1000u, a.size());
    EXPECT_GE(a.getCapacity(), a.size());
    for (Uint32 i = 0; i < 1000; i++) {
        ASSERT_EQ(i % 3, a[i].size());
        if (i % 3 != 0) {
            EXPECT_EQ(i, a[i][i % 3 - 1]);
        }
    }
}

TEST(Array, ConstDataIsShared) {
    Array<Uint32> a(3, 7);
    const Array<Uint32> b(a);
    EXPECT_EQ(a.getData(), b.getData());
    a[0] = 1;
    EXPECT_NE(a.getData(), b.getData());
    EXPECT_EQ(7u, b[0]);
    Array<Uint32> empty;
    a.swap(empty);
    EXPECT_EQ(0u, a.size());
    EXPECT_EQ(1u, empty[0]);
}

TEST(Array, OutOfRange) {
    Array<String> a(2);
    const Array<String>& view = a;
    EXPECT_THROW(a[2], IndexOutOfBoundsException);
    EXPECT_THROW(view[2], IndexOutOfBoundsException);
    EXPECT_THROW(Array<String>()[0], IndexOutOfBoundsException);
    EXPECT_THROW(a.insert(3, String()), IndexOutOfBoundsException);
    EXPECT_THROW(a.remove(3), IndexOutOfBoundsException);
    EXPECT_EQ(2u, a.size());
}

TEST(Array, SharedElementsAreThreadSafe) {
    const Array<String> shared(10, String("x"));
    std::vector<std::thread> threads;
    std::atomic<int> wrong(0);
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([&shared, &wrong] {
            for (int i = 0; i < 1000; i++) {
                Array<String> mine(shared);
                mine[3] = String("y");
                if (!(mine[3] == "y") || !(mine[4] == "x"))
                    wrong++;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_TRUE(shared[3] == "x");
}

}  // namespace
