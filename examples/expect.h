#pragma once

#include "kelvo/kelvo.h"

#include <cstdio>
#include <cstdlib>

/// Ends an example that cannot go on, and says why.
inline void expect(const qv::kelvo_sdk::Result& result) {
    if (result) return;
    std::fprintf(stderr, "%s\n", result.message().buf());
    std::exit(1);
}
