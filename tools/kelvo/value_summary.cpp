#include "tools/kelvo/value_summary.h"

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/input.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/quoted_text.h"

#include <algorithm>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::quotedText;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::interfaces::BufferView;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

constexpr u64 mostBytes = 60;
constexpr u64 mostElements = 4;
constexpr u64 mostItems = 8;

void appendCount(u64 count, const char* what, StringIO& out) {
    out.appendUInt(count).append(' ').append(what).append(count == 1 ? "" : "s");
}

// Cuts between characters: bytes of the form 10xxxxxx continue a character.
std::string_view cut(std::string_view text) {
    u64 length = mostBytes;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xc0u) == 0x80u)
        --length;
    return text.substr(0, length);
}

void appendShortText(const String& text, StringIO& out) {
    const bool isWhole = text.size() <= mostBytes;
    out.append(quotedText(isWhole ? text.view() : cut(text.view())).view());
    if (isWhole) return;
    out.append("... ");
    appendCount(text.size(), "byte", out);
}

void appendShortBuffer(const BufferView& view, StringIO& out) {
    const Input start = Input::create(AttrType::Buffer);
    // It declares no element type, so that it takes all.
    (void)start.set(BufferView{view.type, view.data, std::min(view.count, mostElements)});
    out.append(start.asString().view());
    if (view.count <= mostElements) return;
    out.truncate(out.size() - 1);
    out.append(" ...] ");
    appendCount(view.count, "element", out);
}

void appendPlain(const IInput& input, StringIO& out) {
    String text;
    BufferView view;
    INode* node = nullptr;
    switch (input.type()) {
    case AttrType::Node:
        if (input.readNode(node, false, nullptr) && node)
            out.append(node->name().view());
        else
            out.append("null");
        return;
    case AttrType::Buffer:
        if (!input.readBuffer(view, false, nullptr)) break;
        return appendShortBuffer(view, out);
    case AttrType::String:
        if (input.readString(text, false, nullptr)) appendShortText(text, out);
        return;
    default:
        break;
    }
    if (input.readString(text, false, nullptr)) out.append(text.view());
}

void appendPlain(const SnapshotInput& input, StringIO& out) {
    if (input.type() == AttrType::Buffer) return appendShortBuffer(input.bufferView(), out);
    if (input.type() == AttrType::Node && !input.linked())
        out.append("null");
    else if (input.type() == AttrType::String)
        appendShortText(String(input.text()), out);
    else
        out.append(input.get<String>().view());
}

const IInput& partOf(const IInput& input, u64 index) {
    return *input.input(index);
}

SnapshotInput partOf(const SnapshotInput& input, u64 index) {
    return input.input(index);
}

template<typename AnyInput>
void appendShort(const AnyInput& input, bool isInside, StringIO& out) {
    const u64 count = input.inputCount();
    if (input.type() == AttrType::Object) {
        out.append('{');
        appendCount(count, "member", out);
        out.append('}');
    } else if (input.type() != AttrType::Array) {
        appendPlain(input, out);
    } else if (isInside) {
        out.append('[');
        appendCount(count, "element", out);
        out.append(']');
    } else {
        for (u64 i = 0; i < std::min(count, mostItems); ++i)
            appendShort(partOf(input, i), true, out.append(i == 0 ? "[" : ", "));
        if (count > mostItems)
            appendCount(count, "element", out.append(", ...] "));
        else
            out.append(count == 0 ? "[]" : "]");
    }
}

template<typename AnyInput>
String shortText(const AnyInput& input) {
    StringIO out;
    appendShort(input, false, out);
    return out.take();
}

} // namespace

String shortValue(const IInput& input) {
    return shortText(input);
}

String shortValue(const SnapshotInput& input) {
    return shortText(input);
}

} // namespace qv::kelvo_tool
