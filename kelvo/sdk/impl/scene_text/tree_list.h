#pragma once

#include "kelvo/base/types.h"

#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// A growing list in chunks, for the larger part of a tree. A vector would copy all its elements
/// when it grows, and need memory for them twice.
template<typename T>
class TreeList {
public:
    static constexpr u64 chunkSize = 2048;

    /// Appends an element. As with a vector, the addresses of others may change.
    T& emplace_back() {
        if (m_chunks.empty() || m_chunks.back().size() == chunkSize) addChunk();
        return m_chunks.back().emplace_back();
    }
    [[nodiscard]] T& operator[](u64 index) noexcept {
        return m_chunks[index / chunkSize][index % chunkSize];
    }
    [[nodiscard]] const T& operator[](u64 index) const noexcept {
        return m_chunks[index / chunkSize][index % chunkSize];
    }
    [[nodiscard]] u64 size() const noexcept {
        return m_chunks.empty() ? 0 : (m_chunks.size() - 1) * chunkSize + m_chunks.back().size();
    }
    /// Removes all elements and keeps memory for a few.
    void clear() noexcept {
        if (m_chunks.empty()) return;
        m_chunks.erase(m_chunks.begin() + 1, m_chunks.end());
        m_chunks.front().clear();
    }

private:
    // The first chunk grows with its elements, because most texts are short.
    void addChunk() {
        std::vector<T> chunk;
        if (!m_chunks.empty()) chunk.reserve(chunkSize);
        m_chunks.push_back(std::move(chunk));
    }

    std::vector<std::vector<T>> m_chunks;
};

} // namespace qv::kelvo_sdk::impl
