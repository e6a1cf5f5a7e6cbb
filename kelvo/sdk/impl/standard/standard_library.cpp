#include "kelvo/sdk/impl/standard/standard_library.h"

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_text.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/lib_info.h"

#include <span>

namespace qv::kelvo_sdk {

LibInfo LibInfo::standard() {
    return LibInfo(&impl::standardLibrary());
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

bool keepNothing(interfaces::INode*, void**) {
    return true;
}

} // namespace

// Nodes take all callbacks of a type as one set, so init and free have to be given too.
void addEvaluation(LibInfo& library, const char* type, interfaces::NodeEvalFn eval) {
    interfaces::NodeCallbacks callbacks;
    callbacks.init = keepNothing;
    callbacks.eval = eval;
    callbacks.free = keepNothing;
    library.setCallbacks(type, callbacks);
}

void addStandardCallbacks(LibInfo& library) {
    addConstantCallbacks(library);
    addArithmeticCallbacks(library);
    addRangeCallbacks(library);
    addVectorCallbacks(library);
    addColorCallbacks(library);
    addMatrixCallbacks(library);
    addNoiseCallbacks(library);
    addModifierCallbacks(library);
}

String standardLibraryText() {
    String text;
    for (const char* piece : std::span(standardTextPieces, standardTextPieceCount))
        text = text + piece;
    return text;
}

LibInfo& standardLibrary() {
    static LibInfo& library = *[] {
        auto made = RefersTo<LibInfo>::adopt(new LibInfo);
        addStandardCallbacks(*made);
        made->readDefinitions(standardLibraryText(), "standard.knd");
        return made.detach();
    }();
    return library;
}

} // namespace qv::kelvo_sdk::impl
