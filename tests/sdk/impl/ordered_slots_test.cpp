#include "sdk/impl/ordered_slots.h"

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

TEST(OrderedSlots, ManyHoles_AreClosedAndSlotsTold) {
    OrderedSlots<Item> slots;
    std::vector<Item> items(5000);
    for (Item& item : items)
        item.slot = slots.add(&item);
    for (std::size_t i = 0; i < 4000; ++i)
        removeItem(slots, items[i]);
    EXPECT_EQ(slots.size(), 1000u);
    for (u64 i = 0; i < 1000; ++i)
        ASSERT_EQ(slots.at(i), &items[4000 + i]);
    EXPECT_LT(items[4000].slot, 4000u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
