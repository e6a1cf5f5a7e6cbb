#pragma once

#include <string>
#include <string_view>

namespace qv::tests {

/// The notifications that recorders received, in order, separated by blanks.
class Journal {
public:
    void add(std::string_view what) {
        if (!m_text.empty()) m_text += ' ';
        m_text += what;
    }

    /// Returns the notifications since the last call.
    std::string take() {
        std::string text;
        text.swap(m_text);
        return text;
    }

private:
    std::string m_text;
};

} // namespace qv::tests
