#include "tests/laws/lives_model.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace qv::tests {

namespace {

template<typename List>
auto* named(List& list, const std::string& name) {
    const auto found = std::ranges::find(list, name, [](const auto& each) { return each.name; });
    return found != list.end() ? &*found : nullptr;
}

} // namespace

LivesModel::Input* LivesModel::input(int node, const std::string& name) {
    return has(node) ? named(m_nodes.at(node).inputs, name) : nullptr;
}

LivesModel::Output* LivesModel::output(const Source& source) {
    return has(source.node) ? named(m_nodes.at(source.node).outputs, source.output) : nullptr;
}

int LivesModel::find(const std::string& name) const {
    for (const auto& [number, each] : m_nodes)
        if (each.name == name) return number;
    return -1;
}

bool LivesModel::closesLoop(int reader, int source) const {
    std::set<int> met = {source};
    std::vector<int> open = {source};
    while (!open.empty()) {
        const int next = open.back();
        open.pop_back();
        if (next == reader) return true;
        if (!has(next)) continue;
        for (const Input& each : node(next).inputs)
            if (each.source.node >= 0 && met.insert(each.source.node).second)
                open.push_back(each.source.node);
    }
    return false;
}

void LivesModel::add(int number, Node node) {
    m_order.push_back(number);
    m_nodes[number] = std::move(node);
}

void LivesModel::remove(int number) {
    for (Input& each : node(number).inputs)
        disconnect(number, each);
    forget(number);
    std::erase(m_order, number);
    m_nodes.erase(number);
}

void LivesModel::move(int number, std::size_t place) {
    std::erase(m_order, number);
    m_order.insert(m_order.begin() + static_cast<std::ptrdiff_t>(place), number);
}

void LivesModel::replace(int number, int by, const std::string& type) {
    std::ranges::replace(m_order, number, by);
    Node taken = std::move(m_nodes.at(number));
    m_nodes.erase(number);
    taken.type = type;
    m_nodes[by] = std::move(taken);
    for (auto& [at, each] : m_nodes) {
        for (Input& in : each.inputs) {
            std::ranges::replace(in.links, number, by);
            if (in.source.node == number) in.source.node = by;
        }
        for (Output& out : each.outputs)
            for (auto& reader : out.readers)
                if (reader.first == number) reader.first = by;
    }
}

void LivesModel::removeInput(int number, const std::string& name) {
    disconnect(number, *input(number, name));
    std::erase_if(node(number).inputs, [&](const Input& each) { return each.name == name; });
}

void LivesModel::removeOutput(int number, const std::string& name) {
    const Readers readers = output({number, name})->readers;
    for (const auto& [reader, in] : readers)
        input(reader, in)->source = {};
    std::erase_if(node(number).outputs, [&](const Output& each) { return each.name == name; });
}

void LivesModel::connect(int number, Input& in, const Source& source) {
    if (in.source == source) return;
    disconnect(number, in);
    in.source = source;
    if (Output* out = output(source)) out->readers.emplace_back(number, in.name);
}

void LivesModel::disconnect(int number, Input& in) {
    if (Output* out = output(in.source)) std::erase(out->readers, std::pair(number, in.name));
    in.source = {};
}

void LivesModel::forget(int number) {
    for (auto& [at, each] : m_nodes)
        for (Input& in : each.inputs) {
            std::ranges::replace(in.links, number, -1);
            if (in.source.node == number) in.source = {};
        }
}

std::string LivesModel::text(const std::map<int, std::string>& freeNames) const {
    const auto nameOf = [&](int number) {
        if (has(number)) return node(number).name;
        return freeNames.contains(number) ? freeNames.at(number) : std::string("-");
    };
    std::string out;
    for (const int number : m_order) {
        const Node& each = node(number);
        out += each.type + " " + each.name + "\n";
        for (const Input& in : each.inputs) {
            out += "  " + in.name;
            if (in.kind == Kind::Real) out += " " + std::to_string(in.value);
            for (const int link : in.links)
                out += " " + nameOf(link);
            if (in.source.node >= 0)
                out += " <- " + nameOf(in.source.node) + "." + in.source.output;
            out += "\n";
        }
        for (const Output& output : each.outputs) {
            out += "  out " + output.name;
            for (const auto& [reader, in] : output.readers)
                out += " " + nameOf(reader) + "." + in;
            out += "\n";
        }
    }
    return out;
}

} // namespace qv::tests
