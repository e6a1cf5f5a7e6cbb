#include "tests/laws/snapshot_player.h"

#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/snapshot_delta.h"

#include <algorithm>

namespace qv::tests {

namespace {

using kelvo_sdk::Node;
using kelvo_sdk::Scene;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::SnapshotValues;

constexpr u64 mostNodes = 24;
constexpr std::size_t mostKept = 12;

const char* checkpointOf(const RandomEdit& step) {
    constexpr const char* names[] = {"one", "two", "three"};
    return names[step.a % 3];
}

std::string portraitOf(const Snapshot& snapshot) {
    return SnapshotDump::of(snapshot) + std::string(snapshot.text().view());
}

// Returns both hashes of each node.
std::string hashesOf(const Snapshot& snapshot) {
    std::string text = std::to_string(snapshot.hash()) + "\n";
    for (const SnapshotNode& node : snapshot.nodes())
        text += std::string(node.name().view()) + " " + std::to_string(node.hash()) + " " +
                std::to_string(node.deepHash()) + "\n";
    return text;
}

} // namespace

SnapshotPlayer::SnapshotPlayer(unsigned flavour) {
    if (flavour % 2 == 0) m_scene.addLibrary(kelvo_sdk::LibInfo::standard());
    if (flavour % 4 < 2) m_scene.setDirtyStateCached(true);
    if (flavour % 16 != 0) m_scene.setUndoEnabled(true);
    if (flavour % 8 == 0) m_scene.setUndoLimits({u64{1} << 30, 8});
}

const std::vector<SnapshotPlayer::Kind>& SnapshotPlayer::kinds() {
    using Self = SnapshotPlayer;
    static const std::vector<Kind> kinds = {
        {"open", &Self::openScope, false},
        {"close", &Self::closeScope, false},
        {"close", &Self::closeScope, false},
        {"cancel", &Self::cancelScope, true},
        {"undo", &Self::undo, true},
        {"undo", &Self::undo, true},
        {"redo", &Self::redo, true},
        {"setCheckpoint", &Self::setCheckpoint, false},
        {"returnTo", &Self::returnTo, true},
        {"readKept", &Self::readKept, true},
        {"readStash", &Self::readStash, true},
        {"readPartly", &Self::readPartly, true},
        {"take", &Self::take, false},
        {"take", &Self::take, false},
        {"take", &Self::take, false},
        {"takeEvaluated", &Self::takeEvaluated, false},
        {"hash", &Self::hash, false},
        {"forget", &Self::forget, false},
        {"compareKept", &Self::compareKept, false},
        {"readBack", &Self::readBack, false},
    };
    return kinds;
}

unsigned SnapshotPlayer::kindCount() {
    return static_cast<unsigned>(kinds().size()) + RandomEdits::kindCount();
}

const char* SnapshotPlayer::name(unsigned kind) {
    const auto own = static_cast<unsigned>(kinds().size());
    return kind < own ? kinds()[kind].name : RandomEdits::name(kind - own);
}

std::string SnapshotPlayer::play(const std::vector<RandomEdit>& script) {
    const auto own = static_cast<unsigned>(kinds().size());
    for (const RandomEdit& step : script) {
        const bool isOwn = step.kind < own;
        m_edits += !isOwn || kinds()[step.kind].isEdit;
        if (isOwn)
            (this->*kinds()[step.kind].run)(step);
        else
            m_randomEdits.run({step.kind - own, step.a, step.b, step.c});
        if (!m_wrong.empty()) return m_wrong;
    }
    m_scopes.clear();
    take({});
    readBack({});
    m_randomEdits = RandomEdits(Scene());
    m_scene = Scene();
    for (const Kept& kept : m_kept)
        expectUnchanged(kept);
    return m_wrong;
}

// ---- Edits ---------------------------------------------------------------------------------

void SnapshotPlayer::openScope(const RandomEdit&) {
    if (m_scopes.size() < 3) m_scopes.emplace_back(m_scene, "step", "");
}

void SnapshotPlayer::closeScope(const RandomEdit&) {
    if (!m_scopes.empty()) m_scopes.pop_back();
}

void SnapshotPlayer::cancelScope(const RandomEdit& step) {
    if (m_scopes.empty()) return;
    const std::size_t depth = step.a % m_scopes.size();
    m_scopes[depth].cancel();
    while (m_scopes.size() > depth)
        m_scopes.pop_back();
}

void SnapshotPlayer::undo(const RandomEdit&) {
    m_scene.undo();
}

void SnapshotPlayer::redo(const RandomEdit&) {
    m_scene.redo();
}

void SnapshotPlayer::setCheckpoint(const RandomEdit& step) {
    if (m_scopes.empty()) m_scene.setCheckpoint(checkpointOf(step));
}

void SnapshotPlayer::returnTo(const RandomEdit& step) {
    if (m_scopes.empty()) m_scene.returnTo(checkpointOf(step));
}

void SnapshotPlayer::readKept(const RandomEdit& step) {
    if (m_kept.empty()) return;
    const Snapshot& kept = m_kept[step.a % m_kept.size()].snapshot;
    const u64 before = m_scene.nodeCount();
    if (before + kept.nodeCount() > mostNodes) return;
    const kelvo_sdk::Result isRead = m_scene.read(kept);
    if (!isRead) return expect("reading a snapshot", isRead.message().buf(), "");
    expect("nodes of a snapshot", std::to_string(m_scene.nodeCount()),
           std::to_string(before + kept.nodeCount()));
}

void SnapshotPlayer::readStash(const RandomEdit&) {
    const char* const text =
        "node lamp \"s\" {\n    Real a = 1 @stashed 2\n    Node b = s @stashed null\n}\n";
    if (m_scene.nodeCount() < mostNodes / 2) m_scene.read(text, "text");
}

// Keeps lines that cannot be read.
void SnapshotPlayer::readPartly(const RandomEdit& step) {
    const char* const texts[] = {"node lamp \"n\" {\n    Reel a = 1\n    Node b = gone\n}\nnude\n",
                                 "nude\nnode thing \"m\" {\n    Real a <- n.gone\n    Object o {\n"
                                 "        Reel b = 2\n        Real c = 3\n    }\n}\n"};
    if (m_scene.nodeCount() < mostNodes / 2)
        m_scene.read(texts[step.a % 2], "text", {.isPartial = true});
}

// ---- Snapshots -----------------------------------------------------------------------------

void SnapshotPlayer::take(const RandomEdit& step) {
    const Snapshot now = m_scene.snapshot();
    ++m_snapshots;
    compareWithScene(now);
    follow(m_asSet, now);
    keep(now, step);
}

void SnapshotPlayer::takeEvaluated(const RandomEdit& step) {
    const Snapshot now = m_scene.snapshot({.threads = 1, .values = SnapshotValues::Evaluated});
    ++m_snapshots;
    expectHashes(now, true);
    follow(m_evaluated, now);
    keep(now, step);
}

void SnapshotPlayer::compareWithScene(const Snapshot& now) {
    expect("a snapshot", SnapshotDump::of(now), SnapshotDump::of(m_scene));
    expect("its text", now.text().buf(), m_scene.text().buf());
    expectHashes(now, false);
    for (const SnapshotNode& node : now.nodes())
        if (now.findNode(node.name()) != node || now.nodeWithNumber(node.number()) != node)
            expect("a node", "not found", node.name().buf());
}

// A snapshot of values as set has no values of modifiers, which the hash of a live node covers.
void SnapshotPlayer::expectHashes(const Snapshot& now, bool isEvaluated) {
    const auto isModified = [](const Node& node) {
        return std::ranges::any_of(node.inputs(),
                                   [](const auto& each) { return each.isModified(); });
    };
    for (u64 i = 0; i < now.nodeCount(); ++i) {
        const Node node = m_scene.node(i);
        if (isEvaluated || !isModified(node))
            expect("a hash", std::to_string(now.node(i).hash()), std::to_string(node.hash()));
    }
}

// Applies the delta to the copy, and its opposite to a copy of that.
void SnapshotPlayer::follow(Line& line, const Snapshot& now) {
    line.mirror.apply(delta(line.last, now), now);
    expect("a mirror", line.mirror.text(), SnapshotDump::of(now, true));
    SnapshotMirror back = line.mirror;
    back.apply(delta(now, line.last), line.last);
    expect("a mirror that goes back", back.text(), SnapshotDump::of(line.last, true));
    line.last = now;
}

void SnapshotPlayer::keep(const Snapshot& snapshot, const RandomEdit& step) {
    if (step.b % 2 == 0) return;
    if (m_kept.size() == mostKept) forget(step);
    m_kept.push_back({snapshot, portraitOf(snapshot)});
}

void SnapshotPlayer::hash(const RandomEdit& step) {
    if (m_kept.empty()) return;
    Kept& kept = m_kept[step.a % m_kept.size()];
    const u64 now = kept.snapshot.hash();
    if (kept.hash != 0) expect("a hash", std::to_string(now), std::to_string(kept.hash));
    kept.hash = now;
}

void SnapshotPlayer::forget(const RandomEdit& step) {
    if (m_kept.empty()) return;
    const std::size_t any = step.a % m_kept.size();
    expectUnchanged(m_kept[any]);
    m_kept.erase(m_kept.begin() + static_cast<std::ptrdiff_t>(any));
}

void SnapshotPlayer::expectUnchanged(const Kept& kept) {
    expect("an old snapshot", portraitOf(kept.snapshot), kept.portrait);
    if (kept.hash != 0)
        expect("its hash", std::to_string(kept.snapshot.hash()), std::to_string(kept.hash));
}

// Brings a copy of one snapshot to the state of another one, earlier or later.
void SnapshotPlayer::compareKept(const RandomEdit& step) {
    if (m_kept.empty()) return;
    const Snapshot& from = m_kept[step.a % m_kept.size()].snapshot;
    const Snapshot& to = m_kept[step.b % m_kept.size()].snapshot;
    SnapshotMirror mirror;
    mirror.apply(delta({}, from), from);
    mirror.apply(delta(from, to), to);
    expect("a copy by a long delta", mirror.text(), SnapshotDump::of(to, true));
}

// Reads the last snapshot into a new scene.
void SnapshotPlayer::readBack(const RandomEdit&) {
    const Snapshot& from = m_asSet.last;
    if (!from) return;
    const Scene copy = Scene::create();
    for (u64 i = 0; i < m_scene.libraryCount(); ++i)
        copy.addLibrary(m_scene.library(i));
    if (const kelvo_sdk::Result isRead = copy.read(from); isRead || from.nodeCount() == 0)
        compareCopy(copy, from);
    else
        expect("reading a snapshot", isRead.message().buf(), "");
}

void SnapshotPlayer::compareCopy(const Scene& copy, const Snapshot& from) {
    expect("the text of a copy", copy.text().buf(), from.text().buf());
    expect("the hashes of a copy", hashesOf(copy.snapshot()), hashesOf(from));
}

void SnapshotPlayer::expect(const char* what, const std::string& is, const std::string& should) {
    if (is == should || !m_wrong.empty()) return;
    m_wrong = std::string(what) + " is wrong\n---- expected\n" + should + "---- is\n" + is;
}

} // namespace qv::tests
