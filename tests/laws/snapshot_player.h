#pragma once

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"
#include "tests/laws/snapshot_mirror.h"
#include "tests/support/random_edits.h"

#include <string>
#include <vector>

namespace qv::tests {

/// Edits a scene step by step, with undo, and takes snapshots. Compares each snapshot with the
/// scene, with mirrors that apply deltas, with scenes that read it, and with itself at the end.
class SnapshotPlayer {
public:
    /// The bits of the flavour tell whether the scene records for undo, has the standard library
    /// and caches dirty flags.
    explicit SnapshotPlayer(unsigned flavour);

    [[nodiscard]] static unsigned kindCount();
    [[nodiscard]] static const char* name(unsigned kind);

    /// Plays a script up to the first failure and returns that failure, empty if there is none.
    std::string play(const std::vector<RandomEdit>& script);
    /// Returns the number of edits, undone and redone ones included, and of snapshots so far.
    [[nodiscard]] u64 edits() const noexcept { return m_edits; }
    [[nodiscard]] u64 snapshots() const noexcept { return m_snapshots; }

private:
    using Scene = kelvo_sdk::Scene;
    using Snapshot = kelvo_sdk::Snapshot;

    struct Kind {
        const char* name;
        void (SnapshotPlayer::*run)(const RandomEdit&);
        bool isEdit;
    };
    static const std::vector<Kind>& kinds();

    struct Kept {
        Snapshot snapshot;
        std::string portrait;
        // 0 while nobody asked for it.
        u64 hash = 0;
    };
    // The snapshots of one sort of values: the last one, and a copy of it by deltas.
    struct Line {
        Snapshot last;
        SnapshotMirror mirror;
    };

    void openScope(const RandomEdit& step);
    void closeScope(const RandomEdit& step);
    void cancelScope(const RandomEdit& step);
    void undo(const RandomEdit& step);
    void redo(const RandomEdit& step);
    void setCheckpoint(const RandomEdit& step);
    void returnTo(const RandomEdit& step);
    void readKept(const RandomEdit& step);
    void readStash(const RandomEdit& step);
    void readPartly(const RandomEdit& step);

    void take(const RandomEdit& step);
    void takeEvaluated(const RandomEdit& step);
    void follow(Line& line, const Snapshot& now);
    void keep(const Snapshot& snapshot, const RandomEdit& step);
    void hash(const RandomEdit& step);
    void forget(const RandomEdit& step);
    void compareKept(const RandomEdit& step);
    void readBack(const RandomEdit& step);

    void compareWithScene(const Snapshot& now);
    void expectHashes(const Snapshot& now, bool isEvaluated);
    void compareCopy(const Scene& copy, const Snapshot& from);
    void expectUnchanged(const Kept& kept);
    void expect(const char* what, const std::string& is, const std::string& should);

    Scene m_scene = Scene::create();
    RandomEdits m_randomEdits{m_scene};
    std::vector<Scene::UndoScope> m_scopes;
    Line m_asSet;
    Line m_evaluated;
    std::vector<Kept> m_kept;
    u64 m_edits = 0;
    u64 m_snapshots = 0;
    std::string m_wrong;
};

} // namespace qv::tests
