#pragma once

#include "kelvo/kelvo.h"
#include "tests/laws/oom_world.h"

#include <filesystem>
#include <vector>

namespace qv::tests {

/// Arguments of the operations on texts, libraries and graphs beside the scene of a trial, and
/// their results.
struct OomTexts : RefCounted {
    static constexpr const char* added = R"(kelvo scene 1

# A second lot.
node xform "c" {
    Array<Node> children = [c, x]
}
node stuff "x" { # of no known type
    Real a = 2 <- sum.result @min 0 @max 9
    Real w = 2 <- a.o
    String s = "a text that is long enough to be in memory of its own"
    Node l = b @stashed c
    Object o {
        Int i = 4
        Array<String> t = ["one", "two"]
    }
    Buffer<Pos3f> points = [(0 0 0) (1 0 0)]
    Node chosen = b @choices [b, x]
    output Real q
}
node add "sum" {
    Real a = 4
}
node mesh "shape" {
    Array<Node> modifiers = [scaler]
    Real width = 3
}
node scaleModifier "scaler" {
    String modifies = "width"
}
# The end.
)";
    static constexpr const char* elsewhere = R"(kelvo scene 1

node thing "a" {
    Real r = 8
    Node l = x
    Array<Real> e = [1, 4, 2]
}
node stuff "x" { # of no known type
    Real a = 2 <- sum.result @min 0 @max 9
    String s = "another text that is long enough to be in memory of its own"
}
node add "sum" {
    Real a = 4
}
# The end.
)";
    static constexpr const char* faulty = R"(node xform "q" {
    Rael x = 1
    Real y =
    Node z = nobody
    Real r = 1 <- sum.rsult
    Array<Node> children = [q, q
}
node xform "q" {
}
)";
    static constexpr const char* types = R"(kelvo types 1

# Lights that are carried about.
type lantern : object @abstract {
    label "en" "Lantern"
    help "en" "Emits light into the scene."
    icon """
        <svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 32 32">
            <circle cx="16" cy="16" r="9"/>
        </svg>
    """
    Real intensity = 1 @min 0 @unit "W" @label "de" "Leistung" @help "en" "Radiant power."
    String falloff = "square" @choices ["none", "linear", "square"]
    Array<Node> excluded = []
    Object shadow {
        Real bias = 0.01 @min 0
    }
    output Rgba emission
    page "General" @label "de" "Allgemein" {
        intensity, falloff
        group "Look" @label "de" "Aussehen" { shadow }
    }
}
type torch : lantern {
    Real weight = 2 # with oil
    page "General" {
        weight
    }
}
)";
    static constexpr const char* moreTypes = R"(# One more.
type candle : torch {
    label "en" "Candle"
    Real height = 2
    page "General" {
        height
    }
}
)";
    static constexpr const char* faultyTypes = R"(type candle : troch {
    Rael height = 2
    page "General" {
        hieght
    }
}
)";

    OomTexts();
    ~OomTexts() override;

    kelvo_sdk::LibInfo library = kelvo_sdk::LibInfo::create("torches.knd");
    kelvo_sdk::LibInfo second;
    Scene other = Scene::create();
    kelvo_sdk::SceneDiff patch;
    kelvo_sdk::Findings findings;
    kelvo_sdk::FixReport report;
    ConversionLosses losses;
    // The names and texts that the operation goes by.
    String source = "added.kns";
    String type, path, expected;
    u64 count = 0;
    std::filesystem::path file;
};

/// Gives the world what the operations on texts use; `textsOf` finds it again.
void addTexts(OomWorld& world);
[[nodiscard]] OomTexts& textsOf(OomWorld& world);

} // namespace qv::tests
