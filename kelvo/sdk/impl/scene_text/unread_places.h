#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

/// Returns unread lines at their places while the attributes around them are written, each once.
class UnreadPlaces {
public:
    /// Borrows the lines; null for none.
    explicit UnreadPlaces(const std::vector<UnreadLines>* lines) : m_lines(lines) {
        if (!lines || lines->empty()) return;
        m_isTaken.resize(lines->size());
        for (u64 i = 0; i < lines->size(); ++i)
            if (!(*lines)[i].before.isEmpty()) m_places[(*lines)[i].before].push_back(i);
    }

    /// Passes on the lines that stood in front of an attribute.
    template<typename Take>
    void takeBefore(const String& name, AttrType type, bool isOutput, const Take& take) {
        if (m_places.empty()) return;
        const auto place = m_places.find(name);
        if (place == m_places.end()) return;
        for (const u64 i : place->second) {
            const UnreadLines& lines = (*m_lines)[i];
            if (m_isTaken[i] || lines.type != type || lines.isOutput != isOutput) continue;
            m_isTaken[i] = true;
            take(lines);
        }
    }

    /// Passes on the lines at the end, and those in front of attributes that no longer exist.
    template<typename Take>
    void takeRest(const Take& take) {
        for (u64 i = 0; i < m_isTaken.size(); ++i)
            if (!m_isTaken[i]) take((*m_lines)[i]);
    }

private:
    const std::vector<UnreadLines>* m_lines;
    std::vector<bool> m_isTaken;
    std::unordered_map<String, std::vector<u64>> m_places;
};

} // namespace qv::kelvo_sdk::impl
