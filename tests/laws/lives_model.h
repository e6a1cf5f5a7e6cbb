#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qv::tests {

/// A model of a scene in plain containers: nodes by number, in order, with their contents. Negative
/// numbers stand for no node.
class LivesModel {
public:
    struct Source {
        int node = -1;
        std::string output;
        friend bool operator==(const Source&, const Source&) = default;
    };
    enum class Kind { Real, Link, List };
    struct Input {
        std::string name;
        Kind kind = Kind::Real;
        double value = 0;
        /// A link has one entry, a list one for each element.
        std::vector<int> links = {};
        Source source = {};
        friend bool operator==(const Input&, const Input&) = default;
    };
    /// The inputs that read an output, in order of connection: node and name.
    using Readers = std::vector<std::pair<int, std::string>>;
    struct Output {
        std::string name;
        Readers readers = {};
        friend bool operator==(const Output&, const Output&) = default;
    };
    struct Node {
        std::string name;
        std::string type;
        std::vector<Input> inputs = {};
        std::vector<Output> outputs = {};
        friend bool operator==(const Node&, const Node&) = default;
    };

    [[nodiscard]] const std::vector<int>& order() const { return m_order; }
    [[nodiscard]] bool has(int node) const { return m_nodes.contains(node); }
    [[nodiscard]] Node& node(int number) { return m_nodes.at(number); }
    [[nodiscard]] const Node& node(int number) const { return m_nodes.at(number); }
    /// Returns null if the node has no such input.
    [[nodiscard]] Input* input(int node, const std::string& name);
    [[nodiscard]] Output* output(const Source& source);
    [[nodiscard]] int find(const std::string& name) const;
    /// Tells whether a connection would make a node read itself.
    [[nodiscard]] bool closesLoop(int reader, int source) const;

    void add(int number, Node node);
    void remove(int number);
    void move(int number, std::size_t place);
    /// Puts another node in the place of one, and redirects all references to it.
    void replace(int number, int by, const std::string& type);
    void removeInput(int node, const std::string& name);
    void removeOutput(int node, const std::string& name);
    void connect(int node, Input& input, const Source& source);
    void disconnect(int node, Input& input);
    /// Ends all links and connections to a node.
    void forget(int number);
    void clear() { m_order.clear(), m_nodes.clear(); }

    /// Returns one line for each part of the scene; `freeNames` has the names of free nodes.
    [[nodiscard]] std::string text(const std::map<int, std::string>& freeNames) const;

    friend bool operator==(const LivesModel&, const LivesModel&) = default;

private:
    std::vector<int> m_order;
    std::map<int, Node> m_nodes;
};

} // namespace qv::tests
