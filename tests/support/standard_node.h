#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/input.h"

#include <ostream>
#include <string>
#include <string_view>

namespace qv::tests {

/// A node of the standard library outside a scene.
class StandardNode {
public:
    explicit StandardNode(const char* type) {
        const auto* prototype = kelvo_sdk::impl::standardLibrary().findType(type);
        if (prototype) m_node = m_node.adopt(prototype->clone(nullptr, "node"));
    }

    [[nodiscard]] kelvo_sdk::impl::Node* get() const { return m_node.get(); }

    /// Sets inputs from "a = 1; b = (0 0 1)", regardless of bounds; false when one cannot be set.
    bool set(std::string_view settings) const {
        while (!settings.empty()) {
            const auto end = settings.find(';');
            if (!setOne(settings.substr(0, end))) return false;
            settings.remove_prefix(end == std::string_view::npos ? settings.size() : end + 1);
        }
        return true;
    }

    /// Returns the text of an output's value, "no answer" when its evaluation fails.
    [[nodiscard]] std::string answer(const char* output = "result") const {
        kelvo_sdk::impl::Node reader(nullptr, "reader", "reader");
        auto* source = m_node ? m_node->output(output) : nullptr;
        if (!source) return "no output";
        kelvo_sdk::Input input(reader.createInput("in", source->type()));
        String text;
        const bool done = input->connect(source) && input->readString(text, true, nullptr);
        return done ? std::string(text.view()) : "no answer";
    }

private:
    static std::string_view trimmed(std::string_view text) {
        const auto begin = text.find_first_not_of(' ');
        if (begin == std::string_view::npos) return {};
        return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
    }

    bool setOne(std::string_view setting) const {
        const auto equals = setting.find('=');
        if (!m_node || equals == std::string_view::npos) return false;
        const String name(trimmed(setting.substr(0, equals)));
        if (!m_node->hasInput(name, kelvo_sdk::AttrType::Null)) return false;
        auto* input = m_node->input(name);
        static_cast<kelvo_sdk::impl::Input*>(input)->setDetails({});
        return input->setString(String(trimmed(setting.substr(equals + 1))));
    }

    RefersTo<kelvo_sdk::impl::Node> m_node;
};

/// One row of a table: a type, the inputs to set, the expected value of an output.
struct Evaluation {
    const char* type;
    const char* settings;
    const char* expected;
    const char* note;
    const char* output = "result";

    [[nodiscard]] std::string answer() const {
        const StandardNode node(type);
        return node.set(settings) ? node.answer(output) : "not set";
    }
    friend std::ostream& operator<<(std::ostream& out, const Evaluation& row) {
        return out << row.type << " {" << row.settings << "}." << row.output << ": " << row.note;
    }
};

} // namespace qv::tests
