// Icons: the output of the filter is harmless, and filtering it again does not change it.
#include "kelvo/sdk/icon.h"
#include "fuzz/targets.h"

#include <string>

namespace qv::fuzz {

namespace {

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

} // namespace

void runIcon(std::string_view input) {
    const String safe = kelvo_sdk::safeSvg(String(input));
    if (safe.isEmpty()) return;
    require(kelvo_sdk::safeSvg(safe) == safe, "the filter leaves what it let through");
    const std::string plain = lowered(safe.view());
    require(plain.starts_with("<svg") && plain.ends_with(">"), "an icon is one element");
    for (const char* refused : {"<script", "<style", "<image", "<use", "<foreignobject", "<a ",
                                "<set", "<animate", "<!doctype", "<!entity", "<![cdata", "<?"})
        require(plain.find(refused) == std::string::npos, "what runs or loads is refused");
}

} // namespace qv::fuzz
