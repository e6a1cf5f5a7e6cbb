#include "kelvo/sdk/diagnostic.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

TEST(Diagnostic, Text_NamesSourcePlaceAndNode) {
    const Diagnostic inNode{"room.kns", 4, 7, "lamp", "Unknown kind 'Reel'."};
    EXPECT_STREQ(inNode.text().buf(), "room.kns:4:7: node 'lamp': Unknown kind 'Reel'.");
}

TEST(Diagnostic, Text_OutsideOfANode_NamesNone) {
    const Diagnostic outside{"room.kns", 1, 1, "", "No header."};
    EXPECT_STREQ(outside.text().buf(), "room.kns:1:1: No header.");
}

TEST(Diagnostic, Text_OfTheWholeSource_HasNoNumbers) {
    Diagnostic whole;
    whole.source = "room.kns";
    whole.message = "The file is gone.";
    EXPECT_STREQ(whole.text().buf(), "room.kns: The file is gone.");
}

} // namespace
} // namespace qv::kelvo_sdk
