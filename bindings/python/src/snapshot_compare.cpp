#include "bindings/python/src/snapshot_views.h"

#include "bindings/python/src/errors.h"

#include "kelvo/sdk/snapshot_delta.h"
#include "kelvo/sdk/snapshot_why.h"

#include <iterator>
#include <vector>

// Deltas of snapshots, and the reasons why a node differs.
namespace qv::python {

namespace {

struct InputChangeView {
    py::object before;
    py::object after;
    py::list parts;
};

struct NodeChangeView {
    py::object before;
    py::object after;
    bool isRenamed;
    bool isTypeChanged;
    py::list inputs;
};

struct ChainView : NodeChangeView {
    py::list nodes;
};

struct DeltaView {
    Snapshot from;
    Snapshot to;
    SnapshotDelta delta;
};

py::list partsOf(const InputChange& change) {
    constexpr const char* names[] = {"value", "link", "connection", "elements", "order",
                                     "name",  "kind", "marks",      "added",    "removed"};
    py::list parts;
    for (u32 bit = 0; bit < std::size(names); ++bit)
        if ((change.parts & (1u << bit)) != 0) parts.append(names[bit]);
    return parts;
}

template<class Change>
NodeChangeView changeOf(const Snapshot& from, const Snapshot& to, const Change& change) {
    py::list inputs;
    for (const InputChange& input : change.inputs)
        inputs.append(
            InputChangeView{viewOf(from, input.before), viewOf(to, input.after), partsOf(input)});
    return {viewOf(from, change.before), viewOf(to, change.after), change.isRenamed,
            change.isTypeChanged, inputs};
}

py::list changedNodes(const DeltaView& view) {
    py::list all;
    for (const NodeChange& change : view.delta.changed())
        all.append(changeOf(view.from, view.to, change));
    return all;
}

// Returns the snapshot that has the node, for a chain whose end only the earlier one may have.
const Snapshot& ownerOf(const Snapshot& from, const Snapshot& to, const SnapshotNode& node) {
    return to.nodeWithNumber(node.number()) == node ? to : from;
}

py::tuple whyNode(const Snapshot& from, const Snapshot& to, const NodeView& node, u64 atMost) {
    if (node.snapshot != from && node.snapshot != to)
        raise(ErrorKind::Value,
              String("Node '") + node.node.name() + "' belongs to neither of the two snapshots.");
    const SnapshotWhy found = [&] {
        const py::gil_scoped_release unlocked;
        return why(from, to, node.node, atMost);
    }();
    py::list chains;
    for (const WhyChain& chain : found.chains()) {
        py::list nodes;
        for (const SnapshotNode& step : chain.nodes)
            nodes.append(viewOf(ownerOf(from, to, step), step));
        chains.append(ChainView{changeOf(from, to, chain), nodes});
    }
    return py::make_tuple(chains, found.isComplete());
}

template<class View>
void addParts(py::class_<View>& changes) {
    changes.def_readonly("before", &View::before)
        .def_readonly("after", &View::after)
        .def_readonly("is_renamed", &View::isRenamed)
        .def_readonly("is_type_changed", &View::isTypeChanged,
                      "Whether type, bases or outputs differ.")
        .def_readonly("inputs", &View::inputs, "The inputs that differ, at any depth.");
}

void addChanges(py::module_& module) {
    py::class_<InputChangeView>(module, "InputChange", "An input that differs between snapshots.")
        .def_readonly("before", &InputChangeView::before, "None for an input that was added.")
        .def_readonly("after", &InputChangeView::after, "None for an input that was removed.")
        .def_readonly("parts", &InputChangeView::parts,
                      "\"value\", \"link\", \"connection\", \"elements\", \"order\", \"name\", "
                      "\"kind\", \"marks\", \"added\" or \"removed\".");
    py::class_<NodeChangeView> changes(module, "NodeChange",
                                       "A node that differs between two snapshots.");
    addParts(changes);
    py::class_<ChainView> chains(module, "WhyChain",
                                 "A node that differs, and how the node that was asked about "
                                 "depends on it.");
    addParts(chains);
    chains.def_readonly("nodes", &ChainView::nodes,
                        "From the node that was asked about to the one that differs; each depends "
                        "on the next.");
}

} // namespace

void addSnapshotCompare(py::module_& module) {
    addChanges(module);
    py::class_<DeltaView>(module, "SnapshotDelta", "Everything that differs between two snapshots.")
        .def_property_readonly("added",
                               [](const DeltaView& v) { return viewsOf(v.to, v.delta.added()); })
        .def_property_readonly(
            "removed", [](const DeltaView& v) { return viewsOf(v.from, v.delta.removed()); })
        .def_property_readonly("changed", &changedNodes, "The nodes that both snapshots have.")
        .def_property_readonly("is_order_changed",
                               [](const DeltaView& v) { return v.delta.isOrderChanged(); })
        .def("__bool__", [](const DeltaView& v) { return !v.delta.isEmpty(); });
    module.def(
        "delta",
        [](const Snapshot& from, const Snapshot& to) {
            return DeltaView{from, to, delta(from, to)};
        },
        py::arg("before"), py::arg("after"), py::call_guard<py::gil_scoped_release>(),
        "Returns what differs between two snapshots.");
    module.def("_why", &whyNode);
}

} // namespace qv::python
