#include "kelvo/sdk/impl/snapshot/snapshot_shape.h"

#include "kelvo/base/hash.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr u32 emptyPlace = ~u32{0};
// With fewer inputs a look-up compares all hashes.
constexpr u64 manyInputs = 8;

bool areSameTexts(const StringVector& a, const StringVector& b) noexcept {
    if (a.size() != b.size()) return false;
    for (u64 i = 0; i < a.size(); ++i)
        if (!a[i].equals(b[i])) return false;
    return true;
}

} // namespace

bool ShapeInput::isLike(const ShapeInput& other) const noexcept {
    return type == other.type && elementType == other.elementType && isMarkedLike(other) &&
           isOmitted == other.isOmitted && name.equals(other.name);
}

bool ShapeOutput::isLike(const ShapeOutput& other) const noexcept {
    return type == other.type && dataType == other.dataType && isOmitted == other.isOmitted &&
           name.equals(other.name);
}

SnapshotShape::SnapshotShape(SnapshotShape&& other) noexcept
    : type(std::move(other.type)),
      bases(std::move(other.bases)),
      isAbstract(other.isAbstract),
      isInternal(other.isInternal),
      isUniform(other.isUniform),
      inputs(std::move(other.inputs)),
      outputs(std::move(other.outputs)),
      definition(other.definition),
      hasLinks(other.hasLinks),
      valueBytes(other.valueBytes),
      sizeOfOne(other.sizeOfOne),
      m_places(std::move(other.m_places)) {}

u32 snapshotBytes(AttrType type) noexcept {
    if (type == AttrType::Null) return 0;
    const u32 components = Value::components(type);
    return components != 0 ? components * u32{sizeof(double)} : u32{sizeof(u64)};
}

void SnapshotShape::complete() {
    valueBytes = 0;
    sizeOfOne = inputs.empty() ? 0 : snapshotBytes(inputs[0].type);
    for (ShapeInput& input : inputs) {
        input.offset = valueBytes;
        valueBytes += snapshotBytes(input.type);
        hasLinks = hasLinks || input.type == AttrType::Node;
    }
    if (isUniform || inputs.size() < manyInputs) return;
    u64 places = 16;
    while (places < 2 * inputs.size())
        places *= 2;
    m_places.assign(places, emptyPlace);
    for (u32 i = 0; i < inputs.size(); ++i) {
        u64 place = inputs[i].name.foldedHash() & (places - 1);
        while (m_places[place] != emptyPlace)
            place = (place + 1) & (places - 1);
        m_places[place] = i;
    }
}

u32 SnapshotShape::find(const NameView& name) const noexcept {
    const auto isIt = [&](u32 i) {
        const String& own = inputs[i].name;
        return own.foldedHash() == name.foldedHash() && own.equalsNoCase(name.text());
    };
    if (isUniform) return notFound;
    if (m_places.empty()) {
        for (u32 i = 0; i < inputs.size(); ++i)
            if (isIt(i)) return i;
        return notFound;
    }
    const u64 mask = m_places.size() - 1;
    for (u64 place = name.foldedHash() & mask; m_places[place] != emptyPlace;
         place = (place + 1) & mask)
        if (isIt(m_places[place])) return m_places[place];
    return notFound;
}

bool SnapshotShape::isTypeOf(const String& name) const noexcept {
    return type.equals(name) || bases.indexOf(name, false) != noIndex;
}

bool SnapshotShape::hasSameOutputs(const SnapshotShape& other) const noexcept {
    return this == &other || std::ranges::equal(outputs, other.outputs, &ShapeOutput::isLike);
}

bool SnapshotShape::isSameType(const SnapshotShape& other) const noexcept {
    return isAbstract == other.isAbstract && isInternal == other.isInternal &&
           type.equals(other.type) && areSameTexts(bases, other.bases) && hasSameOutputs(other);
}

bool SnapshotShape::isLike(const SnapshotShape& other) const noexcept {
    return isUniform == other.isUniform && definition == other.definition && isSameType(other) &&
           std::ranges::equal(inputs, other.inputs, &ShapeInput::isLike);
}

u64 SnapshotShape::hash() const noexcept {
    u64 hash = hashMix(type.hash(), inputs.size() * 2 + (isUniform ? 1 : 0));
    for (const ShapeInput& input : inputs)
        hash = hashMix(hash, hashMix(input.name.hash(),
                                     static_cast<u64>(input.type) * 2 + (input.isOmitted ? 1 : 0)));
    for (const ShapeOutput& output : outputs)
        hash = hashMix(hash, output.name.hash());
    return hash;
}

ShapeTable::~ShapeTable() {
    for (const SnapshotShape* shape : m_shapes)
        shape->decRef();
}

const SnapshotShape* ShapeTable::share(SnapshotShape&& shape) {
    const std::lock_guard lock(m_mutex);
    auto found = m_shapes.find(&shape);
    if (found == m_shapes.end()) {
        if (m_shapes.size() >= m_nextSweep) dropUnused();
        auto made = std::make_unique<SnapshotShape>(std::move(shape));
        made->complete();
        found = m_shapes.insert(made.get()).first;
        static_cast<void>(made.release());
    }
    (*found)->incRef();
    return *found;
}

bool ShapeTable::hasInput(const NameView& name) const noexcept {
    const std::lock_guard lock(m_mutex);
    return std::ranges::any_of(m_shapes, [&](const SnapshotShape* shape) {
        return shape->find(name) != SnapshotShape::notFound;
    });
}

// Drops shapes that no record has, when the table has doubled since it last did.
void ShapeTable::dropUnused() noexcept {
    std::erase_if(m_shapes, [](const SnapshotShape* shape) {
        const bool isUnused = shape->isUnused();
        if (isUnused) shape->decRef();
        return isUnused;
    });
    m_nextSweep = std::max<u64>(64, 2 * m_shapes.size());
}

} // namespace qv::kelvo_sdk::impl
