#include "tools/kelvo/commands.h"

#include "base/log.h"
#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/path_parser.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::Scene;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

struct SetOptions {
    String file;
    /// Each "path=value".
    StringVector assignments;
    /// Empty: the file itself.
    String outFile;
};

/// Keeps what the library says while it lives: the reason why it refuses something.
class Reason {
public:
    Reason() : m_before(setLogHandler(&keep, this)) {}
    ~Reason() { setLogHandler(m_before.handler, m_before.user); }
    Reason(const Reason&) = delete;
    Reason& operator=(const Reason&) = delete;

    [[nodiscard]] const String& text() const noexcept { return m_text; }

private:
    static void keep(LogLevel, const char* message, void* self) {
        static_cast<Reason*>(self)->m_text = message;
    }

    String m_text;
    LogSink m_before;
};

bool link(const Scene& scene, const Input& input, const String& name, String& error) {
    if (input.setString(name)) return true;
    error = "cannot link '" + input.path() + "': " + noSuchNode(scene, name);
    return false;
}

bool assign(const Scene& scene, const Input& input, const String& value, String& error) {
    const AttrType type = input.type();
    if (type == AttrType::Array || type == AttrType::Object || type == AttrType::Null) {
        error = "'" + input.path() + "' is of kind " + input->typeName() +
                ", which takes no value" + (type == AttrType::Null ? "." : ": set what it holds.");
        return false;
    }
    if (type == AttrType::Node) return link(scene, input, value, error);
    const Reason reason;
    if (input.setString(value)) return true;
    error = reason.text();
    if (error.isEmpty())
        error = "cannot set '" + input.path() + "': '" + value + "' is no value of kind " +
                input->typeName() + ".";
    return false;
}

using kelvo_sdk::impl::Node;

// The definition of an input that the text of the scene leaves to the type of its node; null for
// others.
const IInput* leftOutInput(const Scene& scene, const String& path) {
    const auto steps = kelvo_sdk::PathParser::parsePath(path);
    if (steps.size() < 2 || steps[1].index != -1) return nullptr;
    const kelvo_sdk::Node node = scene.findNode(steps[0].text);
    const Libraries* libraries = node.get() ? librariesInUse() : nullptr;
    const Node* type = libraries ? libraries->lookUpType(node->type()) : nullptr;
    if (!type || node->hasInput(steps[1].text, AttrType::Null)) return nullptr;
    return type->lookUpInput(steps[1].text);
}

// The type refuses values where the text says nothing.
bool typeAccepts(const Scene& scene, const INode& node, const Input& like, const String& value,
                 String& error) {
    const auto copy =
        RefersTo<Node>::adopt(static_cast<const Node*>(like->node())->clone(nullptr, node.name()));
    const AttrType type = like.type();
    return type == AttrType::Node || type == AttrType::Array ||
           assign(scene, Input(copy->lookUpInput(like.name())), value, error);
}

// Adds the input bare: what else there is to say of it stays with the type.
void addInput(Node& node, const IInput& like) {
    kelvo_sdk::impl::AttrData data(like.type());
    data.elementType = like.elementType();
    data.dataType = like.dataType();
    node.createInput(like.name(), std::move(data));
}

bool findInput(const Scene& scene, const String& path, const String& value, Address& address,
               String& error) {
    if (const IInput* like = leftOutInput(scene, path)) {
        const kelvo_sdk::Node node = scene.findNode(path.substr(0, path.find('.')));
        const Input definition(const_cast<IInput*>(like));
        if (definition.inputCount() != 0) {
            error = "'" + node.name() + "." + like->name() +
                    "' is left to the type of its node, with what it holds: write it into the "
                    "scene first.";
            return false;
        }
        if (!typeAccepts(scene, *node.get(), definition, value, error)) return false;
        addInput(static_cast<Node&>(*node.get()), *like);
    }
    return findAddress(scene, path, Append::Allowed, address, error);
}

bool applyAssignment(const Scene& scene, const String& assignment, String& error) {
    const u64 equals = assignment.find('=');
    if (equals == String::npos) {
        error = "'" + assignment + "' is no assignment: expected path=value.";
        return false;
    }
    Address address;
    const String path = assignment.substr(0, equals);
    const String value = assignment.substr(equals + 1);
    if (!findInput(scene, path, value, address, error)) return false;
    if (!address.input.get()) {
        error = "'" + path + "' is a node: expected one of its inputs.";
        return false;
    }
    if (!assign(scene, address.input, value, error)) return false;
    if (address.input.source().get())
        warn("'" + address.input.path() + "' is connected to '" + address.input.source().path() +
             "', which hides the value.");
    return true;
}

Status runSet(const SetOptions& options, Terminal& out) {
    const Scene scene = Scene::create();
    if (!loadScene(options.file, scene)) return Status::Fault;
    bool allSet = true;
    for (const String& assignment : options.assignments) {
        String error;
        if (applyAssignment(scene, assignment, error)) continue;
        complain(displayed(options.file) + ": " + error);
        allSet = false;
    }
    if (!allSet) return Status::Usage;
    const String& target = options.outFile.isEmpty() ? options.file : options.outFile;
    return saveScene(scene, target, out) ? Status::Ok : Status::Fault;
}

} // namespace

void addSet(CommandLine& line) {
    auto [command, options] =
        line.add("set", "Set values, all or none, and write the scene", &runSet);
    command.addFile(options.file);
    command
        .add("PATH=VALUE", options.assignments,
             "Texts without quotes, a node by its name (nothing: no node);\n"
             "array[+] adds an element")
        .required();
    command.add("-o", options.outFile, "Where to write, FILE itself by default");
}

} // namespace qv::kelvo_tool
