#include "kelvo/sdk/impl/scene_text/piece_reader.h"

#include <memory>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

struct Piece {
    Piece(std::string_view text, const ParseLimits& limits)
        : errors(text, 1), parser(text, limits, tree, errors) {}

    SceneTree tree;
    TextErrors errors;
    SceneParser parser;
};

class JoinedPiece final : public TakenPiece {
public:
    JoinedPiece(SceneTree& to, SceneTree& piece, u64 maxNodes) noexcept
        : m_join(to, piece), m_maxNodes(maxNodes) {}
    [[nodiscard]] bool fits() override { return m_join.fits(m_maxNodes); }
    void take(String leading) override { m_join.joinNodes(std::move(leading)); }
    void finish() override { m_join.joinInputs(); }

private:
    TreeJoin m_join;
    u64 m_maxNodes;
};

} // namespace

std::unique_ptr<TakenPiece> PieceJoiner::prepare(SceneTree& piece) {
    return std::make_unique<JoinedPiece>(m_to, piece, m_maxNodes);
}

u64 PieceReader::read(u64 start, String& leading) {
    m_cuts = cutsFrom(start);
    m_reached = start;
    m_leading = std::move(leading);
    const u64 count = m_cuts.size() - 1;
    const Workers workers(m_limits.threads);
    m_limits.threads = 1; // A piece is read by one thread.
    if (count > 1) workers.run(count, [this](u64 piece) { readPiece(piece); });
    leading = std::move(m_leading);
    return m_reached;
}

// Ends in front of a node that is larger than a piece may be.
std::vector<u64> PieceReader::cutsFrom(u64 start) const {
    constexpr std::string_view mark = "\nnode ";
    std::vector<u64> cuts = {start};
    const u64 most = longest(m_limits);
    while (m_text.size() - cuts.back() > m_limits.pieceSize) {
        const u64 from = cuts.back() + m_limits.pieceSize;
        const u64 length = m_text.substr(from, most - m_limits.pieceSize).find(mark);
        if (length == std::string_view::npos) break;
        cuts.push_back(from + length + 1);
    }
    if (m_text.size() - cuts.back() <= most) cuts.push_back(m_text.size());
    return cuts;
}

void PieceReader::readPiece(u64 piece) {
    Turn turn(*this, piece);
    if (m_isBroken) return;
    const auto read = std::make_unique<Piece>(m_text, m_limits);
    String behind;
    const bool isWhole = read->parser.parsePiece(m_cuts[piece], m_cuts[piece + 1], behind);
    const auto taken = isWhole ? m_taker.prepare(read->tree) : nullptr;
    turn.await();
    if (m_isBroken || !taken || !taken->fits()) return;
    taken->take(std::exchange(m_leading, std::move(behind)));
    m_reached = m_cuts[piece + 1];
    turn.end(true);
    taken->finish();
}

PieceReader::Turn::~Turn() {
    if (m_isOver) return;
    await();
    end(false);
}

void PieceReader::Turn::await() {
    std::unique_lock lock(m_reader.m_mutex);
    m_reader.m_passed.wait(lock, [this] { return m_reader.m_turn == m_piece; });
}

void PieceReader::Turn::end(bool isJoined) noexcept {
    const std::lock_guard lock(m_reader.m_mutex);
    m_isOver = true;
    if (!isJoined) m_reader.m_isBroken = true;
    ++m_reader.m_turn;
    m_reader.m_passed.notify_all();
}

} // namespace qv::kelvo_sdk::impl
