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

// Not recursive, because inputs may be nested so deep that recursion would overflow the stack.
class ValueWriter {
public:
    explicit ValueWriter(const StandIn& standIn) : m_standIn(standIn) {}

    String write(const Input& input) {
        begin(input, 0);
        while (!m_open.empty())
            goOn();
        return m_out.take();
    }

private:
    struct Level {
        Input input;
        u64 depth;
        u64 next = 0;
    };

    void begin(const Input& input, u64 depth) {
        const bool isArray = input.type() == AttrType::Array;
        if (!isArray && input.type() != AttrType::Object) return writePlain(input);
        m_out.append(isArray ? "[" : "{\n");
        m_open.push_back({input, depth});
    }

    void writePlain(const Input& input) {
        const Input other = m_standIn ? m_standIn(input) : Input();
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
        const Input member = level.input.input(level.next++);
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

    const StandIn& m_standIn;
    StringIO m_out;
    std::vector<Level> m_open;
};

} // namespace

String valueText(const Input& input, const StandIn& standIn) {
    if (!input) return {};
    if (input.type() != AttrType::String) return ValueWriter(standIn).write(input);
    const Input other = standIn ? standIn(input) : Input();
    return (other ? other : input).asString(false);
}

} // namespace qv::kelvo_sdk
