// Feeds arbitrary bytes to the reader of definition text. What it takes must be written, read and
// written again with the same bytes, and give nodes that scene text brings back; what it refuses
// must leave the library empty.

#include "sdk/impl/lib_info.h"
#include "sdk/impl/node.h"
#include "sdk/kelvo.h"

#include <cstdint>
#include <cstdlib>

namespace {

using Library = qv::RefersTo<qv::kelvo_sdk::impl::LibInfo>;

bool read(const Library& library, const qv::String& text) {
    qv::kelvo_sdk::Diagnostics errors;
    const bool isRead = library->readDefinitions(text, "fuzz", &errors);
    if (isRead != errors.empty()) std::abort();
    if (!isRead && library->typeCount() != 0) std::abort();
    return isRead;
}

qv::kelvo_sdk::Scene sceneWith(const Library& library) {
    const auto scene = qv::kelvo_sdk::Scene::create();
    if (!scene.addLibrary(qv::kelvo_sdk::LibInfo(library.get()))) std::abort();
    return scene;
}

void checkNodes(const Library& library) {
    const auto scene = sceneWith(library);
    for (qv::u64 i = 0; i < library->typeCount() && i < 100; ++i)
        if (!library->type(i)->isAbstract() && !scene.createNode(library->type(i)->type(), "n"))
            std::abort();
    const auto again = sceneWith(library);
    qv::kelvo_sdk::Diagnostics errors;
    if (!again.read(scene.text(), "fuzz", &errors) || !(again.text() == scene.text())) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto library = Library::adopt(new qv::kelvo_sdk::impl::LibInfo);
    if (!read(library, qv::String(std::string_view(reinterpret_cast<const char*>(data), size))))
        return 0;
    const auto again = Library::adopt(new qv::kelvo_sdk::impl::LibInfo);
    if (!read(again, library->definitionText()) ||
        !(again->definitionText() == library->definitionText()))
        std::abort();
    checkNodes(library);
    return 0;
}
