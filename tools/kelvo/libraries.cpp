#include "tools/kelvo/libraries.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/plugins/plugins.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/message.h"

#include <algorithm>
#include <unordered_set>

namespace qv::kelvo_tool {

using kelvo_sdk::AttrType;
using kelvo_sdk::LibInfo;
using kelvo_sdk::interfaces::INode;

LibraryOptions& libraryOptions() {
    static LibraryOptions options;
    return options;
}

void addLibraryArguments(CommandLine& line) {
    LibraryOptions& options = libraryOptions();
    line.addCommon("--plugin", options.plugins,
                   "Node library to load besides those in the folders of KELVO_PLUGIN_PATH:\n"
                   "a shared object, a folder of such, or a name; may be repeated")
        .oneEach();
    line.addCommon("--library", options.definitions,
                   "Definition text with more node types, based on standard ones or\n"
                   "on those of texts before; may be repeated")
        .oneEach();
}

const Libraries* librariesInUse() {
    static Libraries libraries;
    static const bool isComplete = libraries.load(libraryOptions());
    return isComplete ? &libraries : nullptr;
}

bool addDerivedTypes(const StringVector& types, StringVector& all) {
    all = types;
    if (types.isEmpty()) return true;
    const Libraries* libraries = librariesInUse();
    if (!libraries) return false;
    for (const INode* type : libraries->types())
        if (type->isTypeOf(types) && !types.contains(type->type(), false))
            all.push_back(type->type());
    return true;
}

bool readLibrary(const String& file, const LibInfo& library) {
    String text;
    String error;
    if (!readFile(file, text, error)) {
        complain(error);
        return false;
    }
    kelvo_sdk::Diagnostics found;
    if (library.readDefinitions(text, displayed(file), &found, LibInfo::standard())) return true;
    for (const kelvo_sdk::Diagnostic& diagnostic : found)
        complain(diagnostic.text());
    return false;
}

bool Libraries::load(const LibraryOptions& options) {
    bool isComplete = readDefinitions(options.definitions);
    isComplete = loadPlugins(options.plugins) && isComplete;
    m_all.push_back({"standard", LibInfo::standard()});
    return isComplete;
}

// The callbacks of the standard library keep nodes as they are.
bool Libraries::mayChangeNodes() const {
    const LibInfo standard = LibInfo::standard();
    return std::ranges::any_of(types(), [&](const INode* type) {
        const String name = type->type();
        return std::ranges::any_of(m_all, [&](const NamedLibrary& each) {
            const auto init = each.library.nodeInit(name);
            return (init && init != standard.nodeInit(name)) || each.library.nodeChanged(name);
        });
    });
}

bool Libraries::readDefinitions(const StringVector& files) {
    if (files.empty()) return true;
    const LibInfo library = LibInfo::create();
    bool isComplete = true;
    for (const String& file : files)
        isComplete = readLibrary(file, library) && isComplete;
    m_all.push_back({files[0], library});
    return isComplete;
}

bool Libraries::loadPlugins(const StringVector& paths) {
    using kelvo_plugins::Origin;
    bool isComplete = true;
    const auto tell = [&](const String& message, Origin origin) {
        if (origin == Origin::Environment) return warn(message);
        complain(message);
        isComplete = false;
    };
    const std::vector<String> asked(paths.begin(), paths.end());
    for (kelvo_plugins::Plugin& plugin : kelvo_plugins::loadPlugins(asked, tell))
        m_all.push_back({std::move(plugin.name), std::move(plugin.library)});
    return isComplete;
}

void Libraries::addTo(const kelvo_sdk::Scene& scene) const {
    for (const NamedLibrary& known : m_all)
        (void)scene.addLibrary(known.library); // It may have it already.
}

std::vector<const INode*> Libraries::types() const {
    std::vector<const INode*> found;
    std::unordered_set<String> names;
    for (const NamedLibrary& known : m_all)
        for (u64 i = 0; i < known.library.typeCount(); ++i)
            if (const INode* type = known.library.type(i).get(); names.insert(type->type()).second)
                found.push_back(type);
    return found;
}

const INode* Libraries::lookUpType(const String& name) const noexcept {
    for (const NamedLibrary& known : m_all)
        if (const INode* type = known.library.findType(name).get()) return type;
    return nullptr;
}

const kelvo_sdk::interfaces::IInput* Libraries::lookUpInput(const String& type,
                                                            const String& name) const {
    const INode* known = lookUpType(type);
    return known && known->hasInput(name, AttrType::Null) ? known->input(name) : nullptr;
}

const kelvo_sdk::interfaces::IOutput* Libraries::lookUpOutput(const String& type,
                                                              const String& name) const {
    const INode* known = lookUpType(type);
    return known && known->hasOutput(name, AttrType::Null) ? known->output(name) : nullptr;
}

StringVector Libraries::basesOf(const String& type) const {
    const INode* known = lookUpType(type);
    return known ? known->bases() : StringVector();
}

String Libraries::iconOf(const String& type) const {
    if (const INode* known = lookUpType(type)) return known->svgIcon(false);
    return kelvo_sdk::Scene::create().createNode(type, "unknown")->svgIcon(false);
}

bool Libraries::defines(const kelvo_sdk::interfaces::IInput& input) const {
    const kelvo_sdk::interfaces::IInput* top = &input;
    while (top->parent())
        top = top->parent();
    const INode* type = top->node() ? lookUpType(top->node()->type()) : nullptr;
    return type && type->hasInput(top->name(), top->type());
}

bool Libraries::mayDefine(const kelvo_sdk::interfaces::IOutput& output) const {
    const INode* type = output.node() ? lookUpType(output.node()->type()) : nullptr;
    return !type || type->hasOutput(output.name(), output.type());
}

const INode* Libraries::findType(const String& name) const {
    if (const INode* type = lookUpType(name)) return type;
    // `near` keeps views of these names until it answers.
    std::vector<String> names;
    for (const INode* type : types())
        names.push_back(type->type());
    SpellingSuggestion near(name.view());
    for (const String& known : names)
        near.offer(known.view());
    complain("no node type '" + name + "'" + near.question());
    return nullptr;
}

} // namespace qv::kelvo_tool
