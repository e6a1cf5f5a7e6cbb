// Reads icons separated by '\0' from the standard input and writes the filtered icons, separated in
// the same way, for safe_svg_browser_test.py.

#include "kelvo/sdk/icon.h"

#include <cstdio>
#include <iostream>
#include <string>

int main() {
    for (std::string icon; std::getline(std::cin, icon, '\0');) {
        const qv::String safe = qv::kelvo_sdk::safeSvg(icon.c_str());
        if (std::fwrite(safe.buf(), 1, safe.size() + 1, stdout) != safe.size() + 1) return 1;
    }
    return 0;
}
