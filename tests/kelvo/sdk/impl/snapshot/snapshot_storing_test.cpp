#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot_pieces.h"
#include "kelvo/sdk/snapshot_reader.h"
#include "tests/support/memory_pieces.h"
#include "tests/support/on_threads.h"
#include "tests/support/random_scene.h"
#include "tests/support/snapshot_dump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

using tests::MemoryPieces;
using tests::MemorySink;
using tests::SnapshotDump;

Snapshot snapshotOf(const char* text) {
    const Scene scene = Scene::create();
    EXPECT_TRUE(scene.read(text, "text"));
    return scene.snapshot();
}

Snapshot reopened(const Snapshot& snapshot) {
    const Made<Snapshot> opened =
        openSnapshot(RefersTo<PieceSource>(MemorySink::store(snapshot).get()));
    EXPECT_TRUE(opened.result()) << opened.message();
    return opened;
}

constexpr const char* manyKinds = R"(kelvo scene 1

node xform "room" {
    Array<Node> children = [lamp, desk]
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 2.5 0 1)
}
node mesh "desk" {
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (1 1 0)]
    Rgba color = (0.8 0.6 0.4 1)
    String label = "of wood"
    String none = ""
    Bool isOld = true
    Object parts {
        Array<Int> counts = [1, 2, 3]
        Array<Object> legs = [{ Real size = 1 }, { Real size = 2 }]
        Array<String> names = ["a", "b"]
    }
    output Real height  # above the floor
}
node pointLight "lamp" {
    Real power = 40 <- desk.height
    Node target = desk
}
)";

Snapshot mixed() {
    const Scene scene = Scene::create();
    const Node desk = scene.createNode("mesh", "desk");
    desk.createInput("flags", AttrType::Bool).set(true);
    desk.createInput("label", AttrType::String).set("of wood");
    desk.createInput("none", AttrType::String);
    desk.createInput("count", AttrType::UInt).set(u64{1} << 63);
    const auto height = desk.createOutput("height", AttrType::Real);
    const Node lamp = scene.createNode("pointLight", "lamp");
    lamp.createInput("power", AttrType::Real).connect(height);
    lamp.createInput("target", AttrType::Node).set(desk);
    const Input parts = lamp.createInput("parts", AttrType::Object);
    const Input list = parts.createArray("list", AttrType::Real);
    for (int i = 0; i < 3; ++i)
        list.append().set(i * 0.5);
    return scene.snapshot();
}

TEST(SnapshotStoring, EveryKindOfValue_IsReadAgain) {
    const Snapshot before = snapshotOf(manyKinds);
    EXPECT_EQ(SnapshotDump::of(reopened(before)), SnapshotDump::of(before));
    EXPECT_EQ(SnapshotDump::of(reopened(mixed())), SnapshotDump::of(mixed()));
}

TEST(SnapshotStoring, RandomScenes_AreReadAgainAndStoredAgain) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        tests::RandomScene random(seed);
        for (int i = 0; i < 30; ++i)
            random.edit();
        const Scene scene = Scene::create();
        Diagnostics found;
        if (!scene.read(String(std::string_view(random.text())), "text", &found)) continue;
        const Snapshot before = scene.snapshot();
        const Snapshot after = reopened(before);
        ASSERT_EQ(SnapshotDump::of(after), SnapshotDump::of(before)) << random.text();
        const auto first = MemorySink::store(before), second = MemorySink::store(after);
        ASSERT_EQ(first->pieces.size(), second->pieces.size());
        for (u64 i = 0; i < first->pieces.size(); ++i) {
            const auto &a = first->pieces[i], &b = second->pieces[i];
            ASSERT_TRUE(std::equal(a.bytes.get(), a.bytes.get() + a.size, b.bytes.get(),
                                   b.bytes.get() + b.size))
                << "piece " << i;
        }
    }
}

TEST(SnapshotStoring, TextOmitsWhatDefinitionsGive_AlsoAfterwards) {
    const String text = "kelvo scene 1\n\nnode pointLight \"lamp\" {\n    Real intensity = 3\n}\n";
    SnapshotReadOptions options;
    options.libraries.push_back(LibInfo::standard());
    const SnapshotReport read = readSnapshot(text.view(), "text", options);
    ASSERT_TRUE(read.isRead);
    EXPECT_EQ(read.snapshot.text(), text);
    EXPECT_EQ(reopened(read.snapshot).text(), text);
}

TEST(SnapshotStoring, AnEmptyScene_IsReadAgain) {
    const Snapshot opened = reopened(Scene::create().snapshot());
    EXPECT_EQ(opened.nodeCount(), 0u);
    EXPECT_FALSE(opened["lamp"]);
    EXPECT_TRUE(opened.verify());
}

TEST(SnapshotStoring, NoSnapshot_IsRefused) {
    MemorySink sink;
    EXPECT_EQ(storeSnapshot({}, sink).message(), "There is no snapshot to store.");
    EXPECT_EQ(openSnapshot({}).message(), "There is no stored snapshot to open.");
}

TEST(SnapshotStoring, ASinkThatFails_EndsTheStoringWithItsReason) {
    for (int piece = 0; piece < 4; ++piece) {
        MemorySink sink;
        sink.failsAt = piece;
        EXPECT_EQ(storeSnapshot(mixed(), sink).message(), "The disk is full.");
        EXPECT_EQ(sink.made->pieces.size(), static_cast<u64>(piece));
    }
}

TEST(SnapshotStoring, Nodes_AreNumberedByPosition) {
    const Scene scene = Scene::create();
    for (const char* name : {"a", "b", "c"})
        ASSERT_TRUE(scene.createNode("t", name).result());
    ASSERT_TRUE(scene.removeNode(scene["a"]));
    const Snapshot opened = reopened(scene.snapshot());
    EXPECT_EQ(opened["b"].number(), 0u);
    EXPECT_EQ(opened["C"].number(), 1u);
    EXPECT_EQ(opened.node(1).name(), "c");
    EXPECT_FALSE(opened.nodeWithNumber(2));
}

// ---- Parts that are not asked for ------------------------------------------------------

Snapshot manyNodes(u32 count) {
    const Scene scene = Scene::create();
    for (u32 i = 0; i < count; ++i) {
        const Node node = scene.createNode("t", String::format("n%u", i));
        node.createInput("x", AttrType::Real).set(i * 0.5);
    }
    return scene.snapshot();
}

TEST(SnapshotStoring, AFirstValue_NeedsOnlyItsPieces) {
    const auto stored = MemorySink::store(manyNodes(10'000));
    const Snapshot opened = openSnapshot(RefersTo<PieceSource>(stored.get()));
    const auto readPieces = [&] {
        u64 sum = 0;
        for (const auto& reads : stored->reads)
            sum += reads;
        return sum;
    };
    EXPECT_EQ(readPieces(), 3u);
    EXPECT_EQ(opened["n7777"]["x"].get<double>(), 7777 * 0.5);
    EXPECT_LE(readPieces(), 6u);
}

TEST(SnapshotStoring, EveryNode_IsFoundByNameOnManyThreads) {
    const Snapshot opened = reopened(manyNodes(3'000));
    tests::onThreads([&](int) {
        for (u32 i = 0; i < 3'000; ++i)
            if (opened[String::format("N%u", i)]["x"].get<double>() != i * 0.5) ADD_FAILURE() << i;
    });
    EXPECT_TRUE(opened.verify());
}

TEST(SnapshotStoring, Hashes_AskedOnManyThreads_AreThoseOfTheScene) {
    const Snapshot written = manyNodes(1'000);
    const u64 hash = written.hash();
    for (int round = 0; round < 10; ++round) {
        const Snapshot opened = reopened(written);
        tests::onThreads([&](int) {
            EXPECT_EQ(opened.hash(), hash);
            EXPECT_EQ(opened["n7"].deepHash(), written["n7"].deepHash());
        });
    }
}

class StoredBuffer : public testing::Test {
protected:
    StoredBuffer() {
        const Scene scene = Scene::create();
        const Node mesh = scene.createNode("mesh", "mesh");
        std::vector<float> values(4'000);
        for (u64 i = 0; i < values.size(); ++i)
            values[i] = static_cast<float>(i);
        mesh.createInput("b", AttrType::Buffer).setBuffer(values);
        mesh.createInput("x", AttrType::Real).set(1.0);
        m_stored = MemorySink::store(scene.snapshot());
        for (u32 i = 0; i < m_stored->pieces.size(); ++i)
            if (m_stored->pieces[i].isBuffer) m_buffer = i;
        m_snapshot = openSnapshot(RefersTo<PieceSource>(m_stored.get()));
    }

    RefersTo<MemoryPieces> m_stored;
    u32 m_buffer = ~u32{0};
    Snapshot m_snapshot;
};

TEST_F(StoredBuffer, IsUsedInPlace) {
    const auto elements = m_snapshot["mesh"]["b"].buffer<float>();
    ASSERT_EQ(elements.size(), 4'000u);
    EXPECT_EQ(elements[1'234], 1'234.0f);
    EXPECT_EQ(static_cast<const void*>(elements.data()), m_stored->pieces[m_buffer].bytes.get());
}

TEST_F(StoredBuffer, IsCheckedAtTheFirstReadOnly) {
    EXPECT_EQ(m_snapshot["mesh"]["x"].get<double>(), 1.0);
    EXPECT_EQ(m_stored->checks, 0u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(m_snapshot["mesh"]["b"].buffer<float>().size(), 4'000u);
    EXPECT_EQ(m_stored->checks, 1u);
}

TEST_F(StoredBuffer, WithDamage_ReadsAsEmptyAndIsReported) {
    m_stored->damagedBuffer = m_buffer;
    EXPECT_TRUE(m_snapshot["mesh"]["b"].buffer<float>().empty());
    EXPECT_EQ(m_snapshot.damage().message(), "The buffer is damaged.");
    EXPECT_EQ(m_snapshot["mesh"]["x"].get<double>(), 1.0);
}

TEST_F(StoredBuffer, WithDamage_IsFoundByTheSearchForAllDamage) {
    m_stored->damagedBuffer = m_buffer;
    EXPECT_TRUE(m_snapshot.damage());
    EXPECT_EQ(m_snapshot.verify().message(), "The buffer is damaged.");
    MemorySink sink;
    EXPECT_EQ(storeSnapshot(m_snapshot, sink).message(), "The buffer is damaged.");
}

TEST_F(StoredBuffer, OutlivesItsSnapshotInAnotherScene) {
    const Scene scene = Scene::create();
    const Input copy = scene.createNode("t", "n").createInput("b", AttrType::Buffer);
    copy.setBuffer(m_snapshot["mesh"]["b"].buffer<float>());
    m_snapshot = {};
    m_stored = {};
    EXPECT_EQ(copy.buffer<float>()[3'999], 3'999.0f);
}

TEST(SnapshotStoring, ABufferOfTwoNodes_IsStoredOnce) {
    const Scene scene = Scene::create();
    const Node a = scene.createNode("mesh", "a");
    a.createInput("b", AttrType::Buffer).setBuffer(std::vector<float>(4'000, 1.0f));
    ASSERT_TRUE(a.clone().result());
    const auto stored = MemorySink::store(scene.snapshot());
    EXPECT_EQ(std::ranges::count_if(stored->pieces, &MemoryPieces::Piece::isBuffer), 1);
}

// ---- Damage ----------------------------------------------------------------------------

// Reads everything that can be read.
void readAll(const MemoryPieces& pieces) {
    const Made<Snapshot> opened =
        openSnapshot(RefersTo<PieceSource>(const_cast<MemoryPieces*>(&pieces)));
    if (!opened.result()) {
        EXPECT_FALSE(opened.message().isEmpty());
        return;
    }
    static_cast<void>(opened.verify());
    static_cast<void>(SnapshotDump::of(opened));
}

TEST(SnapshotStoring, ADamagedByteAnywhere_DoesNoHarm) {
    const auto stored = MemorySink::store(snapshotOf(manyKinds));
    for (MemoryPieces::Piece& piece : stored->pieces) {
        for (u64 i = 0; i < piece.size; ++i) {
            for (const int value : {0, 1, 0x7f, 0x80, 0xff}) {
                const std::byte before = std::exchange(piece.bytes.get()[i], std::byte(value));
                readAll(*stored);
                piece.bytes.get()[i] = before;
            }
        }
    }
    EXPECT_TRUE(Snapshot(openSnapshot(RefersTo<PieceSource>(stored.get()))).verify());
}

TEST(SnapshotStoring, APieceCutOffAnywhere_IsReported) {
    const auto stored = MemorySink::store(snapshotOf(manyKinds));
    for (MemoryPieces::Piece& piece : stored->pieces) {
        if (piece.isBuffer) continue;
        const u64 size = piece.size;
        for (piece.size = 0; piece.size < size; ++piece.size) {
            const Made<Snapshot> opened = openSnapshot(RefersTo<PieceSource>(stored.get()));
            const String message = opened.result() ? opened.verify().message() : opened.message();
            EXPECT_NE(std::string(message.buf()).find("byte "), std::string::npos)
                << piece.size << ": " << message.buf();
        }
    }
}

} // namespace
} // namespace qv::kelvo_sdk
