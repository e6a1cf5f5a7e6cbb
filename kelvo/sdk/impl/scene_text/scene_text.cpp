#include "kelvo/sdk/scene.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/scene_text/serialize.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk {

String Scene::text() const {
    if (!get()) return {};
    StringIO out;
    impl::serializeScene(impl::implOf(*get()), out);
    return out.take();
}

bool Scene::read(String text, String source, Diagnostics* diagnostics) const {
    return read(std::move(text), std::move(source), ReadOptions(), diagnostics).isRead;
}

ReadReport Scene::read(String text, String source, const ReadOptions& options,
                       Diagnostics* diagnostics) const {
    ReadReport report;
    if (!get()) return report;
    impl::ReadOptions inner;
    inner.source = std::move(source);
    inner.maxErrors = options.maxDiagnostics;
    inner.isPartial = options.isPartial;
    inner.gapCount = &report.gapCount;
    Diagnostics found;
    report.isRead = impl::readScene(impl::implOf(*get()), text.view(), inner, &found);
    for (Diagnostic& error : found) {
        if (diagnostics)
            diagnostics->push_back(std::move(error));
        else
            logError("%s", error.text().buf());
    }
    return report;
}

} // namespace qv::kelvo_sdk
