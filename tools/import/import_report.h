#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/base/vector.h"

namespace qv::model_import {

/// A kind of content that the scene lacks, or has only in part, compared with the model.
struct LeftOut {
    /// In the plural: "bones".
    String what;
    u64 count = 0;
    /// Names of the items that have one, in order, without repetition, at most
    /// `Report::maxKeptNames`.
    StringVector names;

    void add(String name, u64 more);
};

/// The results of an import.
struct Report {
    static constexpr u64 maxKeptNames = 1000;

    /// The reason of a failure, one line; empty after success.
    String error;
    ds::Vector<LeftOut> leftOut;
    /// Texture files that were not found, by their path in the scene.
    LeftOut missingTextures{"texture files not found", 0, {}};
    u64 nodes = 0;
    u64 vertices = 0;
    u64 faces = 0;

    /// Counts content that could not be imported.
    void leaveOut(const char* what, String name, u64 count = 1);
    /// Returns "what: count (name, name, ... and N more)".
    [[nodiscard]] static String text(const LeftOut& item, u64 maxNames = 8);
};

} // namespace qv::model_import
