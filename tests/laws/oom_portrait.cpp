#include "tests/laws/oom_portrait.h"

#include "kelvo/sdk/interfaces/i_scene.h"
#include "tests/support/known_rows.h"
#include "tests/support/scene_text.h"

namespace qv::tests {

namespace {

using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

void appendValues(const IInput& input, std::string& out) {
    out += std::string(input.path().view()) + " = " +
           std::string(Input(const_cast<IInput*>(&input)).asString().view()) + "\n";
    for (u64 i = 0; i < input.inputCount(); ++i)
        appendValues(*input.input(i), out);
}

std::string valuesOf(const Scene& scene) {
    std::string out;
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const Node node = scene.node(i);
        out += std::string(node.name().view()) + " " + std::to_string(node.hash()) + "\n";
        for (u64 k = 0; k < node.inputCount(); ++k)
            appendValues(*node.input(k).get(), out);
    }
    return out;
}

std::string historyOf(const Scene& scene) {
    std::string out = std::to_string(scene.undoCount()) + " steps to undo, " +
                      std::to_string(scene.redoCount()) + " to redo, depth " +
                      std::to_string(scene->editDepth()) + (scene.isSaved() ? ", saved" : "") +
                      (scene.undoEnabled() ? ", on" : "") + ":";
    for (u64 i = 0; i < scene.undoCount(); ++i)
        out += std::string(" ") + scene.undoStep(i).doText.buf();
    for (const String& name : scene.checkpoints())
        out += std::string(" @") + name.buf();
    return out;
}

// Returns the first line in which two texts differ.
std::string firstDifference(const std::string& is, const std::string& should) {
    std::size_t at = 0;
    while (at < is.size() && at < should.size() && is[at] == should[at])
        ++at;
    const std::size_t begin = at == 0 ? 0 : is.rfind('\n', at - 1) + 1;
    const auto line = [begin](const std::string& text) {
        return begin < text.size() ? text.substr(begin, text.find('\n', begin) - begin) : "nothing";
    };
    return "\"" + line(is) + "\" and not \"" + line(should) + "\"";
}

} // namespace

OomPortrait::OomPortrait(const OomWorld& world) : told(world.witness.counts) {
    const Scene& scene = world.scene();
    if (!scene) return;
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        dirty[scene.node(i).name().buf()] = scene.node(i).dirty();
    text = textOf(scene);
    values = valuesOf(scene);
    history = historyOf(scene);
}

std::string OomPortrait::differenceFrom(const OomPortrait& expected) const {
    if (text != expected.text) return "the text has " + firstDifference(text, expected.text);
    if (values != expected.values) return "a value is " + firstDifference(values, expected.values);
    if (history != expected.history)
        return "the history is " + firstDifference(history, expected.history);
    for (const auto& [name, isDirty] : expected.dirty)
        if (isDirty && !dirty.at(name)) return name + " is not dirty any more";
    return {};
}

std::vector<std::string> oomHistory(const Scene& scene) {
    std::vector<std::string> texts{textOf(scene)};
    while (scene.undo())
        texts.push_back(textOf(scene));
    while (scene.redo())
        texts.push_back(textOf(scene));
    texts.push_back(valuesOf(scene));
    return texts;
}

std::string oomFaults(const Scene& scene) {
    std::string out;
    for (const auto& fault : scene.verify())
        out += std::string(fault.place.buf()) + " " + fault.message.buf() + "; ";
    fillRows(scene);
    return out;
}

} // namespace qv::tests
