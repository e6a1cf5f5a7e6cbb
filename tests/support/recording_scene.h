#pragma once

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "tests/support/journal.h"

#include <functional>
#include <string>

namespace qv::tests {

/// A scene that records the notifications of its nodes and the opening and closing of steps, and
/// forwards nothing.
class RecordingScene : public kelvo_sdk::impl::Scene {
public:
    using IInput = kelvo_sdk::interfaces::IInput;
    using INode = kelvo_sdk::interfaces::INode;
    using IOutput = kelvo_sdk::interfaces::IOutput;
    using AttrData = kelvo_sdk::impl::AttrData;

    explicit RecordingScene(Journal& journal) : m_journal(journal) {}
    ~RecordingScene() override { m_journal.add("scene-gone"); }

    [[nodiscard]] static RefersTo<RecordingScene> make(Journal& journal) {
        return RefersTo<RecordingScene>::adopt(new RecordingScene(journal));
    }

    bool recordsUndo = false;
    bool isReplaying = false;
    bool cachesDirty = false;
    /// Called during every notification.
    std::function<void()> then;
    /// Called when a step opens.
    std::function<void()> thenAtBegin;

    const AttrData* lastRecord = nullptr;
    const IOutput* lastBefore = nullptr;
    const IOutput* lastAfter = nullptr;

    bool undoEnabled() override {
        ++undoQueries;
        return recordsUndo;
    }
    bool undoInProgress() override { return isReplaying; }
    void beginEdit() override {
        m_journal.add("begin");
        if (thenAtBegin) thenAtBegin();
    }
    void recordEdit(String doText, String undoText) override {
        m_journal.add("record(" + std::string(doText.buf()) + "|" + undoText.buf() + ")");
    }
    void beginEditGroup() override { m_journal.add("group"); }
    void endEditGroup() override { m_journal.add("ungroup"); }

    void setDirty(bool dirty) override { m_journal.add(dirty ? "scene-dirty" : "scene-clean"); }
    [[nodiscard]] bool isDirtyStateCached() const override {
        m_journal.add("cached?");
        return cachesDirty;
    }

    INode* cloneNode(INode* node, bool deep) override {
        m_journal.add(deep ? "clone-deep" : "clone");
        return node;
    }
    INode* convertNode(INode* node, String type) override {
        m_journal.add(std::string("convert=") + type.buf());
        return node;
    }

    void notifyInputAdded(const IInput* input) override { note("+", input->name()); }
    void notifyOutputAdded(const IOutput* output) override { note("+>", output->name()); }
    void notifyInputRemoved(const IInput* input) override { note("-", input->name()); }
    void notifyOutputRemoved(const IOutput* output) override { note("->", output->name()); }
    void notifyInputChanged(const IInput* input, const AttrData* previous) override {
        lastRecord = previous;
        note("scene:changed=", input->name());
    }
    void notifyInputConnected(const IInput* input, const IOutput* before,
                              const IOutput* after) override {
        lastBefore = before;
        lastAfter = after;
        note("scene:connected=", input->name());
    }

    int undoQueries = 0;

private:
    void note(const char* what, const String& name) {
        m_journal.add(std::string(what) + name.buf());
        if (then) then();
    }

    Journal& m_journal;
};

} // namespace qv::tests
