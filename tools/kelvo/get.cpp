#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/evaluation.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/value_summary.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Scene;

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

// Whether there may be more to an input than the text says by itself.
bool mayBeHidden(const Address& address) {
    const kelvo_sdk::Node& node = address.node;
    const bool hasModifiers = node.hasInput("modifiers", kelvo_sdk::AttrType::Array) &&
                              node["modifiers"].inputCount() != 0;
    return hasModifiers || isHidden(address.input);
}

void printBoth(const kelvo_sdk::Input& input, const String& effective, Terminal& out) {
    out.write("stored: ").writeData(storedValue(input).view()).endLine();
    out.write("effective: ").writeData(effective.view()).endLine();
}

void printInput(const Address& address, const GetOptions& options, Terminal& out) {
    const kelvo_sdk::Input& input = address.input;
    const Evaluation effective =
        options.storedOnly || !isHidden(input) ? Evaluation() : evaluateWhole(input);
    if (effective.hasValue) return printBoth(input, effective.text, out);
    // Scripts know how to ask; a person sees why there is one value alone.
    if (!effective.text.isEmpty() && errorsOnTerminal())
        remark("'" + input.path() + "' gets no value through its connection: " + effective.text +
               ".");
    out.writeData(storedValue(input).view()).endLine();
}

/// Looks a path up in the text as it stands, and with the types of its nodes where that tells more.
class Getter {
public:
    explicit Getter(const GetOptions& options) : m_options(options) {}

    [[nodiscard]] Status run(Terminal& out) {
        m_document.takeParts(m_options.isPartial);
        if (!m_document.open(m_options.file)) return Status::Fault;
        auto scene = Scene::create();
        if (!m_document.read(scene)) return Status::Fault;
        // An input that the text leaves to its type has a value all the same.
        const bool isFound = find(scene);
        const bool isPlain =
            isFound && (!m_address.input.get() || m_options.storedOnly || !mayBeHidden(m_address));
        if (!isPlain) {
            scene = Scene::create();
            if (!m_document.readWithTypes(scene)) return Status::Fault;
            if (!find(scene)) {
                complain(displayed(m_options.file) + ": " + m_error);
                return Status::Usage;
            }
        }
        print(out);
        return m_document.status();
    }

private:
    [[nodiscard]] bool find(const Scene& scene) {
        m_address = {};
        return findAddress(scene, m_options.path, Append::Refused, m_address, m_error);
    }

    void print(Terminal& out) const {
        if (m_address.input.get())
            printInput(m_address, m_options, out);
        else
            out.writeData(m_address.node.text().view());
    }

    const GetOptions& m_options;
    Document m_document;
    Address m_address;
    String m_error;
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
