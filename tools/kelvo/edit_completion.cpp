#include "tools/kelvo/edit_completion.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/edit_commands.h"
#include "tools/kelvo/libraries.h"

#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::IInputContainer;

/// Collects candidates that start with the word being typed, ignoring case.
class Candidates {
public:
    explicit Candidates(std::string_view word) : m_word(word) { m_found.length = word.size(); }

    void offer(std::string_view text) {
        constexpr std::size_t most = 1000;
        if (m_found.texts.size() < most && text.size() >= m_word.size() &&
            String(text.substr(0, m_word.size())).equalsNoCase(m_word))
            m_found.texts.emplace_back(text);
    }
    [[nodiscard]] std::string_view word() const noexcept { return m_word; }
    [[nodiscard]] Completion take() { return std::move(m_found); }

private:
    std::string_view m_word;
    Completion m_found;
};

void offerNodes(const EditSession& session, std::string_view behind, Candidates& found) {
    for (u64 i = 0; i < session.scene().nodeCount(); ++i)
        found.offer((session.scene().node(i).name() + behind).view());
}

void offerElements(const IInputContainer& array, std::string_view owner, Candidates& found) {
    constexpr u64 most = 100;
    for (u64 i = 0; i < std::min(array.inputCount(), most); ++i)
        found.offer(std::string(owner) + "[" + std::to_string(i) + "]");
}

// Offers an array or object with the sign that opens it as well.
void offerInput(const std::string& path, const IInput& input, Candidates& found) {
    const AttrType type = input.type();
    found.offer(path);
    if (found.word() != path || input.inputCount() == 0) return;
    if (type == AttrType::Array) found.offer(path + "[");
    if (type == AttrType::Object) found.offer(path + ".");
}

void offerLeftOut(const kelvo_sdk::Node& node, std::string_view owner, Candidates& found) {
    const Libraries* libraries = librariesInUse();
    const auto* type = libraries ? libraries->lookUpType(node.type()) : nullptr;
    for (u64 i = 0; type && i < type->inputCount(); ++i)
        if (!node->hasInput(type->input(i)->name(), AttrType::Null))
            found.offer(std::string(owner) + "." + type->input(i)->name().buf());
}

// Completes the part after the last '.' or '['.
void offerInputs(const EditSession& session, Candidates& found) {
    const std::size_t sign = found.word().find_last_of(".[");
    if (sign == std::string_view::npos) return offerNodes(session, ".", found);
    const std::string owner(found.word().substr(0, sign));
    Address address;
    String ignored;
    if (!findAddress(session.scene(), owner.c_str(), Append::Refused, address, ignored)) return;
    const IInput* input = address.input.get();
    if (found.word()[sign] == '[') {
        if (input && input->type() == AttrType::Array) offerElements(*input, owner, found);
        return;
    }
    const IInputContainer& container =
        input ? static_cast<const IInputContainer&>(*input) : *address.node.get();
    for (u64 i = 0; i < container.inputCount(); ++i)
        offerInput(owner + "." + container.input(i)->name().buf(), *container.input(i), found);
    if (!input) offerLeftOut(address.node, owner, found);
}

void offerOutputs(const EditSession& session, Candidates& found) {
    const std::size_t dot = found.word().find('.');
    if (dot == std::string_view::npos) return offerNodes(session, ".", found);
    const std::string owner(found.word().substr(0, dot));
    const kelvo_sdk::Node node = session.scene().findNode(owner.c_str());
    if (!node.get()) return;
    for (u64 i = 0; i < node->outputCount(); ++i)
        found.offer(owner + "." + node->output(i)->name().buf());
    const Libraries* libraries = librariesInUse();
    const auto* type = libraries ? libraries->lookUpType(node.type()) : nullptr;
    for (u64 i = 0; type && i < type->outputCount(); ++i)
        if (!node->hasOutput(type->output(i)->name(), AttrType::Null))
            found.offer(owner + "." + type->output(i)->name().buf());
}

void offerTypes(Candidates& found) {
    const Libraries* libraries = librariesInUse();
    if (!libraries) return;
    for (const auto* type : libraries->types())
        if (!type->isAbstract()) found.offer(type->type().view());
}

void offerKinds(Candidates& found) {
    for (u32 kind = 1; kind < kelvo_sdk::attrTypeCount; ++kind) {
        const auto type = static_cast<AttrType>(kind);
        const std::string name = kelvo_sdk::attrTypeName(type);
        found.offer(type == AttrType::Array ? name + "<" : name);
        found.offer("Array<" + name + ">");
    }
}

void offerCommands(Candidates& found) {
    for (const EditCommand& command : editCommands())
        found.offer(command.name);
}

void offerArgument(const EditSession& session, std::string_view argument, Candidates& found) {
    if (argument == "COMMAND") offerCommands(found);
    if (argument == "TYPE") offerTypes(found);
    if (argument == "KIND") offerKinds(found);
    if (argument == "NODE.OUTPUT") offerOutputs(session, found);
    if (argument == "NODE.NAME") offerNodes(session, ".", found);
    if (argument.starts_with("NODE") && argument.find('.') == std::string_view::npos)
        if (found.word().find('.') == std::string_view::npos) offerNodes(session, "", found);
    if (argument == "PARENT") offerNodes(session, "", found);
    if (argument == "CHECKPOINT")
        for (const String& name : session.scene().checkpoints())
            found.offer(name.view());
    // Offers names of nodes first, and inputs once the word is the name of a node.
    const bool mayBeNode = argument.starts_with("NODE|");
    if (argument == "INPUT" || argument == "ARRAY" ||
        (mayBeNode && (found.word().find('.') != std::string_view::npos ||
                       session.scene().findNode(String(found.word())).get())))
        offerInputs(session, found);
}

// Returns the last command on a line, the one being typed.
std::string_view lastCommand(std::string_view line) {
    std::size_t start = 0;
    bool isQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\\' && isQuoted)
            ++i;
        else if (line[i] == '"')
            isQuoted = !isQuoted;
        else if (line[i] == ';' && !isQuoted)
            start = i + 1;
    }
    return line.substr(start);
}

} // namespace

Completion complete(const EditSession& session, std::string_view line) {
    line = lastCommand(line);
    const std::size_t blank = line.find_last_of(" \t");
    Candidates found(blank == std::string_view::npos ? line : line.substr(blank + 1));
    line.remove_suffix(found.word().size());
    std::vector<Edit> edits;
    EditError error;
    // Text that cannot be parsed yet, such as an open quote, has no completion.
    if (!parseEdits(String(line), edits, error)) return {};
    if (edits.empty()) {
        offerCommands(found);
        return found.take();
    }
    EditCommand command{};
    if (!findEditCommand(edits.back().name(), command, error.message)) return {};
    offerArgument(session, command.argument(edits.back().words.size()), found);
    return found.take();
}

} // namespace qv::kelvo_tool
