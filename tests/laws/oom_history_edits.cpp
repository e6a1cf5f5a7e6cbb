// Lists the undo and the redo of single edits.
#include "tests/laws/oom_world.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

namespace qv::tests {

namespace {

struct Edit {
    const char* name;
    std::function<bool(OomWorld&)> run;
};

const std::vector<Edit>& nodeEdits() {
    static const std::vector<Edit> edits{
        {"the creation of a node",
         [](OomWorld& w) { return bool(w.scene().createNode("thing", "made")); }},
        {"the removal of a node in use",
         [](OomWorld& w) { return bool(w.scene().removeNode(w.scene()["b"])); }},
        {"the new name of a node", [](OomWorld& w) { return bool(w.scene()["a"].rename("z")); }},
        {"the move of a node",
         [](OomWorld& w) { return bool(w.scene().moveNode(w.scene()["a"], 3)); }},
        {"a new parent", [](OomWorld& w) { return bool(w.scene()["d"].parentTo(w.scene()["c"])); }},
        {"a lost parent",
         [](OomWorld& w) { return bool(w.scene()["a"].unparentFrom(w.scene()["c"])); }},
        {"the creation of an output",
         [](OomWorld& w) { return bool(w.scene()["a"].createOutput("made", AttrType::Real)); }},
        {"the removal of an output that is read",
         [](OomWorld& w) { return w.scene()["a"]->removeOutput("o"); }},
        {"the creation of an input",
         [](OomWorld& w) { return bool(w.scene()["a"].createInput("made", AttrType::Real)); }},
        {"the removal of an input", [](OomWorld& w) { return w.scene()["a"]->removeInput("r"); }},
        {"the removal of a list of links",
         [](OomWorld& w) { return w.scene()["a"]->removeInput("list"); }},
        {"the removal of the modifiers",
         [](OomWorld& w) { return w.scene()["d"]->removeInput("modifiers"); }},
        {"the removal of all inputs",
         [](OomWorld& w) {
             w.scene()["a"]->clearInputs();
             return true;
         }},
    };
    return edits;
}

const std::vector<Edit>& inputEdits() {
    static const std::vector<Edit> edits{
        {"a number", [](OomWorld& w) { return bool(w.at("a", "r").set(17.0)); }},
        {"a link", [](OomWorld& w) { return bool(w.at("a", "l").set(w.scene()["c"])); }},
        {"a value that modifiers write",
         [](OomWorld& w) { return bool(w.at("d", "x").set(17.0)); }},
        {"a connection",
         [](OomWorld& w) { return bool(w.at("a", "r").connect(w.scene()["h"].output("p"))); }},
        {"an ended connection", [](OomWorld& w) { return bool(w.at("b", "r").disconnect()); }},
        {"an appended element", [](OomWorld& w) { return bool(w.at("a", "e").append()); }},
        {"the removal of an element that reads",
         [](OomWorld& w) { return w.at("a", "e")->removeInput(u64(1)); }},
        {"a moved element", [](OomWorld& w) { return bool(w.at("a", "list").moveElement(0, 1)); }},
        {"the new name of an input", [](OomWorld& w) { return bool(w.at("a", "r").rename("z")); }},
        {"the new name of a member",
         [](OomWorld& w) { return bool(w.at("a", "o.m").rename("z")); }},
    };
    return edits;
}

// Makes two operations of each edit: its undo, and its redo after that.
std::vector<OomEdit> replays() {
    static std::deque<std::string> names;
    std::vector<OomEdit> made;
    for (const auto* edits : {&nodeEdits(), &inputEdits()})
        for (const Edit& edit : *edits) {
            const auto build = [&edit](OomWorld& w) { EXPECT_TRUE(edit.run(w)) << edit.name; };
            names.push_back(std::string("history: undo ") + edit.name);
            made.push_back(
                {names.back().c_str(), build, [](OomWorld& w) { return w.scene().undo(); }});
            names.push_back(std::string("history: redo ") + edit.name);
            made.push_back({names.back().c_str(),
                            [build](OomWorld& w) {
                                build(w);
                                w.scene().undo();
                            },
                            [](OomWorld& w) { return w.scene().redo(); }});
        }
    return made;
}

} // namespace

const std::vector<OomEdit>& oomHistoryEdits() {
    static const std::vector<OomEdit> edits = replays();
    return edits;
}

} // namespace qv::tests
