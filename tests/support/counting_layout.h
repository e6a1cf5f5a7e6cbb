#pragma once

#include "kelvo/sdk/interfaces/i_layout.h"

#include <functional>

namespace qv::tests {

/// A layout that lives in the test and tells how many references are held on it.
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
