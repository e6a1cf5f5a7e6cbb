#include "kelvo/sdk/impl/index/ordered_slots.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

struct Item {
    u64 slot = 0;
};

void removeItem(OrderedSlots<Item>& slots, Item& item) {
    slots.remove(item.slot, [](Item& moved, u64 slot) { moved.slot = slot; });
}

std::vector<const Item*> contents(const OrderedSlots<Item>& slots) {
    std::vector<const Item*> result;
    slots.forEach([&](const Item* item) { result.push_back(item); });
    return result;
}

TEST(OrderedSlots, Removal_KeepsTheOrderOfTheRest) {
    OrderedSlots<Item> slots;
    Item items[5];
    for (Item& item : items)
        item.slot = slots.add(&item);
    removeItem(slots, items[1]);
    removeItem(slots, items[3]);
    EXPECT_EQ(contents(slots), (std::vector<const Item*>{&items[0], &items[2], &items[4]}));
    EXPECT_EQ(slots.at(1), &items[2]);
    EXPECT_EQ(slots.at(2), &items[4]);
    EXPECT_EQ(slots.at(3), nullptr);
}

TEST(OrderedSlots, TakeLast_PassesOverHoles) {
    OrderedSlots<Item> slots;
    Item items[3];
    for (Item& item : items)
        item.slot = slots.add(&item);
    removeItem(slots, items[1]);
    EXPECT_EQ(slots.takeLast(), &items[2]);
    EXPECT_EQ(slots.takeLast(), &items[0]);
    EXPECT_EQ(slots.takeLast(), nullptr);
    EXPECT_TRUE(slots.empty());
}

TEST(OrderedSlots, RandomEdits_MatchAPlainVector) {
    OrderedSlots<Item> slots;
    std::vector<Item> items(6000);
    std::vector<const Item*> model;
    std::mt19937 random(7);
    u64 added = 0;
    for (int step = 0; step < 12000; ++step) {
        if (added < items.size() && (model.empty() || random() % 3 != 0)) {
            Item& item = items[added++];
            item.slot = slots.add(&item);
            model.push_back(&item);
        } else if (!model.empty()) {
            const std::size_t at = random() % model.size();
            removeItem(slots, items[static_cast<std::size_t>(model[at] - items.data())]);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
        }
        ASSERT_EQ(slots.size(), model.size());
        if (!model.empty()) {
            const std::size_t at = random() % model.size();
            ASSERT_EQ(slots.at(at), model[at]);
        }
    }
    EXPECT_EQ(contents(slots), model);
}

TEST(OrderedSlots, Shift_MatchesAPlainVectorAndKeepsHoles) {
    OrderedSlots<Item> slots;
    std::vector<Item> items(200);
    std::vector<const Item*> model;
    for (Item& item : items)
        item.slot = slots.add(&item);
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i % 5 == 1)
            removeItem(slots, items[i]);
        else
            model.push_back(&items[i]);
    }
    std::mt19937 random(7);
    for (int step = 0; step < 1000; ++step) {
        Item& item = items[random() % items.size() / 5 * 5];
        const std::size_t to = random() % model.size();
        slots.shift(item.slot, to, [](Item& moved, u64 slot) { moved.slot = slot; });
        std::erase(model, &item);
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(to), &item);
        ASSERT_EQ(slots.at(to), &item);
        ASSERT_EQ(slots.rankOf(item.slot), to);
    }
    EXPECT_EQ(contents(slots), model);
    EXPECT_TRUE(slots.isSound());
}

TEST(OrderedSlots, ManyHoles_AreClosedAndSlotsReported) {
    OrderedSlots<Item> slots;
    std::vector<Item> items(5000);
    for (Item& item : items)
        item.slot = slots.add(&item);
    for (std::size_t i = 1; i < 4000; ++i)
        removeItem(slots, items[i]);
    EXPECT_EQ(slots.size(), 1001u);
    for (u64 i = 1; i <= 1000; ++i)
        ASSERT_EQ(slots.at(i), &items[3999 + i]);
    EXPECT_LT(items[4000].slot, 4000u);
}

// Inserts all items at the places that `indexOf(number of items)` gives, and returns the number of
// moves.
template<typename IndexOf>
u64 movesToInsert(std::vector<Item>& items, const IndexOf& indexOf) {
    OrderedSlots<Item> slots;
    std::vector<const Item*> model;
    u64 moves = 0;
    for (Item& item : items) {
        const u64 index = indexOf(slots.size());
        const auto moved = [&moves](Item& other, u64 slot) {
            other.slot = slot;
            ++moves;
        };
        item.slot = index < slots.size() ? slots.insert(index, &item, moved) : slots.add(&item);
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(index), &item);
    }
    EXPECT_TRUE(slots.isSound());
    EXPECT_EQ(contents(slots), model);
    for (u64 i = 0; i < model.size(); ++i)
        EXPECT_EQ(slots.rankOf(model[i]->slot), i);
    return moves;
}

TEST(OrderedSlots, InsertionAtTheFront_MovesNothing) {
    std::vector<Item> items(8000);
    EXPECT_EQ(movesToInsert(items, [](u64) { return u64(0); }), 0u);
}

TEST(OrderedSlots, InsertionAtOnePlace_MovesFew) {
    std::vector<Item> items(8000);
    EXPECT_LT(movesToInsert(items, [](u64 size) { return size / 2; }), items.size() * 1000);
    EXPECT_LT(movesToInsert(items, [](u64 size) { return std::min<u64>(size, 2000); }),
              items.size() * 1000);
}

TEST(OrderedSlots, InsertionAtRandom_MovesFew) {
    std::vector<Item> items(8000);
    std::mt19937_64 random(5);
    EXPECT_LT(movesToInsert(items, [&](u64 size) { return random() % (size + 1); }),
              items.size() * 1000);
}

TEST(OrderedSlots, RemovalFromTheFront_LeavesNoHoles) {
    OrderedSlots<Item> slots;
    std::vector<Item> items(5000);
    for (Item& item : items)
        item.slot = slots.add(&item);
    for (std::size_t i = 0; i < 4999; ++i)
        removeItem(slots, items[i]);
    EXPECT_TRUE(slots.isSound());
    EXPECT_EQ(items[4999].slot, 4999u);
    EXPECT_EQ(slots.rankOf(4999), 0u);
}

TEST(OrderedSlots, RandomInsertionsAndRemovals_MatchAPlainVector) {
    OrderedSlots<Item> slots;
    std::vector<Item> items(6000);
    std::vector<Item*> model;
    std::mt19937_64 random(11);
    const auto moved = [](Item& item, u64 slot) { item.slot = slot; };
    for (u64 step = 0, added = 0; added < items.size(); ++step) {
        if (model.empty() || random() % 5 < 3) {
            Item& item = items[added++];
            const u64 index = random() % (model.size() + 1);
            item.slot = index < model.size() ? slots.insert(index, &item, moved) : slots.add(&item);
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(index), &item);
        } else {
            const auto at = model.begin() + static_cast<std::ptrdiff_t>(random() % model.size());
            removeItem(slots, **at);
            model.erase(at);
        }
        if (step % 64 == 0) {
            ASSERT_TRUE(slots.isSound());
        }
    }
    EXPECT_EQ(contents(slots), std::vector<const Item*>(model.begin(), model.end()));
    for (u64 i = 0; i < model.size(); ++i)
        ASSERT_EQ(slots.at(i), model[i]);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
