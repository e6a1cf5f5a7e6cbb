#include "kelvo/sdk/impl/snapshot/text_snapshot.h"

#include "kelvo/base/workers.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/snapshot/piece_recorder.h"
#include "kelvo/sdk/impl/snapshot/tree_record_maker.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// One thread records this many nodes at a time.
constexpr u64 nodesOfPiece = 1024;

RefersTo<SnapshotFile> fileOf(SceneTree& tree) {
    SceneComments comments;
    comments.setFile(tree.file);
    if (comments.file().isEmpty()) return {};
    auto file = RefersTo<SnapshotFile>::adopt(new SnapshotFile);
    file->comments = comments.file();
    for (UnreadLines& lines : file->comments.unread) {
        const u32 node = tree.findNode(tree.names.add(lines.before.view()));
        file->before.push_back(node != noTreeIndex ? node : noNumber);
        if (node != noTreeIndex) lines.before = tree.nodeName(node);
    }
    return file;
}

// The pieces of a tree know nothing of each other, so threads can record them at the same time.
NewRecords recordsOf(SceneTree& tree, const Scene& scene, SnapshotLine& line, u32 threads) {
    const u64 count = tree.nodes.size();
    NewRecords records(count);
    Workers(threads).run((count + nodesOfPiece - 1) / nodesOfPiece, [&](u64 piece) {
        TreeRecordMaker maker(tree, scene, line.shapes, line.types);
        const u64 end = std::min(count, (piece + 1) * nodesOfPiece);
        for (u64 i = piece * nodesOfPiece; i < end; ++i)
            records.set(i, maker.record(static_cast<u32>(i), line.store.next()));
    });
    return records;
}

// `tree` has the comments of the whole text.
RefersTo<SnapshotPicture> pictureOf(RefersTo<SnapshotLine> line, SceneTree& tree, u32 threads) {
    line->current.file = fileOf(tree);
    return RefersTo<SnapshotPicture>::adopt(new SnapshotPicture(std::move(line), threads));
}

RefersTo<SnapshotPicture> pictureOf(SceneTree& tree, const Scene& scene, u32 threads) {
    auto line = RefersTo<SnapshotLine>::adopt(new SnapshotLine);
    line->current.fill(recordsOf(tree, scene, *line, threads), threads, line->store);
    return pictureOf(std::move(line), tree, threads);
}

// Reads a long text piece by piece; returns null when it has to be read as a whole.
RefersTo<SnapshotPicture> pictureOfPieces(const Scene& scene, std::string_view text,
                                          const ReadOptions& options) {
    if (text.size() < 2 * options.pieceSize) return {};
    auto line = RefersTo<SnapshotLine>::adopt(new SnapshotLine);
    SceneTree rest;
    const ParseLimits limits{options.maxDepth, options.maxNodes, options.threads,
                             options.pieceSize};
    if (!PieceRecorder(scene, *line).read(text, limits, rest)) return {};
    return pictureOf(std::move(line), rest, options.threads);
}

} // namespace

RefersTo<SnapshotPicture> readPicture(Scene& scene, std::string_view text,
                                      const ReadOptions& options, Diagnostics& found) {
    RefersTo<SnapshotPicture> picture = pictureOfPieces(scene, text, options);
    if (picture) return picture;
    readTree(scene, text, options, &found,
             [&](SceneTree& tree) { picture = pictureOf(tree, scene, options.threads); });
    return picture;
}

} // namespace qv::kelvo_sdk::impl
