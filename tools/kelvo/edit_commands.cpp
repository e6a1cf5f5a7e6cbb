#include "tools/kelvo/edit_commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/value_setting.h"

#include <charconv>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

constexpr std::string_view restMark = "...";

// Calls `take` with each argument, as written, until `take` returns false.
template<typename Take>
void eachArgument(std::string_view arguments, Take take) {
    while (!arguments.empty()) {
        const std::size_t end = std::min(arguments.find(' '), arguments.size());
        if (!take(arguments.substr(0, end))) return;
        arguments.remove_prefix(std::min(end + 1, arguments.size()));
    }
}

} // namespace

std::string_view EditCommand::argument(u64 word) const {
    std::string_view found;
    eachArgument(arguments, [&, left = word](std::string_view argument) mutable {
        if (--left != 0 && !argument.ends_with(restMark)) return true;
        found = argument.substr(argument.starts_with('[') ? 1 : 0);
        found = found.substr(0, found.find_first_of(".]", found.starts_with("NODE.") ? 5 : 0));
        return false;
    });
    return found;
}

bool EditCommand::fits(const Edit& edit, EditFault& fault) const {
    u64 least = 1;
    u64 most = 1;
    eachArgument(arguments, [&](std::string_view argument) {
        if (!argument.starts_with('[') && !argument.ends_with(']')) ++least;
        ++most;
        if (argument.find(restMark) != std::string_view::npos) most = edit.words.size();
        return true;
    });
    if (edit.words.size() >= least && edit.words.size() <= std::max(most, least)) return true;
    const String usage = String(name) + (*arguments ? " " : "") + arguments;
    if (edit.words.size() < least) return fault.at(0, "expected '" + usage + "'.");
    return fault.at(most, "one argument too many: expected '" + usage + "'.");
}

std::vector<EditCommand> editCommands() {
    std::vector<EditCommand> all;
    for (const auto& list :
         {valueCommands(), elementCommands(), nodeCommands(), historyCommands(), lookCommands()})
        all.insert(all.end(), list.begin(), list.end());
    return all;
}

bool findEditCommand(const String& name, EditCommand& command, String& error) {
    SpellingSuggestion near(name.view());
    for (const EditCommand& known : editCommands()) {
        if (name == known.name) {
            command = known;
            return true;
        }
        near.offer(known.name);
    }
    error = "unknown command '" + name + "'" +
            (near.best().empty() ? String(" (see kelvo edit --commands)") : near.question());
    return false;
}

bool printEditCommands(Terminal& out, const String& name, String& error) {
    EditCommand asked{};
    if (!name.isEmpty() && !findEditCommand(name, asked, error)) return false;
    u64 width = 0;
    for (const EditCommand& command : editCommands())
        width =
            std::max<u64>(width, String(command.name).size() + String(command.arguments).size());
    for (const EditCommand& command : editCommands()) {
        if (!name.isEmpty() && name != command.name) continue;
        const u64 length = String(command.name).size() + String(command.arguments).size();
        out.write(Tone::Name, command.name).write(" ").write(command.arguments);
        out.write(std::string(name.isEmpty() ? width - length + 2 : 2, ' '));
        out.write(command.help).endLine();
    }
    return true;
}

bool findNodeOf(const EditSession& session, const Edit& edit, u64 word, kelvo_sdk::Node& node,
                EditFault& fault) {
    node = session.scene().findNode(edit.words[word].text);
    return node.get() || fault.at(word, noSuchNode(session.scene(), edit.words[word].text));
}

bool reachInputOf(const EditSession& session, const Edit& edit, u64 word, kelvo_sdk::Input& input,
                  EditFault& fault) {
    String error;
    return reachInput(session.scene(), edit.words[word].text, nullptr, input, error) ||
           fault.at(word, std::move(error));
}

bool readCount(const Edit& edit, u64 word, u64 fallback, u64& count, EditFault& fault) {
    count = fallback;
    if (!edit.has(word)) return true;
    const std::string_view text = edit.words[word].text.view();
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (problem == std::errc() && end == text.data() + text.size()) return true;
    return fault.at(word, "'" + edit.words[word].text + "' is no number of 0, 1, 2 and so on.");
}

bool assignFrom(const EditSession& session, const Edit& edit, u64 word,
                const kelvo_sdk::Input& input, EditFault& fault) {
    String error;
    return assign(session.scene(), input, edit.valueFrom(word), error) ||
           fault.at(std::min<u64>(word, edit.words.size() - 1), std::move(error));
}

} // namespace qv::kelvo_tool
