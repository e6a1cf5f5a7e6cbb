#include "tests/laws/oom_trial.h"

#include <gtest/gtest.h>

#include <new>

namespace qv::tests {

namespace {

using Fails = OomMemory::Fails;

void prepare(const OomEdit& edit, OomWorld& world) {
    if (edit.build) edit.build(world);
    // Makes the objects that are created on first use now, and keeps them alive for the comparison.
    const OomPortrait warm(world);
    if (edit.edit) edit.edit(world);
    world.witness.counts = {};
}

// Makes a change and cancels it.
void nudge(const Scene& scene) {
    const Scene::UndoScope scope(scene, "Nudge", "");
    scene["sum"]["b"].set(17.0);
    scope.cancel();
}

// Destroys the scene while every allocation fails; returns whether it succeeds without any.
bool endsWithoutMemory(OomWorld& world) {
    Scene scene = world.takeScene();
    OomMemory::arm(Fails::FromThen, 1);
    scene = Scene();
    return OomMemory::disarm() == 0;
}

} // namespace

OomTrial::OomTrial(const OomEdit& edit) : m_edit(edit) {
    for (const bool isDone : {false, true}) {
        OomWorld world;
        prepare(edit, world);
        if (isDone) {
            OomMemory::arm(Fails::Never, 0);
            const bool answer = edit.run(world);
            m_allocations = OomMemory::disarm();
            EXPECT_TRUE(answer) << edit.name << " does not work with memory enough";
        }
        m_portraits.emplace_back(world);
        world.scope.reset();
        m_histories.push_back(world.scene() ? oomHistory(world.scene())
                                            : std::vector<std::string>());
    }
}

OomTrial::Outcome OomTrial::perform(OomWorld& world) const {
    try {
        return m_edit.run(world) ? Outcome::Answered : Outcome::Refused;
    } catch (const std::bad_alloc&) {
        return Outcome::OutOfMemory;
    }
}

std::string OomTrial::run(Fails fails, u64 which) const {
    const i64 before = OomMemory::live();
    const std::string wrong = inWorld(fails, which);
    if (!wrong.empty()) return wrong;
    // `wrong` has no capacity, because an empty text allocates nothing.
    const i64 left = OomMemory::live() - before;
    return left <= 0 ? "" : std::to_string(left) + " blocks of memory leaked";
}

std::string OomTrial::inWorld(Fails fails, u64 which) const {
    OomWorld world;
    prepare(m_edit, world);
    s_doModifiersWait = false;
    OomMemory::arm(fails, which);
    const Outcome outcome = perform(world);
    OomMemory::disarm();
    std::string wrong = judge(world, outcome);
    if (wrong.empty() && world.scene() && !endsWithoutMemory(world))
        wrong = "the end of the scene asks for memory";
    return wrong;
}

std::string OomTrial::judge(OomWorld& world, Outcome outcome) const {
    if (outcome == Outcome::Refused) return "it answers false instead of throwing std::bad_alloc";
    const bool isDone = outcome == Outcome::Answered;
    const std::string start = isDone ? "done, but " : "not done, but ";
    if (m_edit.endsScene) return {};
    if (const std::string faults = oomFaults(world.scene()); !faults.empty()) return start + faults;
    const OomPortrait& expected = m_portraits[isDone ? 1 : 0];
    OomPortrait now(world);
    // Modifiers that ran out of memory wait for the next change, even if that could not be logged.
    const bool didModifiersWait = s_doModifiersWait || now.values != expected.values;
    if (didModifiersWait) {
        nudge(world.scene());
        now = OomPortrait(world);
    }
    if (const std::string other = now.differenceFrom(expected); !other.empty())
        return start + other;
    if (isDone && !didModifiersWait && now.told != expected.told)
        return start + "observers hear of less or more";
    if (!isDone && !didModifiersWait && now.told[2] != 0)
        return start + "observers of batches hear of it";
    if (const std::string lost = judgeHistory(world, isDone); !lost.empty()) return start + lost;
    const std::string deaf = judgeObservers(world);
    return deaf.empty() ? deaf : start + deaf;
}

std::string OomTrial::judgeHistory(OomWorld& world, bool isDone) const {
    world.scope.reset();
    const auto texts = oomHistory(world.scene());
    const auto& expected = m_histories[isDone ? 1 : 0];
    if (texts != expected)
        return "the history leads elsewhere, " + std::to_string(texts.size()) + " states for " +
               std::to_string(expected.size());
    return oomFaults(world.scene());
}

// Checks that the observers of a node that no operation touches are still notified.
std::string OomTrial::judgeObservers(OomWorld& world) const {
    const Node node = world.scene()["h"];
    if (!node) return {};
    const OomWitness::Counts before = world.witness.counts;
    node.createInput("probe", AttrType::Real).set(1.0);
    for (std::size_t kind = 0; kind < before.size(); ++kind)
        if (world.witness.counts[kind] <= before[kind])
            return "observers of kind " + std::to_string(kind) + " hear nothing any more";
    return oomFaults(world.scene());
}

} // namespace qv::tests
