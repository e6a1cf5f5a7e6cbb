#pragma once

#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Reads the nodes of a scene text in pieces, several at the same time, into one tree.
///
/// Cuts the text in front of lines that start like nodes. Whether a node starts there is known when
/// the piece in front of it has been read: it has to end there. The first piece that does not, or
/// has any error, is left to the caller with all that follows, who then reads and reports the same
/// as without pieces.
class PieceReader {
public:
    /// Pieces that would be larger, because a node is, are left to the caller, whose workers share
    /// the buffers of the node.
    [[nodiscard]] static u64 longest(const ParseLimits& limits) noexcept {
        return 8 * limits.pieceSize;
    }

    /// Borrows text and tree; the text has no faulty bytes.
    PieceReader(std::string_view text, const ParseLimits& limits, SceneTree& tree) noexcept
        : m_text(text), m_limits(limits), m_tree(tree) {}

    /// Reads nodes from an offset at which a node starts; returns the end of the last piece read.
    /// `leading` are the comments in front of that node, and then those in front of the next.
    u64 read(u64 start, String& leading);

private:
    // Passes the turn on when it ends, in the order of the pieces. Unless its piece was joined, no
    // later one is.
    class Turn {
    public:
        Turn(PieceReader& reader, u64 piece) noexcept : m_reader(reader), m_piece(piece) {}
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        void await();
        void end(bool isJoined) noexcept;

    private:
        PieceReader& m_reader;
        const u64 m_piece;
        bool m_isOver = false;
    };

    [[nodiscard]] std::vector<u64> cutsFrom(u64 start) const;
    void readPiece(u64 piece);

    std::string_view m_text;
    ParseLimits m_limits;
    SceneTree& m_tree;
    // The starts of the pieces, and the end of the last one.
    std::vector<u64> m_cuts;
    std::mutex m_mutex;
    std::condition_variable m_passed;
    u64 m_turn = 0;
    std::atomic<bool> m_isBroken = false;
    // Belong to the piece whose turn it is.
    u64 m_reached = 0;
    String m_leading;
};

} // namespace qv::kelvo_sdk::impl
