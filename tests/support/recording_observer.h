#pragma once

#include "kelvo/sdk/node.h"
#include "tests/support/journal.h"

#include <functional>
#include <string>
#include <utility>

namespace qv::tests {

/// Records each notification as "name:what", then calls a function of the test during it.
class RecordingObserver : public kelvo_sdk::NodeObserver {
public:
    explicit RecordingObserver(std::string name, Journal& journal)
        : m_name(std::move(name)), m_journal(journal) {}

    void nodeRemoved() override { note("removed"); }
    void nodeRenamed(String name) override { note(std::string("renamed=") + name.buf()); }
    void nodeConverted(kelvo_sdk::Node replacement) override {
        note(std::string("converted=") + (replacement ? replacement.name().buf() : "none"));
    }
    void inputChanged(kelvo_sdk::Input input) override {
        note(std::string("changed=") + input.name().buf());
    }
    void inputConnected(kelvo_sdk::Input input) override {
        note(std::string("connected=") + input.name().buf());
    }

    std::function<void()> then;

private:
    void note(const std::string& what) {
        m_journal.add(m_name + ":" + what);
        if (then) then();
    }

    std::string m_name;
    Journal& m_journal;
};

} // namespace qv::tests
