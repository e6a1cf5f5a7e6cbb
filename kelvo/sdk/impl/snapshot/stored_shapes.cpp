#include "kelvo/sdk/impl/snapshot/stored_shapes.h"

#include "kelvo/sdk/impl/snapshot/stored_values.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// The bytes that the smallest part of each sort takes.
constexpr u64 bytesOfDetails = 28;
constexpr u64 bytesOfShape = 28;
constexpr u64 bytesOfInput = 32;
constexpr u64 bytesOfOutput = 16;
// Keeps offsets of values within 32 bits.
constexpr u64 mostInputs = 1U << 24;

NodeNumber readNumber(ByteReader& in, u32 nodeCount) {
    const u32 number = in.word32();
    if (number >= nodeCount && number != noNumber) in.fail();
    return number;
}

bool namesNodes(const AttrDetails* details) noexcept {
    const auto isNode = [](const Value& value) { return value.type() == AttrType::Node; };
    return details && (isNode(details->defaultValue) || isNode(details->minimum) ||
                       isNode(details->maximum) || std::ranges::any_of(details->choices, isNode));
}

ShapeInput readInput(ByteReader& in, u32 nodeCount, const StoredDetails& details) {
    ShapeInput input;
    input.name = readText(in);
    input.type = readKind(in);
    input.elementType = readKind(in);
    input.dataType = readElementType(in);
    input.isSilent = readFlag(in);
    input.isReadOnly = readFlag(in);
    input.isOmitted = readFlag(in);
    input.details = details[in.below(details.size())];
    const AttrDetails* const described = input.details.get();
    const u64 values = described ? 3 + described->choices.size() : 0;
    const u32 count = in.count(sizeof(u32));
    if (count != values && (count != 0 || namesNodes(described))) in.fail();
    for (u32 i = 0; i < count; ++i)
        input.namedNodes.push_back(readNumber(in, nodeCount));
    return input;
}

ShapeOutput readOutput(ByteReader& in) {
    ShapeOutput output;
    output.name = readText(in);
    output.type = readKind(in);
    output.dataType = readElementType(in);
    output.isOmitted = readFlag(in);
    return output;
}

SnapshotShape readShape(ByteReader& in, u32 nodeCount, const StoredDetails& details,
                        const std::vector<const NodeRecord*>& definitions) {
    SnapshotShape shape;
    shape.type = readText(in);
    for (u32 left = in.count(sizeof(u32)); left > 0; --left)
        shape.bases.push_back(readText(in));
    shape.isAbstract = readFlag(in);
    shape.isInternal = readFlag(in);
    shape.isUniform = readFlag(in);
    const u32 inputs = in.count(bytesOfInput);
    if (inputs > mostInputs || (shape.isUniform && inputs != 1)) in.fail();
    for (u32 i = 0; i < inputs && !in.isFailed(); ++i)
        shape.inputs.push_back(readInput(in, nodeCount, details));
    for (u32 left = in.count(bytesOfOutput); left > 0; --left)
        shape.outputs.push_back(readOutput(in));
    shape.definition = definitions[in.below(definitions.size())];
    return shape;
}

bool hasPlainValue(const ShapeInput& input) noexcept {
    return input.type == AttrType::Int || input.type == AttrType::UInt ||
           input.type == AttrType::Null || Value::components(input.type) != 0;
}

void write(ByteWriter& out, const ShapeInput& input, const StoredNumbers& numbers,
           FirstUses<AttrDetails>& details) {
    out.add(input.name.view());
    out.add(static_cast<u32>(input.type));
    out.add(static_cast<u32>(input.elementType));
    out.add(static_cast<u32>(input.dataType));
    for (const bool flag : {input.isSilent, input.isReadOnly, input.isOmitted})
        out.add(u32{flag});
    out.add(details.numberOf(input.details.get()));
    out.add(static_cast<u32>(input.namedNodes.size()));
    for (const NodeNumber node : input.namedNodes)
        out.add(storedNumber(numbers, node));
}

void write(ByteWriter& out, const ShapeOutput& output) {
    out.add(output.name.view());
    out.add(static_cast<u32>(output.type));
    out.add(static_cast<u32>(output.dataType));
    out.add(u32{output.isOmitted});
}

} // namespace

// ---- Writing ---------------------------------------------------------------------------

void write(ByteWriter& out, const FirstUses<AttrDetails>& details) {
    out.add(static_cast<u32>(details.list().size()));
    for (const AttrDetails* one : details.list())
        write(out, *one);
}

void write(ByteWriter& out, const FirstUses<SnapshotShape>& shapes, const StoredNumbers& numbers,
           FirstUses<AttrDetails>& details, FirstUses<NodeRecord>& definitions) {
    out.add(static_cast<u32>(shapes.list().size()));
    for (const SnapshotShape* shape : shapes.list()) {
        out.add(shape->type.view());
        out.add(static_cast<u32>(shape->bases.size()));
        for (const String& base : shape->bases)
            out.add(base.view());
        for (const bool flag : {shape->isAbstract, shape->isInternal, shape->isUniform})
            out.add(u32{flag});
        out.add(static_cast<u32>(shape->inputs.size()));
        for (const ShapeInput& input : shape->inputs)
            write(out, input, numbers, details);
        out.add(static_cast<u32>(shape->outputs.size()));
        for (const ShapeOutput& output : shape->outputs)
            write(out, output);
        out.add(definitions.numberOf(shape->definition));
    }
}

// ---- Reading ---------------------------------------------------------------------------

StoredShapes::~StoredShapes() {
    for (const Entry& entry : m_shapes)
        entry.shape->decRef();
}

StoredDetails readAllDetails(ByteReader& in) {
    StoredDetails details(1);
    for (u32 left = in.count(bytesOfDetails); left > 0; --left)
        details.push_back(readDetails(in));
    return details;
}

void StoredShapes::read(ByteReader& in, u32 nodeCount, const StoredDetails& details,
                        const std::vector<const NodeRecord*>& definitions, ShapeTable& table) {
    const u32 count = in.count(bytesOfShape);
    m_shapes.reserve(count);
    for (u32 i = 0; i < count && !in.isFailed(); ++i) {
        SnapshotShape shape = readShape(in, nodeCount, details, definitions);
        const bool isPlain = std::ranges::all_of(shape.inputs, hasPlainValue);
        m_shapes.push_back({table.share(std::move(shape)), isPlain});
    }
}

} // namespace qv::kelvo_sdk::impl
