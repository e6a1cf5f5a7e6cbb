#pragma once

#include "kelvo/sdk/impl/types/lib_info.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace qv::tests {

using Library = RefersTo<kelvo_sdk::impl::LibInfo>;

[[nodiscard]] inline Library emptyLibrary() {
    return Library::adopt(new kelvo_sdk::impl::LibInfo);
}

/// Reads a definition text and returns its errors: "line:column: message" each, "in 'type'" if the
/// error names one.
[[nodiscard]] inline std::string libraryErrors(std::string_view text, const Library& library,
                                               const Library& basesFrom = {}) {
    kelvo_sdk::Diagnostics errors;
    const bool isRead =
        library->readDefinitions(String(text), "types.knd", &errors, basesFrom.get());
    EXPECT_EQ(isRead, errors.empty());
    std::string lines;
    for (const kelvo_sdk::Diagnostic& error : errors) {
        if (!lines.empty()) lines += '\n';
        lines += std::to_string(error.line) + ":" + std::to_string(error.column) + ": ";
        if (!error.type.isEmpty()) lines += std::string("in '") + error.type.buf() + "': ";
        lines += error.message.view();
    }
    return lines;
}

[[nodiscard]] inline std::string libraryErrors(std::string_view text) {
    return libraryErrors(text, emptyLibrary());
}

/// Returns a library read from a text without errors.
[[nodiscard]] inline Library libraryOf(std::string_view text, const Library& basesFrom = {}) {
    Library library = emptyLibrary();
    EXPECT_EQ(libraryErrors(text, library, basesFrom), "") << text;
    return library;
}

/// Returns a text read and written again.
[[nodiscard]] inline std::string rewrittenLibrary(std::string_view text) {
    return std::string(libraryOf(text)->definitionText().view());
}

} // namespace qv::tests
