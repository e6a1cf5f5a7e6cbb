#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/base/vector.h"

namespace qv::model_import {

/// One kind of thing that a model has and its scene does not, or not as it should.
struct LeftOut {
    /// In the plural: "bones".
    String what;
    u64 count = 0;
    /// Names of those that have one, in order, without repetition, the first
    /// `Report::maxKeptNames`.
    StringVector names;

    void add(String name, u64 more);
};

/// The findings of an import.
struct Report {
    static constexpr u64 maxKeptNames = 1000;

    /// Why it failed, one line; empty after success.
    String error;
    ds::Vector<LeftOut> leftOut;
    /// Texture files that are nowhere, by the path that the scene gives them.
    LeftOut missingTextures{"texture files not found", 0, {}};
    u64 nodes = 0;
    u64 vertices = 0;
    u64 faces = 0;

    /// Counts something that could not be carried over.
    void leaveOut(const char* what, String name, u64 count = 1);
    /// Returns "what: count (name, name, ... and N more)".
    [[nodiscard]] static String text(const LeftOut& item, u64 maxNames = 8);
};

} // namespace qv::model_import
