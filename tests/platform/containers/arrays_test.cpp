// SPDX-License-Identifier: Apache-2.0
#include "platform/containers/AcArray.h"
#include "platform/containers/CArray.h"
#include "platform/containers/CStringArray.h"
#include "platform/containers/CZRArray.h"
#include "platform/containers/Exceptions.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

// A record as the interface passes it: narrow texts too long for the string's own buffer.
struct Record {
    std::string name;
    CZRArray<std::string> items;

    bool operator==(const Record&) const = default;
};

Record MakeRecord(int number) {
    Record record{"a name that lives on the heap, number " + std::to_string(number), {}};
    record.items.append("an item that lives on the heap as well, number " + std::to_string(number));
    return record;
}

template <typename Array>
auto Items(const Array& array) {
    return std::vector(array.begin(), array.end());
}

}  // namespace

TEST(ZrArray, GrowsByItsGrowthStep) {
    CZRArray<int> array;
    EXPECT_EQ(array.growLength(), 8);
    EXPECT_EQ(array.physicalLength(), 0);
    std::vector<int> capacities;
    for (int value = 0; value < 18; ++value) {
        EXPECT_EQ(array.append(value), value);
        if (capacities.empty() || capacities.back() != array.physicalLength()) {
            capacities.push_back(array.physicalLength());
        }
    }
    EXPECT_EQ(capacities, (std::vector{8, 16, 24}));

    array.setGrowLength(3);
    while (array.length() < array.physicalLength()) {
        array.append(0);
    }
    array.append(0);
    EXPECT_EQ(array.physicalLength(), 27);
    EXPECT_EQ(array.length(), 25);
    EXPECT_THROW(array.setGrowLength(0), CInvalidArgException);
    EXPECT_EQ(array.growLength(), 3);
}

TEST(ZrArray, InsertingGrowsByTheStepToo) {
    CZRArray<int> array(2, 5);
    EXPECT_EQ(array.physicalLength(), 2);
    array.append(1);
    array.append(3);
    array.insertAt(1, 2);
    EXPECT_EQ(array.physicalLength(), 7);
    array.insertAt(3, 4);
    EXPECT_EQ(Items(array), (std::vector{1, 2, 3, 4}));
    EXPECT_THROW(array.insertAt(5, 0), CInvalidArgException);
    EXPECT_THROW(array.insertAt(-1, 0), CInvalidArgException);
}

TEST(ZrArray, KeepsWhatItHoldsWhenItGrows) {
    CZRArray<Record> array;
    for (int number = 0; number < 100; ++number) {
        array.append(MakeRecord(number));
    }
    ASSERT_EQ(array.length(), 100);
    for (int number = 0; number < 100; ++number) {
        EXPECT_EQ(array[number], MakeRecord(number));
    }
}

TEST(ZrArray, TakesAnElementOfItsOwn) {
    CZRArray<Record> array;
    array.append(MakeRecord(0));
    for (int count = 0; count < 20; ++count) {
        array.append(array[0]);
        array.insertAt(0, array[array.length() - 1]);
        array.setAt(1, array[0]);
    }
    ASSERT_EQ(array.length(), 41);
    EXPECT_TRUE(std::all_of(array.begin(), array.end(), [](const Record& record) { return record == MakeRecord(0); }));
}

TEST(ZrArray, CopiesDeeply) {
    CZRArray<Record> original(0, 4);
    original.append(MakeRecord(1));
    CZRArray<Record> copy = original;
    EXPECT_EQ(copy, original);
    EXPECT_EQ(copy.growLength(), 4);
    copy[0].name = "changed";
    copy[0].items.removeAll();
    EXPECT_EQ(original[0], MakeRecord(1));
    original = copy;
    EXPECT_EQ(original[0].name, "changed");
    original = *&original;
    EXPECT_EQ(original.length(), 1);
}

TEST(ZrArray, RemovesElements) {
    CZRArray<std::string> array;
    for (const char* name : {"a", "b", "c"}) {
        array.append(name);
    }
    array.removeAt(1);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"a", "c"}));
    EXPECT_THROW(array.removeAt(2), CInvalidArgException);
    EXPECT_THROW(array.removeAt(-1), CInvalidArgException);
    array.removeAll();
    EXPECT_TRUE(array.isEmpty());
    EXPECT_EQ(array.physicalLength(), 8);
    EXPECT_EQ(array.begin(), array.end());
}

TEST(ZrArray, RefusesAnIndexOutOfRange) {
    CZRArray<int> array;
    EXPECT_THROW(array[0], CInvalidArgException);
    array.append(5);
    const CZRArray<int>& constant = array;
    EXPECT_EQ(constant[0], 5);
    EXPECT_EQ(constant.at(0), 5);
    EXPECT_THROW(array[1], CInvalidArgException);
    EXPECT_THROW(constant[-1], CInvalidArgException);
    EXPECT_THROW(array.at(1), CException);
    EXPECT_THROW(constant.at(1), std::exception);
    EXPECT_THROW(array.setAt(1, 0), CInvalidArgException);
    EXPECT_THROW(CZRArray<int>(-1), CInvalidArgException);
}

TEST(AcArrayOfTheHost, AppendsFindsAndRemoves) {
    AcArray<int> array;
    EXPECT_TRUE(array.isEmpty());
    for (const int value : {3, 1, 4, 1, 5}) {
        array.append(value);
    }
    EXPECT_EQ(array.append(9), 5);
    EXPECT_EQ(array.length(), 6);
    EXPECT_EQ(array.logicalLength(), 6);
    EXPECT_EQ(array.physicalLength(), 8);
    EXPECT_EQ(array.find(1), 1);
    EXPECT_EQ(array.findFrom(1, 2), 3);
    EXPECT_EQ(array.find(7), -1);
    int place = -5;
    EXPECT_TRUE(array.find(4, place));
    EXPECT_EQ(place, 2);
    EXPECT_FALSE(array.find(4, place, 3));
    EXPECT_EQ(place, 2);
    EXPECT_TRUE(array.contains(5));
    EXPECT_FALSE(array.contains(3, 1));
    EXPECT_TRUE(array.remove(1));
    EXPECT_FALSE(array.remove(8));
    array.removeAt(0).removeFirst().removeLast();
    EXPECT_EQ(Items(array), (std::vector{1, 5}));
    array.insertAt(1, 2).setAt(0, 0);
    EXPECT_EQ(Items(array), (std::vector{0, 2, 5}));
    EXPECT_EQ(array.asArrayPtr()[2], 5);
    EXPECT_EQ(array.first(), 0);
    EXPECT_EQ(array.last(), 5);
}

TEST(AcArrayOfTheHost, SetsItsLengths) {
    AcArray<int> array;
    array.append(7);
    array.setLogicalLength(3);
    EXPECT_EQ(Items(array), (std::vector{7, 0, 0}));
    array.setPhysicalLength(20);
    EXPECT_EQ(array.physicalLength(), 20);
    EXPECT_EQ(array.length(), 3);
    array.setPhysicalLength(1);
    EXPECT_EQ(Items(array), (std::vector{7}));
    array.removeAll();
    EXPECT_TRUE(array.isEmpty());
    EXPECT_THROW(array.setLogicalLength(-1), CInvalidArgException);
    EXPECT_THROW(array.setGrowLength(0), CInvalidArgException);
}

TEST(AcArrayOfTheHost, GrowsByItsGrowLengthOrDoubles) {
    AcArray<int> array(0, 5);
    array.insertAt(0, 1);
    EXPECT_EQ(array.physicalLength(), 5);
    while (array.length() < 6) {
        array.append(1);
    }
    EXPECT_EQ(array.physicalLength(), 10);
    while (array.length() < 11) {
        array.insertAt(3, 1);
    }
    EXPECT_EQ(array.physicalLength(), 20);
}

TEST(AcArrayOfTheHost, AppendsArraysAndItself) {
    AcArray<std::string> array;
    array.append("one that lives on the heap because it is long");
    array.append("two");
    array.append(array).append(array);
    EXPECT_EQ(array.length(), 8);
    EXPECT_EQ(array[6], array[0]);
    AcArray<std::string> copy = array;
    copy[0] = "changed";
    EXPECT_NE(copy, array);
}

TEST(AcArrayOfTheHost, CollectsManyWithFewMoves) {
    AcArray<int> array;
    int moves = 0;
    const int* last = array.asArrayPtr();
    for (int value = 0; value < 1000000; ++value) {
        array.append(value);
        moves += array.asArrayPtr() != last ? 1 : 0;
        last = array.asArrayPtr();
    }
    EXPECT_LT(moves, 30);
}

TEST(AcArrayOfTheHost, RefusesAnIndexOutOfRange) {
    AcArray<int> array;
    EXPECT_THROW(array.first(), CInvalidArgException);
    EXPECT_THROW(array.last(), CInvalidArgException);
    EXPECT_THROW(array.removeLast(), CInvalidArgException);
    array.append(1);
    EXPECT_THROW(array[1], CInvalidArgException);
    EXPECT_THROW(array.at(-1), CInvalidArgException);
    EXPECT_THROW(array.setAt(1, 0), CInvalidArgException);
    EXPECT_THROW(array.insertAt(2, 0), CInvalidArgException);
    EXPECT_THROW(array.removeAt(1), CInvalidArgException);
}

TEST(FrameworkArray, AddsInsertsAndRemoves) {
    CArray<int> array;
    EXPECT_EQ(array.GetUpperBound(), -1);
    EXPECT_EQ(array.Add(1), 0);
    EXPECT_EQ(array.Add(2), 1);
    array.InsertAt(1, 9, 2);
    EXPECT_EQ(Items(array), (std::vector{1, 9, 9, 2}));
    array.InsertAt(6, 5);
    EXPECT_EQ(Items(array), (std::vector{1, 9, 9, 2, 0, 0, 5}));
    array.RemoveAt(1, 2);
    array.RemoveAt(2, 2);
    EXPECT_EQ(Items(array), (std::vector{1, 2, 5}));
    array.SetAt(0, 8);
    array.SetAtGrow(4, 6);
    EXPECT_EQ(Items(array), (std::vector{8, 2, 5, 0, 6}));
    array.ElementAt(1) = 3;
    EXPECT_EQ(array.GetAt(1), 3);
    EXPECT_EQ(array.GetData()[4], 6);
    EXPECT_EQ(array.GetSize(), 5);
    EXPECT_EQ(array.GetCount(), 5);
    array.RemoveAll();
    EXPECT_TRUE(array.IsEmpty());
}

TEST(FrameworkArray, CopiesOnlyWhenAsked) {
    static_assert(!std::is_copy_constructible_v<CArray<int>> && !std::is_copy_assignable_v<CArray<int>>);
    static_assert(!std::is_copy_constructible_v<CStringArray>);
    CArray<int> source;
    source.Add(1);
    source.Add(2);
    CArray<int> target;
    target.Copy(source);
    EXPECT_EQ(target.Append(source), 2);
    EXPECT_EQ(target.Append(target), 4);
    EXPECT_EQ(Items(target), (std::vector{1, 2, 1, 2, 1, 2, 1, 2}));
}

TEST(FrameworkArray, SetsItsSizeAndGrowth) {
    CArray<int> array;
    array.SetSize(2, 10);
    EXPECT_EQ(Items(array), (std::vector{0, 0}));
    array.Add(7);
    array.SetSize(1);
    array.FreeExtra();
    EXPECT_EQ(Items(array), (std::vector{0}));
    EXPECT_THROW(array.SetSize(-1), CInvalidArgException);
}

TEST(FrameworkArray, RefusesAnIndexOutOfRange) {
    CArray<int> array;
    array.Add(1);
    EXPECT_THROW(array[1], CInvalidArgException);
    EXPECT_THROW(array.GetAt(-1), CInvalidArgException);
    EXPECT_THROW(array.SetAt(1, 0), CInvalidArgException);
    EXPECT_THROW(array.SetAtGrow(-1, 0), CInvalidArgException);
    EXPECT_THROW(array.InsertAt(-1, 0), CInvalidArgException);
    EXPECT_THROW(array.InsertAt(0, 0, -1), CInvalidArgException);
    EXPECT_THROW(array.RemoveAt(1), CInvalidArgException);
    EXPECT_THROW(array.RemoveAt(0, 2), CInvalidArgException);
    EXPECT_THROW(array.RemoveAt(0, -1), CInvalidArgException);
    EXPECT_EQ(Items(array), (std::vector{1}));
}

TEST(StringArray, KeepsStringsInOrder) {
    CStringArray array;
    array.Add(u"b");
    array.Add(L"a");
    array.Add(CString("c"));
    array.Add(array[0]);
    array[1] += u"x";
    array.InsertAt(0, L"first");
    ASSERT_EQ(array.GetSize(), 5);
    EXPECT_EQ(array[0], u"first");
    EXPECT_EQ(array.GetAt(2), u"ax");
    EXPECT_EQ(array[4], u"b");
    EXPECT_THROW(array[5], CInvalidArgException);
    const CStringArray& constant = array;
    EXPECT_EQ(constant[3], u"c");
}

TEST(Arrays, AgreeWithAPlainVector) {
    std::mt19937 random(8);
    for (int round = 0; round < 300; ++round) {
        CZRArray<std::string> maker(0, 1 + static_cast<int>(random() % 9));
        AcArray<std::string> host;
        CArray<std::string> framework;
        std::vector<std::string> plain;
        for (int step = 0; step < 60; ++step) {
            const std::string value = std::string(random() % 40, 'x') + std::to_string(step);
            const auto place = random() % (plain.size() + 1);
            const int index = static_cast<int>(place);
            if (random() % 3 == 0 && place < plain.size()) {
                plain.erase(plain.begin() + static_cast<std::ptrdiff_t>(place));
                maker.removeAt(index);
                host.removeAt(index);
                framework.RemoveAt(index);
            } else if (random() % 2 == 0) {
                plain.insert(plain.begin() + static_cast<std::ptrdiff_t>(place), value);
                maker.insertAt(index, value);
                host.insertAt(index, value);
                framework.InsertAt(index, value);
            } else {
                plain.push_back(value);
                maker.append(value);
                host.append(value);
                framework.Add(value);
            }
            ASSERT_EQ(Items(maker), plain);
            ASSERT_EQ(Items(host), plain);
            ASSERT_EQ(Items(framework), plain);
        }
    }
}

namespace {

// Counts what becomes of it, for all of its kind.
struct Counted {
    Counted() = default;
    Counted(const Counted&) noexcept { ++copies; }
    Counted(Counted&&) noexcept { ++moves; }
    Counted& operator=(const Counted&) noexcept {
        ++copies;
        return *this;
    }
    Counted& operator=(Counted&&) noexcept {
        ++moves;
        return *this;
    }
    ~Counted() = default;

    static int Reset() {
        copies = 0;
        moves = 0;
        return 0;
    }

    static inline int copies = 0;
    static inline int moves = 0;
};

}  // namespace

TEST(ZrArray, CopiesOnlyWhatIsHandedOver) {
    constexpr int kCount = 1000;
    Counted::Reset();
    CZRArray<Counted> array;
    for (int index = 0; index < kCount; ++index) {
        array.append(Counted());
    }
    EXPECT_EQ(Counted::copies, kCount);
}

TEST(ZrArray, MovesNothingWhenTheRoomWasMadeBefore) {
    CZRArray<Counted> array(0, 3);
    array.append(Counted());
    array.setPhysicalLength(1000);
    EXPECT_EQ(array.physicalLength(), 1000);
    EXPECT_EQ(array.length(), 1);
    array.setPhysicalLength(10);
    EXPECT_EQ(array.physicalLength(), 1000) << "room is never taken away";
    Counted::Reset();
    while (array.length() < 1000) {
        array.append(Counted());
    }
    EXPECT_EQ(Counted::moves, 999) << "each once, from the argument to its place";
    array.append(Counted());
    EXPECT_EQ(array.physicalLength(), 1003);
    EXPECT_THROW(array.setPhysicalLength(-1), CInvalidArgException);
}

// Appending many small arrays one after the other is linear.
TEST(HostArrays, MoveEachElementAFewTimesWhenManyArraysAreAppended) {
    constexpr int kCount = 4000;
    AcArray<Counted> host;
    CArray<Counted> framework;
    AcArray<Counted> one;
    one.append(Counted());
    CArray<Counted> another;
    another.Add(Counted());
    Counted::Reset();
    for (int index = 0; index < kCount; ++index) {
        host.append(one);
        framework.Append(another);
    }
    EXPECT_EQ(host.length(), kCount);
    EXPECT_EQ(framework.GetSize(), kCount);
    EXPECT_EQ(Counted::copies, 2 * kCount);
    EXPECT_LT(Counted::moves, 8 * kCount);
}

TEST(HostArrays, AppendThemselves) {
    AcArray<std::string> host;
    CArray<std::string> framework;
    for (const char* name : {"one that lives on the heap for sure", "b", "c"}) {
        host.append(name);
        framework.Add(name);
    }
    host.append(host);
    framework.Append(framework);
    EXPECT_EQ(Items(host), Items(framework));
    EXPECT_EQ(host.length(), 6);
    EXPECT_EQ(host[3], "one that lives on the heap for sure");
}
