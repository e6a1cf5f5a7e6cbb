#pragma once

#include "kelvo/sdk/diagnostic.h"

#include <string_view>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The errors of one text, gathered in any order and reported in the order of the text.
class TextErrors {
public:
    /// The parts that the text consists of, named in messages.
    enum class Subject : u8 { Nodes, Types };

    struct Error {
        u64 offset;
        String part;
        String message;
    };

    /// Keeps at most `limit` errors. Borrows the text.
    TextErrors(std::string_view text, u64 limit, Subject subject = Subject::Nodes)
        : m_text(text), m_limit(limit), m_subject(subject) {}

    /// `offset` is a byte of the text, `part` the name of the node or type concerned. Only the
    /// first error at an offset is kept.
    void add(u64 offset, const String& part, const String& message);
    /// Adds an error even where the text has another error.
    void keep(Error error) {
        if (!full()) m_errors.push_back(std::move(error));
    }
    /// Adds one error for each line with bytes that a text must not contain.
    void addFaultyBytes();
    [[nodiscard]] bool empty() const noexcept { return m_errors.empty(); }
    /// Beyond `count` errors only their offsets matter.
    void keepMessages(u64 count) noexcept { m_messages = count; }
    /// Tells whether the next error needs a message; ask before making a costly one.
    [[nodiscard]] bool wantsMessage() const noexcept { return m_errors.size() < m_messages; }
    [[nodiscard]] u64 size() const noexcept { return m_errors.size(); }
    /// Tells whether further errors would be dropped.
    [[nodiscard]] bool full() const noexcept { return m_errors.size() >= m_limit; }
    /// Appends the errors, with their lines and columns. If a merge left its markers in the text,
    /// reports only these, as other errors follow from them.
    void report(const String& source, Diagnostics& out);
    /// Appends the errors without a look for merge markers.
    void reportErrors(const String& source, Diagnostics& out);

    [[nodiscard]] const std::vector<Error>& errors() const noexcept { return m_errors; }

private:
    void addConflicts();

    std::string_view m_text;
    u64 m_limit;
    u64 m_messages = m_limit;
    Subject m_subject;
    std::vector<Error> m_errors;
    std::unordered_set<u64> m_places;
};

} // namespace qv::kelvo_sdk::impl
