#pragma once

#include "kelvo/sdk/interfaces/i_layout.h"

#include <functional>

namespace qv::tests {

/// A layout owned by the test, which counts the references to it.
class CountingLayout : public kelvo_sdk::interfaces::ILayout {
public:
    void incRef() override { ++count; }
    void decRef() override {
        --count;
        if (whenDropped) whenDropped();
    }

    int count = 0;
    std::function<void()> whenDropped;
};

} // namespace qv::tests
