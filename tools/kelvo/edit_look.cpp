// The commands that only read.
#include "tools/kelvo/edit_commands.h"

#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "kelvo/sdk/value_text.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/handles.h"
#include "tools/kelvo/value_setting.h"
#include "tools/kelvo/value_summary.h"

#include <array>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::interfaces::IInput;

// Finds what a path leads to, what is left to types as well; the input is null for a node.
bool look(const EditSession& session, const Edit& edit, Address& address, const IInput*& input,
          EditFault& fault) {
    const String& path = edit.words[1].text;
    String error;
    if (findAddress(session.scene(), path, Append::Refused, address, error)) {
        input = address.input.get();
        return true;
    }
    input = wholeLeftOutInput(session.scene(), path);
    return input || fault.at(1, std::move(error));
}

bool runShow(EditSession& session, const Edit& edit, EditFault& fault) {
    Terminal& out = session.out();
    if (!edit.has(1)) {
        out.writeData(session.scene().text().view());
        return true;
    }
    Address address;
    const IInput* input = nullptr;
    if (!look(session, edit, address, input, fault)) return false;
    if (!input) {
        out.writeData(address.node.text().view());
        return true;
    }
    out.write(Tone::Name, edit.words[1].text.view()).write(" (");
    out.write(Tone::Kind, input->typeName().view()).write(")");
    out.write(" = ").write(Tone::Value, shortValue(*input).view());
    if (input->source()) out.write(" <- ").write(Tone::Name, input->source()->path().view());
    out.endLine();
    return true;
}

bool runGet(EditSession& session, const Edit& edit, EditFault& fault) {
    Address address;
    const IInput* input = nullptr;
    if (!look(session, edit, address, input, fault)) return false;
    if (!input)
        return fault.at(1, "'" + edit.words[1].text + "' is a node: expected one of its inputs.");
    session.out().writeData(kelvo_sdk::valueText(handleOn(*input)).view()).endLine();
    return true;
}

bool runHelp(EditSession& session, const Edit& edit, EditFault& fault) {
    String error;
    const String name = edit.has(1) ? edit.words[1].text : String();
    return printEditCommands(session.out(), name, error) || fault.at(1, std::move(error));
}

using Kind = EditCommand::Kind;

constexpr std::array commands{
    EditCommand{"show", "[NODE|INPUT]", "Prints the scene, a node or an input", Kind::Looks,
                &runShow},
    EditCommand{"get", "INPUT", "Prints a value", Kind::Looks, &runGet},
    EditCommand{"help", "[COMMAND]", "Prints what commands do", Kind::Looks, &runHelp},
};

} // namespace

std::span<const EditCommand> lookCommands() {
    return commands;
}

} // namespace qv::kelvo_tool
