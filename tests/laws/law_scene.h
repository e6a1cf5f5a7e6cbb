#pragma once

namespace qv::tests {

/// The text of a scene with an object for every edit of the laws: links, connections, lists, an
/// object, a kept value, a file, children and a modified node.
inline constexpr const char* lawScene = R"(kelvo scene 1

node thing "a" {
    Real r = 1
    Node l = b
    Node k = b
    Array<Node> list = [b, c]
    Object o {
        Real m = 2
        Node n = c
    }
    Array<Real> e = [1, 2 <- h.p, 3]
    output Real o
}

node thing "b" {
    Real r = 2 <- a.o
    Real s = 3 <- a.o
    Node l = null @stashed a
    output Real p
}

node xform "c" {
    Array<Node> children = [a, b, f]
}

node lamp "d" {
    Array<Node> modifiers = [m]
    Real x = 3
    Real y = 4 <- b.p
}

node scaleModifier "m" {
    String modifies = "x"
    Real factor = 2
}

node image "f" {
    String dir = "/tmp"
    String file = "g"
    String ext = ".png"
    String name = "Picture"
}

node xform "g" {
}

node thing "h" {
    output Real p
}
)";

} // namespace qv::tests
