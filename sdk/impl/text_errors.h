#pragma once

#include "sdk/diagnostic.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// What was found wrong in one text, as it comes up; told in the order of the text.
class QV_EXPORT TextErrors {
public:
    /// Keeps at most `limit` errors; the text is borrowed.
    TextErrors(std::string_view text, u64 limit) : m_text(text), m_limit(limit) {}

    /// `offset` is a byte of the text, `node` the name of the node concerned. The first error at a
    /// place stands.
    void add(u64 offset, String node, String message);
    [[nodiscard]] bool empty() const noexcept { return m_errors.empty(); }
    /// Tells whether there is no use in looking for more.
    [[nodiscard]] bool full() const noexcept { return m_errors.size() >= m_limit; }
    /// Appends the errors, with their lines and columns.
    void report(const String& source, Diagnostics& out);

private:
    struct Error {
        u64 offset;
        String node;
        String message;
    };

    std::string_view m_text;
    u64 m_limit;
    std::vector<Error> m_errors;
};

} // namespace qv::kelvo_sdk::impl
