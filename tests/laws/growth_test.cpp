// The memory that an edit allocates grows linearly with the number of objects that it changes, in
// any order: twice as many take about twice as much.
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/output.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>

namespace {

std::atomic<std::size_t> bytesTaken = 0;

void* allocateOrFail(std::size_t size) {
    bytesTaken += size;
    if (void* block = std::malloc(size != 0 ? size : 1)) return block;
    throw std::bad_alloc();
}

void freeBlock(void* block) noexcept {
    std::free(block);
}

} // namespace

#include "tests/support/replaced_new.h"

namespace qv::kelvo_sdk {
namespace {

// A scene that keeps all steps, and edits of `count` objects in it.
class Edits {
public:
    explicit Edits(u64 count) : m_count(count) {
        constexpr u64 all = std::numeric_limits<u64>::max();
        m_scene.setUndoLimits({all, all});
        m_scene.setUndoEnabled(true);
    }
    void append() {
        oneStep([this](u64) { m_array.append(); });
    }
    void createNodes() {
        oneStep([this](u64 i) { m_scene.createNode("t", name("n", i)); });
    }
    void createInputs() {
        oneStep([this](u64 i) { m_node.createInput(name("i", i), AttrType::Real); });
    }
    void connect() {
        const Output output = m_source.createOutput("result", AttrType::Real);
        oneStep([&](u64) { m_array.append().connect(output); });
    }
    void disconnect() {
        oneStep([this](u64 i) { m_array.input(i).disconnect(); });
    }
    void clear() { m_scene->clear(); }
    void clearInputs() { m_node->clearInputs(); }
    void convertSource() { m_source.convertTo("u"); }
    void undo() { EXPECT_TRUE(m_scene.undo()); }
    void redo() { EXPECT_TRUE(m_scene.redo()); }

private:
    static String name(const char* stem, u64 i) {
        return String::format("%s%llu", stem, static_cast<unsigned long long>(i));
    }
    template<typename Edit>
    void oneStep(const Edit& edit) {
        const Scene::UndoScope scope(m_scene, "Edit", "Take back");
        for (u64 i = 0; i < m_count; ++i)
            edit(i);
    }

    u64 m_count;
    Scene m_scene = Scene::create();
    Node m_source = m_scene.createNode("t", "source");
    Node m_node = m_scene.createNode("t", "node1");
    Input m_array = m_node.createArray("array", AttrType::Real);
};

using Act = void (Edits::*)();

std::size_t bytesFor(std::initializer_list<Act> before, Act measured, u64 count) {
    Edits edits(count);
    for (const Act act : before)
        (edits.*act)();
    const std::size_t start = bytesTaken;
    (edits.*measured)();
    return bytesTaken - start;
}

// The factor allows for a list that grows by doubling and has just done so.
void expectLinear(std::initializer_list<Act> before, Act measured, u64 count = 2000) {
    const std::size_t few = bytesFor(before, measured, count);
    EXPECT_LT(bytesFor(before, measured, 2 * count), 3 * few + 65536);
}

TEST(Growth, Appends_AreLinear) {
    expectLinear({}, &Edits::append);
    expectLinear({&Edits::append}, &Edits::undo);
    expectLinear({&Edits::append, &Edits::undo}, &Edits::redo);
}

TEST(Growth, CreatedNodes_AreLinear) {
    expectLinear({}, &Edits::createNodes, 500);
    expectLinear({&Edits::createNodes}, &Edits::undo, 500);
    expectLinear({&Edits::createNodes, &Edits::undo}, &Edits::redo, 500);
}

TEST(Growth, ClearedScene_IsLinear) {
    expectLinear({&Edits::createNodes}, &Edits::clear, 500);
    expectLinear({&Edits::createNodes, &Edits::clear}, &Edits::undo, 500);
}

TEST(Growth, ClearedInputs_AreLinear) {
    expectLinear({&Edits::createInputs}, &Edits::clearInputs);
    expectLinear({&Edits::createInputs, &Edits::clearInputs}, &Edits::undo);
    expectLinear({&Edits::createInputs, &Edits::clearInputs, &Edits::undo}, &Edits::redo);
}

TEST(Growth, ConversionWithManyReaders_IsLinear) {
    expectLinear({&Edits::connect}, &Edits::convertSource);
    expectLinear({&Edits::connect, &Edits::convertSource}, &Edits::undo);
}

TEST(Growth, Disconnection_IsLinear) {
    expectLinear({&Edits::connect}, &Edits::disconnect);
    expectLinear({&Edits::connect, &Edits::disconnect}, &Edits::undo);
}

} // namespace
} // namespace qv::kelvo_sdk
