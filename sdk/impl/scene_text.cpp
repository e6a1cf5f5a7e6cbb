#include "sdk/scene.h"

#include "sdk/impl/scene.h"
#include "sdk/impl/scene_reader.h"
#include "sdk/impl/serialize.h"

#include "base/log.h"

namespace qv::kelvo_sdk {

String Scene::text() const {
    if (!get()) return {};
    StringIO out;
    impl::serializeScene(static_cast<const impl::Scene&>(*get()), out);
    return out.take();
}

bool Scene::read(String text, String source, Diagnostics* diagnostics) const {
    if (!get()) return false;
    impl::ReadOptions options;
    options.source = std::move(source);
    Diagnostics found;
    if (impl::readScene(static_cast<impl::Scene&>(*get()), text.view(), options, &found))
        return true;
    for (Diagnostic& error : found) {
        if (diagnostics)
            diagnostics->push_back(std::move(error));
        else
            logError("%s", error.text().buf());
    }
    return false;
}

} // namespace qv::kelvo_sdk
