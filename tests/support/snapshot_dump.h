#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <string>

namespace qv::tests {

/// Writes everything that a snapshot says of a node, and the same of a node of a scene.
class SnapshotDump {
public:
    static std::string of(const kelvo_sdk::SnapshotNode& node, bool isByNumber = false) {
        SnapshotDump dump;
        dump.m_isByNumber = isByNumber;
        dump.addHead(node.name(), node.type(), node.bases());
        for (u64 i = 0; i < node.inputCount(); ++i)
            dump.add(node.input(i));
        for (u64 i = 0; i < node.outputCount(); ++i)
            dump.addOutput(node.output(i).name(), node.output(i).type(), node.output(i).dataType());
        return std::string(dump.m_out.view());
    }
    static std::string of(const kelvo_sdk::Node& node) {
        SnapshotDump dump;
        dump.m_scene = node->scene();
        dump.addHead(node.name(), node.type(), node.bases());
        for (const kelvo_sdk::Input& input : node.inputs())
            dump.add(input);
        for (const kelvo_sdk::Output& output : node.outputs())
            dump.addOutput(output.name(), output.type(), output.dataType());
        return std::string(dump.m_out.view());
    }
    /// With `isByNumber`, names other nodes by their numbers.
    static std::string of(const kelvo_sdk::Snapshot& snapshot, bool isByNumber = false) {
        std::string text;
        for (const kelvo_sdk::SnapshotNode& node : snapshot.nodes())
            text += of(node, isByNumber);
        return text;
    }
    static std::string of(const kelvo_sdk::Scene& scene) {
        std::string text;
        for (const kelvo_sdk::Node& node : scene.nodes())
            text += of(node);
        return text;
    }

private:
    void addHead(const String& name, const String& type, const StringVector& bases) {
        m_out.append(type.view()).append(" '").append(name.view()).append("'");
        for (u64 i = 0; i < bases.size(); ++i)
            m_out.append(" : ").append(bases[i].view());
        m_out.append('\n');
    }
    void addOutput(const String& name, kelvo_sdk::AttrType type, DataType elements) {
        m_out.append("  output ").append(kelvo_sdk::attrTypeName(type));
        m_out.append('/').append(dataTypeName(elements)).append(' ').append(name.view());
        m_out.append('\n');
    }
    template<typename Input>
    void addKind(const Input& input, const String& path) {
        m_out.append("  ").append(kelvo_sdk::attrTypeName(input.type())).append('<');
        m_out.append(kelvo_sdk::attrTypeName(input.elementType())).append('>');
        m_out.append(' ').append(path.view());
        m_out.append(input.isSilent() ? " silent" : "");
        m_out.append(input.isReadOnly() ? " readonly" : "");
    }

    void addReference(const char* sign, const kelvo_sdk::SnapshotNode& node) {
        m_out.append(sign);
        if (m_isByNumber)
            m_out.appendUInt(node.number());
        else
            m_out.append(node.name().view());
    }

    void add(const kelvo_sdk::SnapshotInput& input) {
        addKind(input, input.path());
        if (const auto linked = input.linked()) addReference(" = ", linked);
        if (input.type() == kelvo_sdk::AttrType::Buffer)
            m_out.append(dataTypeName(input.bufferView().type))
                .append('*')
                .appendUInt(input.bufferView().count);
        else if (String text; input.type() != kelvo_sdk::AttrType::Node && input.read(text))
            m_out.append(" = ").append(text.view());
        if (const auto source = input.source()) {
            addReference(" <- ", source.node());
            m_out.append('.').append(source.name().view());
        }
        m_out.append('\n');
        for (u64 i = 0; i < input.inputCount(); ++i)
            add(input.input(i));
    }

    void addValue(const kelvo_sdk::impl::Value& value) {
        const auto shown = kelvo_sdk::impl::Input::showing(value);
        m_out.append(" = ").append(kelvo_sdk::Input(shown.get()).asString(false).view());
    }

    void add(const kelvo_sdk::Input& handle) {
        using kelvo_sdk::AttrType;
        const auto& input = static_cast<const kelvo_sdk::impl::Input&>(*handle.get());
        const String path = handle.path();
        const auto name = path.view().find('.');
        addKind(handle, String(path.view().substr(name + 1)));
        const kelvo_sdk::impl::Value& value = input.ownValue();
        const kelvo_sdk::interfaces::INode* linked =
            value.type() == AttrType::Node ? value.asNode() : nullptr;
        if (linked && linked->scene() == m_scene) m_out.append(" = ").append(linked->name().view());
        if (value.type() == AttrType::Buffer)
            m_out.append(dataTypeName(value.asBuffer().type()))
                .append('*')
                .appendUInt(value.asBuffer().count());
        else if (value.type() != AttrType::Node && value.type() != AttrType::Null)
            addValue(value);
        const auto* source = input.sourceOutput();
        if (source && source->node() && source->node()->scene() == m_scene)
            m_out.append(" <- ")
                .append(source->node()->name().view())
                .append('.')
                .append(source->ownName().view());
        m_out.append('\n');
        for (const kelvo_sdk::Input& part : handle.inputs())
            add(part);
    }

    StringIO m_out;
    const kelvo_sdk::interfaces::IScene* m_scene = nullptr;
    bool m_isByNumber = false;
};

} // namespace qv::tests
