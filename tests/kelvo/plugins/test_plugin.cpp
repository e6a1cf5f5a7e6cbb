// A plug-in that is built in several ways, most of them wrong; the macro WAY selects one.
#include "kelvo/kelvo.h"
#include "kelvo/sdk/callback_table.h"
#include "kelvo/sdk/library_entry.h"

#include <atomic>
#include <stdexcept>

namespace {

using namespace qv::kelvo_sdk;
using namespace qv::kelvo_sdk::interfaces;

// The ways to build it; 0 is the correct one.
constexpr int wrongVersion = 1, throwingEntry = 2, nullEntry = 3, nullLibrary = 4,
              throwingLibrary = 5, otherCore = 6, noCreate = 7, throwingPath = 8, inText = 9,
              brokenText = 10, throwingLookUp = 11, throwingEval = 12;

std::atomic<int> s_alive = 0;

bool init(INode*, void** data) {
    ++s_alive;
    *data = &s_alive;
    return true;
}
bool eval(EvalCtx* ctx, void* out) {
    if (WAY == throwingEval) throw std::runtime_error("no value today");
    *static_cast<double*>(out) = 2 * Node(ctx->node())["x"].get<double>();
    return true;
}
bool detach(INode*, void** data) {
    --s_alive;
    *data = nullptr;
    return true;
}

// A library that fails in its own code, where a callback table cannot.
class Library : public ILibInfo {
public:
    void incRef() override { ++m_count; }
    void decRef() override {
        if (--m_count == 0) delete this;
    }
    NodeInitFn nodeInit(qv::String) const override { throw std::runtime_error("no init today"); }
    NodePrepFn nodePrep(qv::String) const override { throw 1; }
    NodeEvalFn nodeEval(qv::String) const override { return &eval; }
    NodeModifyFn nodeModify(qv::String) const override { return nullptr; }
    NodeFreeFn nodeFree(qv::String) const override { return nullptr; }
    NodeChangedFn nodeChanged(qv::String) const override { return nullptr; }
    qv::String kndPath() const override {
        if (WAY == throwingPath) throw std::runtime_error("no path today");
        return "twice.knd";
    }

private:
    int m_count = 1;
};

ILibInfo* createLibrary() {
    if (WAY == nullLibrary) return nullptr;
    if (WAY == throwingLibrary) throw std::runtime_error("no library today");
    if (WAY == throwingPath || WAY == throwingLookUp) return new Library;
    auto* library = new CallbackTable;
    library->set("twice", {.init = &init, .eval = &eval, .free = &detach});
    return library;
}

qv::i64 foreignCore() {
    return 0;
}

LibraryEntry makeEntry() {
    LibraryEntry entry = libraryEntry(&createLibrary);
    if (WAY == wrongVersion) entry.interfaceVersion = 4711;
    if (WAY == otherCore) entry.core = &foreignCore;
    if (WAY == noCreate) entry.create = nullptr;
    if (WAY == inText || WAY == throwingEval)
        entry.definitions = "type twice {\n Real x = 1\n output Real out\n }";
    if (WAY == brokenText) entry.definitions = "type twice { Raal x = 1\n Real x }";
    return entry;
}

} // namespace

extern "C" KELVO_LIBRARY_EXPORT const LibraryEntry* kelvo_library() {
    static const LibraryEntry entry = makeEntry();
    if (WAY == throwingEntry) throw std::runtime_error("no entry today");
    return WAY == nullEntry ? nullptr : &entry;
}
