#pragma once

#include "kelvo/sdk/diagnostic.h"

#include <string_view>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The errors of one text, gathered as they come up and told in the order of the text.
class TextErrors {
public:
    /// The kind of parts that the text consists of.
    enum class Subject : u8 { Nodes, Types };

    struct Error {
        u64 offset;
        String part;
        String message;
    };

    /// Keeps at most `limit` errors; the text is borrowed.
    TextErrors(std::string_view text, u64 limit, Subject subject = Subject::Nodes)
        : m_text(text), m_limit(limit), m_subject(subject) {}

    /// `offset` is a byte of the text, `part` the name of the node or type concerned. The first
    /// error at a place stands.
    void add(u64 offset, const String& part, const String& message);
    /// Takes one over, also at the place of another.
    void keep(Error error) {
        if (!full()) m_errors.push_back(std::move(error));
    }
    /// Tells once per line of bytes that may not stand in a text.
    void addFaultyBytes();
    [[nodiscard]] bool empty() const noexcept { return m_errors.empty(); }
    /// From so many errors on only their places matter.
    void keepMessages(u64 count) noexcept { m_messages = count; }
    /// Tells whether the next error is worth a message that is dear to make.
    [[nodiscard]] bool wantsMessage() const noexcept { return m_errors.size() < m_messages; }
    [[nodiscard]] u64 size() const noexcept { return m_errors.size(); }
    /// Tells whether there is no use in looking for more.
    [[nodiscard]] bool full() const noexcept { return m_errors.size() >= m_limit; }
    /// Appends the errors, with their lines and columns. Where a merge left its marks in the text
    /// these are told alone: other errors come of them.
    void report(const String& source, Diagnostics& out);
    /// Appends the errors alone.
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
