#pragma once

#include "kelvo/sdk/impl/scene_text/scene_parser.h"
#include "kelvo/sdk/impl/scene_text/tree_join.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The tree of a piece on its way to where all nodes go.
class TakenPiece {
public:
    virtual ~TakenPiece() = default;
    /// Tells whether the nodes of the piece can follow those of the pieces in front of it.
    [[nodiscard]] virtual bool fits() = 0;
    /// Takes the nodes; needs a piece that fits. `leading` are the comments in front of the first.
    virtual void take(String leading) = 0;
    /// Does the rest, which needs no order.
    virtual void finish() {}
};

/// Takes the trees of the pieces of a text.
class PieceTaker {
public:
    virtual ~PieceTaker() = default;
    /// Prepares to take the nodes of a piece, which the result borrows. Called on any thread; the
    /// functions of the results, except for `finish`, are called in the order of the pieces.
    [[nodiscard]] virtual std::unique_ptr<TakenPiece> prepare(SceneTree& piece) = 0;
};

/// Joins the trees of pieces to one tree.
class PieceJoiner final : public PieceTaker {
public:
    /// Borrows the tree, which may get `maxNodes` nodes.
    PieceJoiner(SceneTree& to, u64 maxNodes) noexcept : m_to(to), m_maxNodes(maxNodes) {}
    [[nodiscard]] std::unique_ptr<TakenPiece> prepare(SceneTree& piece) override;

private:
    SceneTree& m_to;
    u64 m_maxNodes;
};

/// Reads the nodes of a scene text in pieces, several at the same time, and passes them on in
/// order.
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

    /// Borrows text and taker; the text has no faulty bytes.
    PieceReader(std::string_view text, const ParseLimits& limits, PieceTaker& taker) noexcept
        : m_text(text), m_limits(limits), m_taker(taker) {}

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
    PieceTaker& m_taker;
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
