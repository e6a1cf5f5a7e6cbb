#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/scene.h"

#include <string>

namespace qv::tests {

/// Writes everything that a user can see of a node, including the parts that a library shares.
class NodeDump {
public:
    static std::string of(const kelvo_sdk::interfaces::INode& node) {
        NodeDump dump;
        dump.m_out.append(node.type().view()).append(" '").append(node.name().view()).append("'");
        const StringVector bases = node.bases();
        for (u64 i = 0; i < bases.size(); ++i)
            dump.m_out.append(" : ").append(bases[i].view());
        dump.m_out.append(node.isAbstract() ? " abstract" : "");
        dump.m_out.append(node.isInternal() ? " internal\n" : "\n");
        for (u64 i = 0; i < node.inputCount(); ++i)
            dump.add(static_cast<const kelvo_sdk::impl::Input&>(*node.input(i)), 1);
        for (u64 i = 0; i < node.outputCount(); ++i)
            dump.add(static_cast<const kelvo_sdk::impl::Output&>(*node.output(i)));
        return std::string(dump.m_out.view());
    }

    static std::string of(const kelvo_sdk::Scene& scene) {
        std::string text;
        for (u64 i = 0; i < scene.nodeCount(); ++i)
            text += of(*scene.node(i).get());
        return text;
    }

private:
    using Value = kelvo_sdk::impl::Value;

    void add(const kelvo_sdk::impl::Output& output) {
        m_out.append("  output ").append(kelvo_sdk::attrTypeName(output.type()));
        m_out.append('/').append(dataTypeName(output.dataType()));
        m_out.append(' ').append(output.ownName().view()).append('\n');
    }

    void add(const kelvo_sdk::impl::Input& input, u32 depth) {
        m_out.appendRepeated(' ', u64{2} * depth).append(kelvo_sdk::attrTypeName(input.type()));
        m_out.append('<').append(kelvo_sdk::attrTypeName(input.elementType())).append('>');
        m_out.append(dataTypeName(input.declaredType())).append(' ');
        m_out.append(input.name().view());
        add(" = ", input.value());
        if (const Value* stashed = input.stashed()) add(" stashed ", *stashed);
        if (const auto* source = static_cast<const kelvo_sdk::impl::Output*>(input.source()))
            m_out.append(" <- ").append(source->path().view());
        m_out.append(input.isSilent() ? " silent" : "");
        m_out.append(input.isReadOnly() ? " readonly" : "");
        if (input.details()) add(*input.details());
        m_out.append('\n');
        for (const auto* member : input.members())
            add(static_cast<const kelvo_sdk::impl::Input&>(*member), depth + 1);
    }

    void add(const kelvo_sdk::impl::AttrDetails& details) {
        add(" default ", details.defaultValue);
        add(" min ", details.minimum);
        add(" max ", details.maximum);
        for (const Value& choice : details.choices)
            add(" choice ", choice);
        if (!details.unit.isEmpty()) m_out.append(" unit ").append(details.unit.view());
        for (const auto& [language, text] : details.labels)
            m_out.append(" label ").append(language.view()).append(text.view());
        for (const auto& [language, text] : details.helps)
            m_out.append(" help ").append(language.view()).append(text.view());
    }

    void add(const char* what, const Value& value) {
        if (value.isNull()) return;
        m_out.append(what);
        if (value.type() != kelvo_sdk::AttrType::Node) return writeValue(value, m_out);
        const auto* node = value.asNode();
        m_out.append(node ? node->name().view() : "null");
    }

    StringIO m_out;
};

} // namespace qv::tests
