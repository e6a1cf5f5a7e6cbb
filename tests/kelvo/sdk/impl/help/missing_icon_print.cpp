// Writes the missing icon to the standard output, for missing_icon_test.py.

#include "kelvo/sdk/impl/graph/node.h"

#include <cstdio>

int main() {
    const qv::String icon = qv::kelvo_sdk::impl::Node().svgIcon(false);
    return std::fwrite(icon.buf(), 1, icon.size(), stdout) == icon.size() ? 0 : 1;
}
