#include "kelvo/sdk/value_text.h"

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/quoted_text.h"

#include <vector>

namespace qv::kelvo_sdk {

namespace {

String plainText(const Input& input) {
    if (input.type() == AttrType::String) return quotedText(input.asString(false).view());
    if (input.type() != AttrType::Node) return input.asString(false);
    const Node node = input.asNode(false);
    return node ? node.name() : String("null");
}

String plainText(const SnapshotInput& input) {
    if (input.type() == AttrType::String) return quotedText(input.text());
    if (input.type() == AttrType::Node)
        return input.linked() ? input.linked().name() : String("null");
    if (input.type() != AttrType::Buffer) return input.get<String>();
    const Input buffer = Input::create(AttrType::Buffer);
    (void)buffer.set(input.bufferView()); // It declares no element type, so that it takes all.
    return buffer.asString();
}

// Not recursive, because inputs may be nested so deep that recursion would overflow the stack.
template<typename Handle>
class ValueWriter {
public:
    using Replace = std::function<Handle(const Handle& input)>;

    explicit ValueWriter(const Replace& standIn) : m_standIn(standIn) {}

    String write(const Handle& input) {
        begin(input, 0);
        while (!m_open.empty())
            goOn();
        return m_out.take();
    }

private:
    struct Level {
        Handle input;
        u64 depth;
        u64 next = 0;
    };

    void begin(const Handle& input, u64 depth) {
        const bool isArray = input.type() == AttrType::Array;
        if (!isArray && input.type() != AttrType::Object) return writePlain(input);
        m_out.append(isArray ? "[" : "{\n");
        m_open.push_back({input, depth});
    }

    void writePlain(const Handle& input) {
        const Handle other = m_standIn ? m_standIn(input) : Handle();
        m_out.append(plainText(other ? other : input).view());
        endMember();
    }

    // Members of objects are on lines of their own.
    void endMember() {
        if (!m_open.empty() && m_open.back().input.type() == AttrType::Object) m_out.append('\n');
    }

    void goOn() {
        Level& level = m_open.back();
        const u64 depth = level.depth;
        const bool isArray = level.input.type() == AttrType::Array;
        if (level.next == level.input.inputCount()) return end(isArray, depth);
        const bool isFirst = level.next == 0;
        const Handle member = level.input.input(level.next++);
        if (isArray) {
            if (!isFirst) m_out.append(", ");
            return begin(member, depth);
        }
        m_out.appendRepeated(' ', 4 * (depth + 1));
        m_out.append(member.typeName().view()).append(' ').append(member.name().view());
        m_out.append(member.type() == AttrType::Object ? " " : " = ");
        begin(member, depth + 1);
    }

    void end(bool isArray, u64 depth) {
        if (isArray)
            m_out.append(']');
        else
            m_out.appendRepeated(' ', 4 * depth).append('}');
        m_open.pop_back();
        endMember();
    }

    const Replace& m_standIn;
    StringIO m_out;
    std::vector<Level> m_open;
};

} // namespace

String valueText(const Input& input, const StandIn& standIn) {
    if (!input) return {};
    if (input.type() != AttrType::String) return ValueWriter<Input>(standIn).write(input);
    const Input other = standIn ? standIn(input) : Input();
    return (other ? other : input).asString(false);
}

String valueText(const SnapshotInput& input) {
    if (input.type() == AttrType::String) return String(input.text());
    return input ? ValueWriter<SnapshotInput>({}).write(input) : String();
}

} // namespace qv::kelvo_sdk
