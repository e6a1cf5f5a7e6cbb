#include "kelvo/sdk/impl/graph/scene_comments.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/string_io.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Appends a line as a valid comment.
void appendComment(std::string_view line, StringIO& out) {
    if (!line.starts_with('#')) out.append("# ");
    while (!line.empty()) {
        const u64 length = utf8::sequenceLength(line);
        const bool legal = length != 0 && utf8::firstFault(line.substr(0, length)) == length;
        out.append(legal ? line.substr(0, length) : std::string_view("?"));
        line.remove_prefix(legal ? length : 1);
    }
}

// Removes the first line from a text and returns it.
std::string_view takeLine(std::string_view& text) {
    const u64 end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return ascii::trim(line);
}

String cleanedLines(const String& text) {
    StringIO out;
    bool afterBlank = false;
    for (std::string_view rest = text.view(); !rest.empty();) {
        const std::string_view line = takeLine(rest);
        if (!line.empty()) appendComment(line, out);
        if (!line.empty() || !afterBlank) out.append('\n');
        afterBlank = line.empty();
    }
    return out.take();
}

String cleanedLine(const String& text) {
    StringIO out;
    for (std::string_view rest = text.view(); !rest.empty();) {
        const std::string_view line = takeLine(rest);
        if (line.empty()) continue;
        if (out.isEmpty())
            appendComment(line, out);
        else
            appendComment(line, out.append(' '));
    }
    return out.take();
}

const String& nameOf(const interfaces::IInput* input) {
    return implOf(input)->ownName();
}
const String& nameOf(const interfaces::IOutput* output) {
    return implOf(output)->ownName();
}

} // namespace

Comments cleaned(const Comments& comments) {
    Comments clean = comments;
    clean.leading = cleanedLines(comments.leading);
    clean.opening = cleanedLine(comments.opening);
    clean.inner = cleanedLines(comments.inner);
    clean.trailing = cleanedLine(comments.trailing);
    return clean;
}

void SceneComments::setFile(Comments comments) {
    Comments file = cleaned(comments);
    // Drops blank lines at the end of the text.
    if (file.inner.view().ends_with("\n\n") || file.inner.view() == "\n")
        file.inner = file.inner.substr(0, file.inner.size() - 1);
    m_file = std::move(file);
}

void SceneComments::set(const interfaces::INode* node, Comments comments) {
    if (comments.isEmpty())
        m_entries.erase(node);
    else
        m_entries[node] = {node, String(), cleaned(comments)};
}

void SceneComments::set(const interfaces::IInput* input, Comments comments) {
    setAttribute(input, input->node(), nameOf(input), std::move(comments));
}

void SceneComments::set(const interfaces::IOutput* output, Comments comments) {
    setAttribute(output, output->node(), nameOf(output), std::move(comments));
}

void SceneComments::setAttribute(const void* attribute, const interfaces::INode* owner,
                                 const String& name, Comments comments) {
    if (comments.isEmpty()) {
        m_entries.erase(attribute);
        return;
    }
    const auto [place, isNew] = m_entries.try_emplace(attribute);
    if (isNew || place->second.owner != owner) m_attributes[owner].push_back(attribute);
    place->second = {owner, name, cleaned(comments)};
}

const Comments* SceneComments::find(const interfaces::INode* node) const {
    if (m_entries.empty()) return nullptr;
    const auto place = m_entries.find(node);
    return place != m_entries.end() ? &place->second.comments : nullptr;
}

const Comments* SceneComments::find(const interfaces::IInput* input) const {
    return m_entries.empty() ? nullptr : findNamed(input, nameOf(input));
}

const Comments* SceneComments::find(const interfaces::IOutput* output) const {
    return m_entries.empty() ? nullptr : findNamed(output, nameOf(output));
}

const Comments* SceneComments::findNamed(const void* attribute, const String& name) const {
    const auto place = m_entries.find(attribute);
    if (place == m_entries.end() || !place->second.name.equals(name)) return nullptr;
    return &place->second.comments;
}

void SceneComments::remove(const interfaces::INode* node) {
    Kept dropped;
    leaveUnread(node, dropped);
    m_entries.erase(node);
    const auto list = m_attributes.find(node);
    if (list == m_attributes.end()) return;
    for (const void* attribute : list->second) {
        const auto place = m_entries.find(attribute);
        if (place != m_entries.end() && place->second.owner == node) m_entries.erase(place);
    }
    m_attributes.erase(list);
}

void SceneComments::remove(const interfaces::IInput* input) {
    Kept dropped;
    take(input, dropped);
}

void SceneComments::remove(const interfaces::IOutput* output) {
    m_entries.erase(output);
}

// ---- Names of inputs -----------------------------------------------------------------------

namespace {

bool isBefore(const UnreadLines& lines, const interfaces::IInput* input) {
    return !lines.isOutput && lines.type == input->type() && lines.before.equals(nameOf(input));
}

const void* holderOf(const interfaces::IInput* input) {
    const interfaces::IInput* parent = input->parent();
    return parent ? static_cast<const void*>(parent) : input->node();
}

} // namespace

std::vector<u64> SceneComments::linesBefore(const interfaces::IInput* input) const {
    std::vector<u64> found;
    const auto around = m_entries.find(holderOf(input));
    if (around == m_entries.end()) return found;
    const std::vector<UnreadLines>& unread = around->second.comments.unread;
    for (u64 i = 0; i < unread.size(); ++i)
        if (isBefore(unread[i], input)) found.push_back(i);
    return found;
}

void SceneComments::renamed(const interfaces::IInput* input, const String& before,
                            std::span<const u64> lines) noexcept {
    renameEntry(input, before);
    for (const u64 line : lines)
        renameLine(input, before, line);
}

void SceneComments::renameEntry(const interfaces::IInput* input, const String& before) noexcept {
    const auto own = m_entries.find(input);
    if (own != m_entries.end() && own->second.name.equals(before)) own->second.name = nameOf(input);
}

void SceneComments::renameLine(const interfaces::IInput* input, const String& before,
                               u64 line) noexcept {
    const auto around = m_entries.find(holderOf(input));
    if (around == m_entries.end()) return;
    std::vector<UnreadLines>& unread = around->second.comments.unread;
    if (line < unread.size() && unread[line].before.equals(before))
        unread[line].before = nameOf(input);
}

// Needs no memory after `makeRoom`.
void SceneComments::noteNames(const interfaces::INode* node, Kept& kept) const {
    const auto noteLines = [&](const Comments& comments, const auto& holder) {
        for (u64 i = 0; i < comments.unread.size(); ++i) {
            const UnreadLines& lines = comments.unread[i];
            interfaces::IInput* input = holder.lookUpInput(lines.before);
            if (input && isBefore(lines, input))
                kept.m_names.push_back({RefersTo(input), lines.before, i});
        }
    };
    if (const Comments* comments = find(node)) noteLines(*comments, implOf(*node));
    if (!m_attributes.contains(node)) return;
    visitInputsInPlace(implOf(*node), [&](Input& input) {
        interfaces::IInput* attribute = &input;
        const Comments* comments = find(attribute);
        if (!comments) return;
        kept.m_names.push_back({RefersTo(attribute), input.ownName(), noIndex});
        noteLines(*comments, input);
    });
}

// ---- Removal -------------------------------------------------------------------------------

void SceneComments::takeEntry(const void* key, Kept& kept) {
    const auto place = m_entries.find(key);
    if (place != m_entries.end()) kept.m_entries.push_back(m_entries.extract(place));
}

bool SceneComments::isBehindUnread(const interfaces::INode* node) const noexcept {
    return std::ranges::find(m_file.unread, node, &UnreadLines::node) != m_file.unread.end();
}

// Forgets the node's address, because another node may have it later.
void SceneComments::leaveUnread(const interfaces::INode* node, Kept& kept) {
    kept.m_behind = isBehindUnread(node) ? node : nullptr;
    if (!kept.m_behind) return;
    kept.m_before = node->name();
    for (UnreadLines& lines : m_file.unread) {
        if (lines.node != node) continue;
        lines.before = kept.m_before;
        lines.node = nullptr;
    }
}

void SceneComments::makeRoom(const interfaces::INode* node, Kept& kept) const {
    u64 entries = 0, names = 0;
    const auto count = [&](const void* key) {
        const auto place = m_entries.find(key);
        if (place == m_entries.end()) return;
        ++entries;
        names += 1 + place->second.comments.unread.size();
    };
    count(node);
    if (const auto list = m_attributes.find(node); list != m_attributes.end())
        std::ranges::for_each(list->second, count);
    kept.m_entries.reserve(entries);
    kept.m_names.reserve(names);
}

void SceneComments::take(const interfaces::INode* node, Kept& kept) {
    makeRoom(node, kept);
    leaveUnread(node, kept);
    noteNames(node, kept);
    takeEntry(node, kept);
    const auto list = m_attributes.find(node);
    if (list == m_attributes.end()) return;
    for (const void* attribute : list->second) {
        const auto place = m_entries.find(attribute);
        if (place != m_entries.end() && place->second.owner == node) takeEntry(attribute, kept);
    }
    kept.m_list = m_attributes.extract(list);
}

// Allocates memory for the existing comments.
void SceneComments::take(const interfaces::IInput* input, Kept& kept) {
    if (m_entries.empty()) return;
    const auto* top = implOf(input);
    u64 count = m_entries.contains(input) ? 1 : 0;
    visitInPlace(top->members(), top, [&](const Input& each) {
        count += m_entries.contains(static_cast<const interfaces::IInput*>(&each)) ? 1 : 0;
    });
    if (count == 0) return;
    kept.m_entries.reserve(count);
    takeEntry(input, kept);
    visitInPlace(top->members(), top, [&](const Input& each) {
        takeEntry(static_cast<const interfaces::IInput*>(&each), kept);
    });
}

void SceneComments::take(const interfaces::IOutput* output, Kept& kept) {
    takeEntry(output, kept);
}

// Needs no memory if no comments were added meanwhile.
void SceneComments::putBack(Kept& kept) {
    for (UnreadLines& lines : m_file.unread)
        if (!lines.node && lines.before.equals(kept.m_before)) lines.node = kept.m_behind;
    if (kept.m_list && !m_attributes.contains(kept.m_list.key()))
        m_attributes.insert(std::move(kept.m_list));
    for (auto& entry : kept.m_entries) {
        const interfaces::INode* owner = entry.mapped().owner;
        // An attribute that left its node is still on the list.
        if (entry.key() != owner && !m_attributes.contains(owner))
            m_attributes[owner].push_back(entry.key());
        m_entries.erase(entry.key());
        m_entries.insert(std::move(entry));
    }
    for (const auto& [input, name, line] : kept.m_names) {
        if (!input->node()) continue;
        if (line == noIndex)
            renameEntry(input.get(), name);
        else
            renameLine(input.get(), name, line);
    }
    kept.m_entries.clear();
    kept.m_names.clear();
    kept.m_list = {};
    kept.m_behind = nullptr;
}

void SceneComments::reserveFor(const SceneComments& added) {
    m_entries.reserve(m_entries.size() + added.m_entries.size());
    m_attributes.reserve(m_attributes.size() + added.m_attributes.size());
}

void SceneComments::merge(SceneComments added) noexcept {
    const auto moveAll = [](auto& from, auto& to) {
        while (!from.empty()) {
            auto entry = from.extract(from.begin());
            // Replaces comments of another object that had this address.
            to.erase(entry.key());
            to.insert(std::move(entry));
        }
    };
    moveAll(added.m_entries, m_entries);
    moveAll(added.m_attributes, m_attributes);
    m_file = std::move(added.m_file);
}

SceneComments::Kept SceneComments::copyOf(const interfaces::INode* node) const {
    SceneComments copy;
    const auto add = [&](const void* key) {
        const auto place = m_entries.find(key);
        if (place != m_entries.end() && place->second.owner == node) copy.m_entries.insert(*place);
    };
    add(node);
    if (isBehindUnread(node)) copy.m_file = m_file;
    if (const auto list = m_attributes.find(node); list != m_attributes.end()) {
        std::ranges::for_each(list->second, add);
        copy.m_attributes.insert(*list);
    }
    Kept kept;
    copy.take(node, kept);
    return kept;
}

} // namespace qv::kelvo_sdk::impl
