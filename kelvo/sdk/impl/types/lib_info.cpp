#include "kelvo/sdk/impl/types/lib_info.h"

#include "kelvo/sdk/impl/types/knd_builder.h"
#include "kelvo/sdk/impl/types/knd_definition.h"
#include "kelvo/sdk/impl/types/knd_parser.h"
#include "kelvo/sdk/impl/types/knd_writer.h"

#include "kelvo/base/log.h"

#include <iterator>

namespace qv::kelvo_sdk::impl {

using namespace interfaces;

namespace {

constexpr u64 kMostErrors = 20;
constexpr ParseLimits kLimits{.depth = 200, .nodes = 10'000};

void tell(TextErrors& errors, const String& source, Diagnostics* found) {
    if (found) return errors.report(source, *found);
    Diagnostics reported;
    errors.report(source, reported);
    for (const Diagnostic& error : reported)
        logError("%s", error.text().buf());
}

} // namespace

LibInfo::LibInfo() = default;
LibInfo::LibInfo(String kndPath, std::shared_ptr<const void> needs)
    : m_needs(std::move(needs)), m_kndPath(std::move(kndPath)) {}

// Prototypes with other holders outlive the library. Their references to the library are not
// counted, so they are counted here before they are dropped; one more prevents a second deletion.
LibInfo::~LibInfo() {
    m_refCount.fetch_add(static_cast<i32>(m_types.size()) + 1);
    for (const auto& type : m_types)
        type->prototype->initLibInfo(nullptr);
}

void LibInfo::incRef() {
    m_refCount.fetch_add(1);
}

void LibInfo::decRef() {
    if (m_refCount.fetch_sub(1) == 1) delete this;
}

// ---- Types ---------------------------------------------------------------------------------

bool LibInfo::readDefinitions(String text, String source, Diagnostics* found,
                              const LibInfo* basesFrom) {
    TextErrors errors(text.view(), kMostErrors, TextErrors::Subject::Types);
    KndTree tree;
    errors.addFaultyBytes();
    KndParser parser(text.view(), kLimits, tree, errors);
    parser.parse();
    KndChecker checker(tree, *this, basesFrom, errors, text.view(), parser.namesAreMissing());
    checker.check();
    if (!errors.empty()) {
        tell(errors, source, found);
        return false;
    }
    KndBuilder builder(tree, checker, text.view(), source);
    auto types = builder.build();
    SceneComments comments;
    comments.setFile(m_comments.file());
    builder.addComments(comments);
    add(std::move(types), std::move(comments), basesFrom == this ? nullptr : basesFrom);
    return true;
}

// Allocates everything first, so that running out of memory changes nothing.
void LibInfo::add(std::vector<std::unique_ptr<KndDefinition>> types, SceneComments comments,
                  const LibInfo* basesFrom) {
    decltype(m_byName) byName;
    decltype(m_byFoldedName) byFoldedName;
    for (const auto& type : types) {
        byName.emplace(type->name(), type.get());
        byFoldedName.emplace(type->name().toLower(), type.get());
    }
    m_types.reserve(m_types.size() + types.size());
    m_byName.reserve(m_byName.size() + types.size());
    m_byFoldedName.reserve(m_byFoldedName.size() + types.size());
    m_comments.reserveFor(comments);
    const RefersTo<LibInfo> other(const_cast<LibInfo*>(basesFrom));
    if (other && std::ranges::find(m_others, other) == m_others.end()) m_others.push_back(other);

    m_byName.merge(byName);
    m_byFoldedName.merge(byFoldedName);
    m_comments.merge(std::move(comments));
    for (auto& type : types) {
        bind(*type->prototype);
        m_refCount.fetch_sub(1); // Breaks the cycle of references between library and prototype.
        m_types.push_back(std::move(type));
    }
}

void LibInfo::bind(Node& prototype) {
    prototype.initLibInfo(this);
}

const Node* LibInfo::type(u64 index) const noexcept {
    return index < m_types.size() ? m_types[index]->prototype.get() : nullptr;
}

const Node* LibInfo::findType(const String& name) const noexcept {
    const KndDefinition* found = definition(name);
    return found ? found->prototype.get() : nullptr;
}

String LibInfo::definitionText() const {
    StringIO out;
    writeDefinitions(*this, out);
    return out.take();
}

const KndDefinition* LibInfo::definition(const String& name) const noexcept {
    const auto found = m_byName.find(name);
    return found == m_byName.end() ? nullptr : found->second;
}

const KndDefinition* LibInfo::definitionNoCase(const String& name) const {
    const auto found = m_byFoldedName.find(name.toLower());
    return found == m_byFoldedName.end() ? nullptr : found->second;
}

// ---- Callbacks -----------------------------------------------------------------------------

void LibInfo::setCallbacks(String type, const NodeCallbacks& callbacks) {
    m_callbacks.insert_or_assign(type, callbacks);
    for (const auto& known : m_types)
        if (known->prototype->hasType(type)) bind(*known->prototype);
}

NodeInitFn LibInfo::nodeInit(String type) const {
    return callbacks(type).init;
}

NodePrepFn LibInfo::nodePrep(String type) const {
    return callbacks(type).prep;
}

NodeEvalFn LibInfo::nodeEval(String type) const {
    return callbacks(type).eval;
}

NodeModifyFn LibInfo::nodeModify(String type) const {
    return callbacks(type).modify;
}

NodeFreeFn LibInfo::nodeFree(String type) const {
    return callbacks(type).free;
}

NodeChangedFn LibInfo::nodeChanged(String type) const {
    return callbacks(type).changed;
}

const NodeCallbacks& LibInfo::callbacks(const String& type) const noexcept {
    static constexpr NodeCallbacks none;
    const auto found = m_callbacks.find(type);
    if (found != m_callbacks.end()) return found->second;
    if (definition(type)) return none;
    for (const RefersTo<LibInfo>& other : m_others) {
        const NodeCallbacks& theirs = other->callbacks(type);
        if (&theirs != &none) return theirs;
    }
    return none;
}

// ---- Of nodes ------------------------------------------------------------------------------

bool Node::initLibInfo(LibInfo* library) {
    m_libInfo = kelvo_sdk::LibInfo(library);
    if (bindCallbacks(m_type)) return true;
    for (const String& base : std::as_const(m_bases)) {
        if (bindCallbacks(base)) return true;
    }
    return bindCallbacks(m_type);
}

// Nodes are only ever bound to libraries of this class.
LibInfo* Node::library() const noexcept {
    return static_cast<LibInfo*>(m_libInfo.get());
}

} // namespace qv::kelvo_sdk::impl
