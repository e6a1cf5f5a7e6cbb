#pragma once

#include "kelvo/sdk/impl/scene_text/piece_reader.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/impl/snapshot/tree_record_maker.h"

#include <atomic>
#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Scene;

/// Makes records of the nodes of a long text piece by piece, so that there is never a tree of the
/// whole text.
///
/// Gives up where a text is not of the usual kind: when it has an error, or links in descriptions.
/// The caller then reads it in the ordinary way, which also finds the errors.
class PieceRecorder final : public PieceTaker {
public:
    /// Borrows everything; `scene` has the libraries. The line gets the records.
    PieceRecorder(const Scene& scene, SnapshotLine& line) noexcept : m_scene(scene), m_line(line) {}

    /// Reads the whole text; false when it gave up. `rest` gets the comments of the whole text.
    [[nodiscard]] bool read(std::string_view text, const ParseLimits& limits, SceneTree& rest);

    [[nodiscard]] std::unique_ptr<TakenPiece> prepare(SceneTree& piece) override;

private:
    // A piece that is being recorded.
    class Piece;
    // Links and connections of a piece, whose names its tree no longer has.
    struct NamedLink {
        PendingLink place;
        String node;
    };
    struct NamedConnection {
        PendingConnection place;
        String node;
        String output;
    };
    struct References {
        std::vector<NamedLink> links;
        std::vector<NamedConnection> connections;
    };

    [[nodiscard]] bool add(NewRecord record);
    [[nodiscard]] bool resolve(u32 threads);
    [[nodiscard]] bool resolve(const NamedLink& link) const;
    [[nodiscard]] bool resolve(const NamedConnection& connection) const;
    [[nodiscard]] bool hasLoops() const;

    const Scene& m_scene;
    SnapshotLine& m_line;
    u64 m_maxNodes = 0;
    // The tree that gets the nodes that are in no piece.
    const SceneTree* m_rest = nullptr;
    u32 m_next = 0;
    std::vector<References> m_references;
    std::atomic<bool> m_hasGivenUp = false;
};

} // namespace qv::kelvo_sdk::impl
