// The public functions that read and write scene text.

#include "kelvo/sdk/scene.h"

#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/news_hold.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/scene_text/serialize.h"

#include "kelvo/base/log.h"

#include <new>

namespace qv::kelvo_sdk {

namespace {

void logAll(const Diagnostics& found) {
    for (const Diagnostic& error : found) {
        try {
            logError("%s", error.text().buf());
        } catch (const std::bad_alloc&) {
            impl::logNoMemory("Errors in a text are not told: there is no memory for it.");
        }
    }
}

} // namespace

String Scene::text() const {
    return text(WriteOptions());
}

String Scene::text(const WriteOptions& options) const {
    if (!get()) return {};
    StringIO out;
    impl::serializeScene(impl::implOf(*get()), out, options.threads);
    return out.take();
}

Result Scene::read(String text, String source, Diagnostics* diagnostics) const {
    return read(std::move(text), std::move(source), ReadOptions(), diagnostics).isRead;
}

ReadReport Scene::read(String text, String source, const ReadOptions& options,
                       Diagnostics* diagnostics) const {
    if (!get()) return {impl::emptyHandle("scene")};
    ReadReport report{Result()};
    impl::ReadOptions inner;
    inner.source = std::move(source);
    inner.maxErrors = options.maxDiagnostics;
    inner.isPartial = options.isPartial;
    inner.threads = options.threads;
    inner.gapCount = &report.gapCount;
    // Collects the diagnostics first: once the nodes exist, reporting must not need memory.
    Diagnostics found = diagnostics ? *diagnostics : Diagnostics();
    const u64 before = found.size();
    if (!impl::readScene(impl::implOf(*get()), text.view(), inner, &found))
        report.isRead = Result::failure(found[before].text());
    if (diagnostics)
        diagnostics->swap(found);
    else
        logAll(found);
    return report;
}

} // namespace qv::kelvo_sdk
