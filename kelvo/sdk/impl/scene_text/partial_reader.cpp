#include "kelvo/sdk/impl/scene_text/partial_reader.h"

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_binder.h"
#include "kelvo/sdk/impl/scene_text/scene_checker.h"
#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr u32 mostRounds = 16;
constexpr const char* noMessage = "This could not be read.";

} // namespace

bool PartialReader::read() {
    for (u32 round = 0; round < mostRounds; ++round) {
        const Outcome outcome = readOnce();
        if (outcome == Outcome::Hopeless) return false;
        if (outcome == Outcome::Clean) return !m_options.needsNode || !m_tree->nodes.empty();
        sortGaps();
    }
    return false;
}

PartialReader::Outcome PartialReader::readOnce() {
    m_tree = std::make_unique<SceneTree>();
    m_gaps.parts.clear();
    m_gaps.unclosed.clear();
    TextErrors errors(m_text, noIndex);
    errors.keepMessages(m_options.maxErrors);
    SceneParser parser(m_text, {m_options.maxDepth, m_options.maxNodes, m_options.threads}, *m_tree,
                       errors);
    parser.leaveOut(m_gaps);
    parser.parse();
    // Added last, because parts refer to their errors by number.
    errors.addFaultyBytes();
    const u64 before = m_lines.size();
    if (!addFaultyParts(errors)) return Outcome::Hopeless;
    if (m_lines.size() == before) addUnclosedNodes();
    if (m_lines.size() != before) return Outcome::FoundMore;

    if (!m_scene.libraries().empty()) SceneBinder(*m_tree, m_scene).bind();
    TextErrors checked(m_text, noIndex);
    checked.keepMessages(m_options.maxErrors);
    SceneChecker(*m_tree, m_scene, checked, false).check();
    if (!addChecked(checked)) return Outcome::Hopeless;
    return checked.empty() ? Outcome::Clean : Outcome::FoundMore;
}

// Adds the parts that the parser gave up, and those that contain any other error.
bool PartialReader::addFaultyParts(const TextErrors& errors) {
    std::vector<bool> isReported(errors.size());
    for (const TextGaps::Part& part : m_gaps.parts) {
        if (!part.isFaulty) continue;
        const bool hasError = part.firstError < part.endOfErrors;
        addLine({part.first, part.last},
                hasError ? errors.errors()[part.firstError] : Error{part.first, {}, noMessage});
        for (u64 i = part.firstError; i < part.endOfErrors; ++i)
            isReported[i] = true;
    }
    // The order lets `addPartAt` search the innermost part by its start.
    std::ranges::stable_sort(m_gaps.parts, [](const TextGaps::Part& a, const TextGaps::Part& b) {
        return a.first != b.first ? a.first < b.first : a.last > b.last;
    });
    for (u64 i = 0; i < errors.size(); ++i) {
        const Error& error = errors.errors()[i];
        if (!isReported[i] && !isLeftOut(error.offset) && !addPartAt(error)) return false;
    }
    return true;
}

bool PartialReader::addChecked(const TextErrors& errors) {
    const auto isAmong = [](const auto& references, u64 offset, const auto& isMeant) {
        const auto place = std::ranges::lower_bound(references, offset, {},
                                                    [](const auto& from) { return from.offset; });
        return place != references.end() && place->offset == offset && isMeant(*place);
    };
    for (const Error& error : errors.errors()) {
        const bool isReference =
            isAmong(m_tree->links, error.offset,
                    [](const TreeLink& link) { return link.slot == TreeSlot::Value; }) ||
            isAmong(m_tree->connections, error.offset, [](const TreeConnection&) { return true; });
        if (isReference)
            m_references.push_back(error);
        else if (!addPartAt(error))
            return false;
    }
    return true;
}

// Adds the innermost part that contains an error.
bool PartialReader::addPartAt(const Error& error) {
    auto part = std::ranges::upper_bound(m_gaps.parts, error.offset, {}, &TextGaps::Part::first);
    while (part != m_gaps.parts.begin()) {
        --part;
        const bool holdsEnd = part->last == m_text.size() && error.offset == m_text.size();
        if (part->last <= error.offset && !holdsEnd) continue;
        addLine({part->first, part->last}, error);
        return true;
    }
    return false;
}

// Adds nodes whose missing '}' would be swallowed by an omitted line in front of it. The brace
// would be missing again in the next text, so the whole node stays unread.
void PartialReader::addUnclosedNodes() {
    u64 end = 0;
    auto line = m_lines.begin();
    auto unclosed = m_gaps.unclosed.begin();
    const u64 known = m_lines.size();
    std::vector<Line> nodes;
    for (const TextGaps::Part& part : m_gaps.parts) {
        if (part.first < end) continue;
        end = part.last;
        while (unclosed != m_gaps.unclosed.end() && unclosed->offset <= part.first)
            ++unclosed;
        const bool isClosed = unclosed == m_gaps.unclosed.end() || unclosed->offset > part.last;
        for (; line != m_lines.end() && line->place.first < part.last; ++line) {
            if (isClosed || line->place.first < part.first || !swallowsBrace(line->place)) continue;
            nodes.push_back(
                {{part.first, part.last}, {unclosed->offset, unclosed->node, unclosed->message}});
        }
    }
    m_lines.reserve(known + nodes.size());
    for (Line& node : nodes)
        m_lines.push_back(std::move(node));
}

bool PartialReader::swallowsBrace(const TextLines& place) const {
    const String text = "node n \"n\" {\n" + wholeLines(m_text, place.first, place.last) + "}\n";
    SceneTree tree;
    TextErrors errors(text.view(), noIndex);
    TextGaps gaps;
    SceneParser parser(text.view(), {m_options.maxDepth, m_options.maxNodes, m_options.threads},
                       tree, errors);
    parser.leaveOut(gaps);
    parser.parse();
    return !gaps.unclosed.empty();
}

void PartialReader::addLine(TextLines place, Error error) {
    m_lines.push_back({place, std::move(error)});
}

bool PartialReader::isLeftOut(u64 offset) const {
    const auto behind = std::ranges::upper_bound(m_gaps.lines, offset, {}, &TextLines::first);
    return behind != m_gaps.lines.begin() && offset < std::prev(behind)->last;
}

// Sorts all gaps and merges those inside of others into them.
void PartialReader::sortGaps() {
    std::ranges::stable_sort(m_lines, [](const Line& a, const Line& b) {
        const auto& [first, last] = a.place;
        return first != b.place.first ? first < b.place.first : last > b.place.last;
    });
    u64 end = 0;
    std::erase_if(m_lines, [&](const Line& line) {
        const bool isInside = line.place.first < end;
        end = std::max(end, line.place.last);
        return isInside;
    });
    m_gaps.lines.clear();
    for (const Line& line : m_lines)
        m_gaps.lines.push_back(line.place);
    std::erase_if(m_references, [this](const Error& error) { return isLeftOut(error.offset); });
    std::ranges::sort(m_references, {}, &Error::offset);
    m_gaps.references.clear();
    for (const Error& error : m_references)
        m_gaps.references.push_back(error.offset);
}

void PartialReader::report(Diagnostics& out) {
    TextErrors kept(m_text, m_options.maxErrors);
    const auto tell = [&](const Error& error) {
        if (!error.message.isEmpty()) kept.keep(error);
    };
    for (const Line& line : m_lines)
        tell(line.error);
    for (const Error& error : m_references)
        tell(error);
    for (const TextGaps::Unclosed& unclosed : m_gaps.unclosed)
        tell({unclosed.offset, unclosed.node, unclosed.message});
    kept.reportErrors(m_options.source, out);
}

} // namespace qv::kelvo_sdk::impl
