// A node library as a plug-in: two types that move a value in time.
#include "kelvo/kelvo.h"
#include "kelvo/sdk/callback_table.h"
#include "kelvo/sdk/library_entry.h"

#include <array>
#include <cmath>
#include <new>
#include <random>

namespace {

using namespace qv::kelvo_sdk;
using namespace qv::kelvo_sdk::interfaces;

// Reads with the context, so that connections are evaluated on behalf of this output.
double real(EvalCtx* ctx, const char* name) {
    double value = 0;
    (void)Node(ctx->node())[name].read(value, ctx); // Without one it is 0.
    return value;
}

// ---- spring: a value that swings and comes to rest -------------------------------------------

bool evalSpring(EvalCtx* ctx, void* out) {
    const double mass = real(ctx, "mass");
    if (mass <= 0) return false;
    const double time = real(ctx, "time"), speed = std::sqrt(real(ctx, "stiffness") / mass);
    *static_cast<double*>(out) =
        real(ctx, "offset") * std::exp(-real(ctx, "damping") * time) * std::cos(speed * time);
    return true;
}

// ---- jitter: the same random walk on every run, kept as the node's own data --------------------

using Walk = std::array<double, 256>;

bool initJitter(INode*, void** data) {
    auto* walk = new (std::nothrow) Walk;
    if (!walk) return false;
    std::minstd_rand random(1);
    for (double& step : *walk)
        step = static_cast<double>(random() % 2001) / 1000 - 1;
    *data = walk;
    return true;
}

bool evalJitter(EvalCtx* ctx, void* out) {
    const auto* walk = static_cast<const Walk*>(ctx->node()->data());
    const double time = real(ctx, "time") * real(ctx, "rate");
    if (!walk || !std::isfinite(time)) return false;
    const double size = static_cast<double>(walk->size());
    const auto step = static_cast<std::size_t>(time - size * std::floor(time / size));
    *static_cast<double*>(out) = real(ctx, "strength") * (*walk)[step % walk->size()];
    return true;
}

bool freeJitter(INode*, void** data) {
    delete static_cast<Walk*>(*data);
    *data = nullptr;
    return true;
}

// ---- the library ----------------------------------------------------------------------------

ILibInfo* createLibrary() {
    auto* library = new CallbackTable("springs.knd");
    library->set("spring", {.eval = &evalSpring});
    library->set("jitter", {.init = &initJitter, .eval = &evalJitter, .free = &freeJitter});
    return library;
}

} // namespace

extern "C" KELVO_LIBRARY_EXPORT const LibraryEntry* kelvo_library() {
    static const LibraryEntry entry = libraryEntry(&createLibrary);
    return &entry;
}
