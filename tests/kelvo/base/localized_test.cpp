#include "kelvo/base/localized.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace qv;

namespace {

ds::HashMap<String, String> labels() {
    ds::HashMap<String, String> map;
    map.set("en", "Lamp");
    map.set("de", "Lampe");
    map.set("de-AT", "Leuchte");
    map.set("pt_BR", "Luminaria");
    map.set("zh-Hans", "Deng");
    map.set("fr", "");
    return map;
}

} // namespace

TEST(Localized, Item_IsThatOfTheKeyOrItsBaseLanguage) {
    struct Case {
        const char *lang, *expected, *note;
    };
    const Case cases[] = {
        {"de", "Lampe", "exact key"},
        {"de-AT", "Leuchte", "exact key with region"},
        {"de-CH", "Lampe", "base language"},
        {"de_CH", "Lampe", "'_' cuts like '-'"},
        {"DE", "Lampe", "case ignored"},
        {"de_at", "Leuchte", "'_' and '-' alike"},
        {"pt-br", "Luminaria", "'-' finds '_'"},
        {"pt", "", "a base does not find a region"},
        {"zh-Hans-CN", "Deng", "one step at a time"},
        {"fr", "", "empty entries count as absent"},
        {"it", "", "absent, and no default"},
        {"", "", "no language"},
        {"d", "", "whole names only"},
    };
    const auto items = labels();
    for (const Case& c : cases)
        EXPECT_EQ(os::localizedItem(items, c.lang), c.expected) << c.lang << ": " << c.note;
}

TEST(Localized, ExactKey_ComesBeforeOneOfTheOtherCase) {
    ds::HashMap<String, String> items;
    for (const char* key : {"de", "DE", "De", "dE"})
        items.set(key, key);
    for (const char* key : {"de", "DE", "De", "dE"})
        EXPECT_EQ(os::localizedItem(items, key), key);
}

TEST(Localized, Item_OfAnEmptyMap_IsEmpty) {
    EXPECT_TRUE(os::localizedItem({}, "en").isEmpty());
}

TEST(Localized, Item_IsASharedCopy) {
    const auto items = labels();
    EXPECT_EQ(os::localizedItem(items, "de").buf(), items.find("de")->buf());
}

TEST(Localized, EmptyEntryOfARegion_FallsBackToItsBase) {
    ds::HashMap<String, String> items;
    items.set("de", "Lampe");
    items.set("de-AT", "");
    EXPECT_EQ(os::localizedItem(items, "de-AT"), "Lampe");
}

TEST(Localized, Auto_IsTheLanguageThatWasSet) {
    const auto items = labels();
    EXPECT_EQ(os::language(), "en");
    EXPECT_EQ(os::localizedItem(items, "auto"), "Lamp");
    os::setLanguage("de-AT");
    EXPECT_EQ(os::localizedItem(items, "auto"), "Leuchte");
    os::setLanguage("en");
}

TEST(Localized, SetLanguage_EmptyOrAuto_RestoresEnglish) {
    for (const char* lang : {"", "auto"}) {
        os::setLanguage("de");
        os::setLanguage(lang);
        EXPECT_EQ(os::language(), "en");
    }
}

TEST(Localized, SetLanguage_FromSeveralThreads_IsSafe) {
    std::vector<std::thread> threads;
    for (const char* lang : {"de", "fr", "it"})
        threads.emplace_back([lang] {
            for (int i = 0; i < 500; ++i) {
                os::setLanguage(lang);
                ASSERT_EQ(os::language().size(), 2u);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    os::setLanguage("en");
}
