#include "kelvo/sdk/impl/snapshot/stored_values.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// The bytes that the smallest text, value and unread lines take.
constexpr u64 bytesOfText = 4;
constexpr u64 bytesOfValue = 4;
constexpr u64 bytesOfLines = 20;

void write(ByteWriter& out, const AttrDetails::Texts& texts) {
    out.add(static_cast<u32>(texts.size()));
    for (const auto& [language, text] : texts) {
        out.add(language.view());
        out.add(text.view());
    }
}

AttrDetails::Texts readTexts(ByteReader& in) {
    AttrDetails::Texts texts;
    for (u32 left = in.count(2 * bytesOfText); left > 0; --left) {
        String language = readText(in);
        texts.push_back({std::move(language), readText(in)});
    }
    return texts;
}

void write(ByteWriter& out, const UnreadLines& lines) {
    out.add(lines.leading.view());
    out.add(lines.lines.view());
    out.add(lines.before.view());
    out.add(static_cast<u32>(lines.type));
    out.add(u32{lines.isOutput});
}

// The writer of text relies on the end of the last line.
void expectLines(const String& text, ByteReader& in) {
    if (!text.isEmpty() && !text.view().ends_with('\n')) in.fail();
}

UnreadLines readLines(ByteReader& in) {
    UnreadLines lines;
    lines.leading = readText(in);
    lines.lines = readText(in);
    expectLines(lines.leading, in);
    expectLines(lines.lines, in);
    lines.before = readText(in);
    lines.type = readKind(in);
    lines.isOutput = readFlag(in);
    return lines;
}

// Swaps the bytes of each component on machines that begin with the high byte.
void swapComponents(DataType type, std::byte* elements, u64 size) noexcept {
    if constexpr (std::endian::native == std::endian::little) return;
    const u64 width = dataTypeSize(dataTypeComponent(type));
    for (u64 i = 0; width > 1 && i + width <= size; i += width)
        std::reverse(elements + i, elements + i + width);
}

} // namespace

void writeElements(ByteWriter& out, const Buffer& buffer) {
    const std::span elements(static_cast<const std::byte*>(buffer.data()), buffer.byteSize());
    if constexpr (std::endian::native == std::endian::little) return out.add(elements);
    std::vector<std::byte> swapped(elements.begin(), elements.end());
    swapComponents(buffer.type(), swapped.data(), swapped.size());
    out.add(swapped);
}

Buffer copyOfElements(DataType type, std::span<const std::byte> elements) {
    const u64 size = dataTypeSize(type);
    Buffer copy = Buffer::unfilled(type, size == 0 ? 0 : elements.size() / size);
    if (copy.count() == 0) return copy;
    auto* const place = static_cast<std::byte*>(copy.edit());
    std::ranges::copy(elements, place);
    swapComponents(type, place, elements.size());
    return copy;
}

void write(ByteWriter& out, const Value& value) {
    out.add(static_cast<u32>(value.type()));
    switch (value.type()) {
    case AttrType::Bool:
        return out.add(u32{value.asBool()});
    case AttrType::Int:
    case AttrType::UInt:
        return out.add(value.asUInt());
    case AttrType::String:
        return out.add(value.asString().view());
    case AttrType::Buffer:
        out.add(static_cast<u32>(value.asBuffer().type()));
        out.add(value.asBuffer().count());
        return writeElements(out, value.asBuffer());
    default:
        for (u32 i = 0; i < Value::components(value.type()); ++i)
            out.add(std::bit_cast<u64>(value.reals()[i]));
    }
}

Value readValue(ByteReader& in) {
    const AttrType type = readKind(in);
    switch (type) {
    case AttrType::Null:
        return {};
    case AttrType::Bool:
        return readFlag(in);
    case AttrType::Int:
        return static_cast<i64>(in.word64());
    case AttrType::UInt:
        return in.word64();
    case AttrType::String:
        return readText(in);
    case AttrType::Node:
        return static_cast<interfaces::INode*>(nullptr);
    case AttrType::Buffer: {
        const DataType elementType = readElementType(in);
        const u64 size = dataTypeSize(elementType), count = in.word64();
        if (size == 0 ? count != 0 : count > ~u64{0} / size) in.fail();
        return copyOfElements(elementType, in.bytes(size * count));
    }
    default:
        break;
    }
    double reals[16] = {};
    const u32 components = Value::components(type);
    if (components == 0) in.fail();
    for (u32 i = 0; i < components; ++i)
        reals[i] = std::bit_cast<double>(in.word64());
    return components == 0 ? Value() : Value::fromReals(type, reals);
}

void write(ByteWriter& out, const AttrDetails& details) {
    write(out, details.defaultValue);
    write(out, details.minimum);
    write(out, details.maximum);
    out.add(static_cast<u32>(details.choices.size()));
    for (const Value& choice : details.choices)
        write(out, choice);
    out.add(details.unit.view());
    write(out, details.labels);
    write(out, details.helps);
}

RefersTo<AttrDetails> readDetails(ByteReader& in) {
    auto details = RefersTo<AttrDetails>::adopt(new AttrDetails);
    details->defaultValue = readValue(in);
    details->minimum = readValue(in);
    details->maximum = readValue(in);
    for (u32 left = in.count(bytesOfValue); left > 0; --left)
        details->choices.push_back(readValue(in));
    details->unit = readText(in);
    details->labels = readTexts(in);
    details->helps = readTexts(in);
    return details;
}

void write(ByteWriter& out, const Comments& comments) {
    for (const String* text : {&comments.leading, &comments.opening, &comments.inner,
                               &comments.trailing, &comments.lostLink, &comments.lostSource})
        out.add(text->view());
    out.add(u32{comments.isOwn});
    out.add(static_cast<u32>(comments.unchecked));
    out.add(static_cast<u32>(comments.unread.size()));
    for (const UnreadLines& lines : comments.unread)
        write(out, lines);
}

Comments readComments(ByteReader& in) {
    Comments comments;
    for (String* text : {&comments.leading, &comments.opening, &comments.inner, &comments.trailing,
                         &comments.lostLink, &comments.lostSource})
        *text = readText(in);
    expectLines(comments.leading, in);
    expectLines(comments.inner, in);
    comments.isOwn = readFlag(in);
    comments.unchecked = static_cast<Comments::Unchecked>(in.below(3));
    for (u32 left = in.count(bytesOfLines); left > 0; --left)
        comments.unread.push_back(readLines(in));
    return comments;
}

String readText(ByteReader& in) {
    return String(in.text());
}

AttrType readKind(ByteReader& in) {
    return static_cast<AttrType>(in.below(attrTypeCount));
}

DataType readElementType(ByteReader& in) {
    return static_cast<DataType>(in.below(dataTypeCount));
}

bool readFlag(ByteReader& in) {
    return in.below(2) != 0;
}

} // namespace qv::kelvo_sdk::impl
