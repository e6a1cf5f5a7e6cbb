#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace qv::tests {

/// A scene text with every kind of part, which can be edited at random repeatedly. References
/// follow a renamed node and are removed with a removed one.
class RandomScene {
public:
    explicit RandomScene(unsigned seed) : m_random(seed) {
        const int count = below(8);
        for (int i = 0; i < count; ++i)
            addNode();
    }

    /// Continues with another seed, so that copies differ in their edits.
    void seed(unsigned seed) { m_random.seed(seed); }

    void edit() {
        switch (m_nodes.empty() ? 0 : below(12)) {
        case 0:
            return addNode();
        case 1:
            m_nodes.erase(m_nodes.begin() + below(count(m_nodes)));
            return;
        case 2:
            anyNode().name = "n" + std::to_string(m_nextName++);
            return;
        case 3:
            return shuffleOne(m_nodes);
        case 4:
            anyNode().type = oneOf({"light", "mesh", "xform : object", "wood : a, b"});
            return;
        case 5:
            anyNode().flags = oneOf({"", " @abstract", " @internal", " @abstract @internal"});
            return;
        case 7:
            m_head = oneOf({"", "# of all\n", "# a\n# b\n"});
            return;
        case 6:
            return editOutputs(anyNode().outputs);
        default:
            break;
        }
        // Sources are earlier nodes alone, so that no loop closes.
        NodeModel& node = anyNode();
        m_current = node.number;
        editLines(node.lines, 0);
    }

    [[nodiscard]] std::string text() const {
        std::string out = m_head + "kelvo scene 1\n";
        for (const NodeModel& node : m_nodes) {
            out += node.leading + "node " + node.type.substr(0, node.type.find(" :"));
            if (const auto bases = node.type.find(" :"); bases != std::string::npos)
                out += node.type.substr(bases);
            out += " \"" + node.name + "\"" + node.flags + " {\n";
            for (const Line& line : node.lines)
                write(line, "    ", out);
            for (const std::string& output : node.outputs)
                out += "    output " + output + "\n";
            out += "}\n";
        }
        return out;
    }

private:
    struct Line {
        std::string name;
        std::string kind;
        std::string value;
        std::vector<std::string> elements = {};
        std::vector<Line> members = {};
        std::string notes = {};
        // The number of the source node, -1 for none.
        int source = -1;
        std::string leading = {};
        std::string trailing = {};
    };
    struct NodeModel {
        int number;
        std::string name;
        std::string type = "light";
        std::string flags = {};
        std::string leading = {};
        std::vector<Line> lines = {};
        std::vector<std::string> outputs = {"Real out"};
    };

    int below(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }
    template<typename List>
    static int count(const List& list) {
        return static_cast<int>(list.size());
    }
    std::string oneOf(std::initializer_list<const char*> texts) {
        return texts.begin()[below(static_cast<int>(texts.size()))];
    }
    NodeModel& anyNode() { return m_nodes[static_cast<std::size_t>(below(count(m_nodes)))]; }

    template<typename List>
    void shuffleOne(List& list) {
        const int from = below(count(list));
        auto item = std::move(list[static_cast<std::size_t>(from)]);
        list.erase(list.begin() + from);
        list.insert(list.begin() + below(count(list) + 1), std::move(item));
    }

    void addNode() {
        NodeModel node{.number = m_nextNumber++, .name = "n" + std::to_string(m_nextName++)};
        node.leading = oneOf({"", "", "\n", "\n# a node\n", "# of two\n# lines\n"});
        const int lines = below(6);
        m_current = node.number;
        for (int i = 0; i < lines; ++i)
            addLine(node.lines, 0);
        m_nodes.insert(m_nodes.begin() + below(count(m_nodes) + 1), std::move(node));
    }

    // Stores a reference by its node's number: "$3$".
    std::string link() {
        return m_nextNumber == 0 || below(4) == 0 ? "null"
                                                  : "$" + std::to_string(below(m_nextNumber)) + "$";
    }
    std::string number() { return std::to_string(below(6)); }

    std::string valueOf(const std::string& kind) {
        if (kind == "Node") return link();
        if (kind == "Vec3") return "(" + number() + " 0 0.5)";
        if (kind == "String") return oneOf({"\"\"", "\"a, b]\"", "\"q \\\" # {\"", "\"\\n\""});
        if (kind == "Buffer<Vec2f>") return oneOf({"[]", "[(1 2)]", "[(1 2) (3 4)]"});
        if (kind == "Bool") return oneOf({"true", "false"});
        return number();
    }

    Line makeLine(std::string name, int depth) {
        Line line{.name = std::move(name),
                  .kind = oneOf({"Real", "Int", "String", "Vec3", "Node", "Bool", "Buffer<Vec2f>",
                                 "Array<Real>", "Array<Node>", "Array<Object>", "Array<String>",
                                 "Object", "Null"}),
                  .value = {}};
        if (depth > 1 && (line.kind == "Object" || line.kind == "Array<Object>"))
            line.kind = "Real";
        const int size = below(6);
        if (line.kind == "Object" || line.kind == "Array<Object>")
            for (int i = 0; i < size; ++i)
                addLine(line.members, depth + 1);
        else if (line.kind.starts_with("Array<"))
            for (int i = 0; i < size; ++i)
                line.elements.push_back(valueOf(elementKind(line)));
        else if (line.kind != "Null")
            line.value = valueOf(line.kind);
        if (line.kind == "Real") {
            line.notes = oneOf({"", "", " @min 0", " @min 0 @max 9",
                                " @unit \"m\" @label \"de\" "
                                "\"H\"",
                                " @label \"en\" \"x\" @label \"de\" \"y\"", " @readonly"});
            if (below(4) == 0) line.source = below(m_current + 1) - 1;
        }
        line.leading = oneOf({"", "", "", "# before\n", "\n"});
        line.trailing = oneOf({"", "", "", " # behind"});
        return line;
    }

    void addLine(std::vector<Line>& lines, int depth) {
        std::string name = "i" + std::to_string(below(12));
        Line line = makeLine(std::move(name), depth);
        if (hasTwin(lines, line, depth)) return;
        lines.insert(lines.begin() + below(count(lines) + 1), std::move(line));
    }

    // Two inputs of a node may share their name when their kinds differ.
    static bool hasTwin(const std::vector<Line>& lines, const Line& line, int depth) {
        const auto bare = [](const std::string& kind) { return kind.substr(0, kind.find('<')); };
        return std::ranges::any_of(lines, [&](const Line& other) {
            return other.name == line.name && (depth > 0 || bare(other.kind) == bare(line.kind));
        });
    }

    void editOutputs(std::vector<std::string>& outputs) {
        const std::string output = oneOf({"Int other", "Bool out", "Buffer<Vec2f> mesh # of it"});
        const auto found = std::ranges::find(outputs, output);
        if (found != outputs.end() && below(2) == 0)
            outputs.erase(found);
        else if (found == outputs.end())
            outputs.push_back(output);
        shuffleOne(outputs);
    }

    static std::string elementKind(const Line& line) {
        return line.kind.substr(6, line.kind.size() - 7);
    }

    void editLines(std::vector<Line>& lines, int depth) {
        if (lines.empty() || below(4) == 0) return addLine(lines, depth);
        Line& line = lines[static_cast<std::size_t>(below(count(lines)))];
        switch (below(6)) {
        case 0:
            lines.erase(lines.begin() + (&line - lines.data()));
            return;
        case 1:
            return shuffleOne(lines);
        case 2:
            return replaceLine(lines, line, depth);
        default:
            break;
        }
        if (line.kind == "Array<Object>" && !line.members.empty() && below(2) == 0)
            return shuffleOne(line.members);
        if (line.kind == "Object" || line.kind == "Array<Object>")
            return editLines(line.members, depth + 1);
        if (line.kind.starts_with("Array<")) return editElements(line);
        if (line.kind != "Null") line.value = valueOf(line.kind);
    }

    void replaceLine(std::vector<Line>& lines, Line& line, int depth) {
        Line made = makeLine(line.name, depth);
        line.name.clear();
        if (hasTwin(lines, made, depth))
            lines.erase(lines.begin() + (&line - lines.data()));
        else
            line = std::move(made);
    }

    void editElements(Line& line) {
        const std::string value = valueOf(elementKind(line));
        const int place = below(count(line.elements) + 1);
        const bool isEnd = place == count(line.elements);
        if (isEnd || below(3) == 0)
            line.elements.insert(line.elements.begin() + place, value);
        else if (below(3) == 0)
            line.elements.erase(line.elements.begin() + place);
        else if (below(2) == 0)
            shuffleOne(line.elements);
        else
            line.elements[static_cast<std::size_t>(place)] = value;
    }

    [[nodiscard]] const NodeModel* find(int number) const {
        const auto found = std::ranges::find(m_nodes, number, &NodeModel::number);
        return found != m_nodes.end() ? &*found : nullptr;
    }

    // The name of the Real output, which may stand behind another of its name.
    static std::string sourceOf(const NodeModel& node) {
        const auto real = std::ranges::find(node.outputs, "Real out");
        const bool isSecond = std::find(node.outputs.begin(), real, "Bool out") != real;
        return node.name + (isSecond ? ".out:2" : ".out");
    }

    [[nodiscard]] std::string resolved(const std::string& value) const {
        if (!value.starts_with('$')) return value;
        const NodeModel* node = find(std::stoi(value.substr(1)));
        return node ? node->name : "null";
    }

    void write(const Line& line, const std::string& indent, std::string& out) const {
        for (std::string_view rest = line.leading; !rest.empty();) {
            const auto end = rest.find('\n') + 1;
            out += indent + std::string(rest.substr(0, end));
            rest.remove_prefix(end);
        }
        out += indent + line.kind + ' ' + line.name;
        if (line.kind == "Object")
            writeBody(line.members, indent, out += ' ');
        else if (line.kind == "Array<Object>")
            writeObjects(line, indent, out);
        else if (line.kind.starts_with("Array<"))
            writeElements(line, out);
        else if (line.kind != "Null")
            out += " = " + resolved(line.value);
        if (const NodeModel* source = find(line.source)) out += " <- " + sourceOf(*source);
        out += line.notes + line.trailing + '\n';
    }

    void writeBody(const std::vector<Line>& lines, const std::string& indent,
                   std::string& out) const {
        out += "{\n";
        for (const Line& line : lines)
            write(line, indent + "    ", out);
        out += indent + "}";
    }

    // Writes one object for each member line.
    void writeObjects(const Line& line, const std::string& indent, std::string& out) const {
        out += " = [";
        for (const Line& member : line.members) {
            if (&member != line.members.data()) out += ", ";
            writeBody({member}, indent, out);
        }
        out += "]";
    }

    void writeElements(const Line& line, std::string& out) const {
        out += " = [";
        for (std::size_t i = 0; i < line.elements.size(); ++i)
            out += (i == 0 ? "" : ", ") + resolved(line.elements[i]);
        out += "]";
    }

    std::mt19937 m_random;
    std::vector<NodeModel> m_nodes;
    std::string m_head;
    int m_nextNumber = 0;
    int m_nextName = 0;
    int m_current = 0;
};

} // namespace qv::tests
