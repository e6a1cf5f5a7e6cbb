#include "tools/kelvo/commands.h"

#include "base/log.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::Scene;

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

bool applyAssignment(const Scene& scene, const String& assignment, String& error) {
    const u64 equals = assignment.find('=');
    if (equals == String::npos) {
        error = "'" + assignment + "' is no assignment: expected path=value.";
        return false;
    }
    Address address;
    const String path = assignment.substr(0, equals);
    if (!findAddress(scene, path, Append::Allowed, address, error)) return false;
    if (!address.input.get()) {
        error = "'" + path + "' is a node: expected one of its inputs.";
        return false;
    }
    if (!assign(scene, address.input, assignment.substr(equals + 1), error)) return false;
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
