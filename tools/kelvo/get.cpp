#include "tools/kelvo/commands.h"

#include "kelvo/sdk/value_text.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/evaluation.h"
#include "tools/kelvo/files.h"

#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Scene;
using kelvo_sdk::SnapshotInput;

struct GetOptions {
    String file;
    String path;
    bool storedOnly = false;
    bool isPartial = false;
};

constexpr const char* getHelp =
    "Where a connection or a modifier hides the value that is stored, there are two of them:\n"
    "\"stored: ...\" and \"effective: ...\". --stored prints the first alone, `kelvo eval` the\n"
    "second. A source that gives no value hides nothing.";

void printBoth(const kelvo_sdk::Input& input, const String& effective, Terminal& out) {
    out.write("stored: ").writeData(storedValue(input).view()).endLine();
    out.write("effective: ").writeData(effective.view()).endLine();
}

void printInput(const Address& address, const GetOptions& options, Terminal& out) {
    const kelvo_sdk::Input& input = address.input;
    const Evaluation effective =
        options.storedOnly || !isHidden(input) ? Evaluation() : evaluateWhole(input);
    if (effective.hasValue) return printBoth(input, effective.text, out);
    // Scripts can ask with an option; a person is told why only one value is printed.
    if (!effective.text.isEmpty() && errorsOnTerminal())
        remark("'" + input.path() + "' gets no value through its connection: " + effective.text +
               ".");
    out.writeData(storedValue(input).view()).endLine();
}

// Tells whether a connection may hide the input's value.
bool isConnected(const SnapshotInput& input) {
    std::vector<SnapshotInput> left{input};
    while (!left.empty()) {
        const SnapshotInput next = left.back();
        left.pop_back();
        if (next.source()) return true;
        for (u64 i = 0; i < next.inputCount(); ++i)
            left.push_back(next.input(i));
    }
    return false;
}

bool mayBeHidden(const Place& place) {
    const SnapshotInput modifiers = place.node["modifiers"];
    const bool hasModifiers =
        modifiers.type() == kelvo_sdk::AttrType::Array && modifiers.inputCount() != 0;
    return hasModifiers || isConnected(place.input);
}

/// Finds a path in the scene as written and, where types or evaluation matter, in live nodes with
/// types.
class Getter {
public:
    explicit Getter(const GetOptions& options) : m_options(options) {}

    [[nodiscard]] Status run(Terminal& out) {
        m_document.takeParts(m_options.isPartial);
        const kelvo_sdk::Snapshot scene = m_document.look(m_options.file);
        if (!scene) return Status::Fault;
        // An input that the text leaves to its type has a value too.
        const Place place = placeAt(scene, m_options.path);
        const bool isPlain =
            place.node && (!place.input || m_options.storedOnly || !mayBeHidden(place));
        const String text = !isPlain       ? String()
                            : !place.input ? place.node.text()
                                           : valueText(place.input);
        if (!m_document.isSound()) return Status::Fault;
        if (!isPlain) return runLive(out);
        out.writeData(text.view());
        if (place.input) out.endLine();
        return m_document.status();
    }

private:
    [[nodiscard]] Status runLive(Terminal& out) {
        const auto scene = Scene::create();
        if (!m_document.makeText() || !m_document.readWithTypes(scene)) return Status::Fault;
        Address address;
        String error;
        if (!findAddress(scene, m_options.path, Append::Refused, address, error)) {
            complain(displayed(m_options.file) + ": " + error);
            return Status::Usage;
        }
        if (address.input.get())
            printInput(address, m_options, out);
        else
            out.writeData(address.node.text().view());
        return m_document.status();
    }

    const GetOptions& m_options;
    Document m_document;
};

Status runGet(const GetOptions& options, Terminal& out) {
    return Getter(options).run(out);
}

} // namespace

void addGet(CommandLine& line) {
    auto [command, options] =
        line.add("get", "Print the value at a path, or a node as text", &runGet);
    command.addNote(getHelp);
    command.addFile(options.file);
    command.add("PATH", options.path, "As node, node.input or node.array[3].member").required();
    command.add("--stored", options.storedOnly, "The value that is stored, and nothing else");
    command.add("--partial", options.isPartial, partialHelp);
}

} // namespace qv::kelvo_tool
