#include "kelvo/base/utf8.h"

#include "kelvo/base/word.h"

namespace qv::utf8 {

namespace {

constexpr u64 ones = 0x0101010101010101u;
constexpr u64 highBits = 0x80 * ones;

// Tells whether all eight bytes are in the range from space to '~'.
bool isPlain(u64 word) noexcept {
    const u64 belowSpace = word - ' ' * ones;
    const u64 isDelete = (word ^ (0x7f * ones)) - ones;
    return ((word | belowSpace | isDelete) & highBits) == 0;
}

bool isFaultyAscii(unsigned char c) noexcept {
    return c == 0x7f || (c < ' ' && c != '\t' && c != '\n' && c != '\r');
}

// The range of a sequence's second byte; excludes overlong, surrogate and too large characters.
struct Lead {
    u64 length;
    unsigned char secondFrom;
    unsigned char secondTo;
};

Lead leadOf(unsigned char c) noexcept {
    if (c < 0x80) return {1, 0, 0};
    if (c < 0xc2) return {0, 0, 0};
    if (c < 0xe0) return {2, 0x80, 0xbf};
    if (c < 0xf0) return {3, c == 0xe0 ? u8{0xa0} : u8{0x80}, c == 0xed ? u8{0x9f} : u8{0xbf}};
    if (c < 0xf5) return {4, c == 0xf0 ? u8{0x90} : u8{0x80}, c == 0xf4 ? u8{0x8f} : u8{0xbf}};
    return {0, 0, 0};
}

} // namespace

u64 sequenceLength(std::string_view text) noexcept {
    if (text.empty()) return 0;
    const Lead lead = leadOf(static_cast<unsigned char>(text[0]));
    if (lead.length < 2) return lead.length;
    if (text.size() < lead.length) return 0;
    const auto second = static_cast<unsigned char>(text[1]);
    if (second < lead.secondFrom || second > lead.secondTo) return 0;
    for (u64 i = 2; i < lead.length; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xc0) != 0x80) return 0;
    return lead.length;
}

u64 firstFault(std::string_view text, u64 from) noexcept {
    u64 at = from;
    while (at < text.size()) {
        while (at + 8 <= text.size() && isPlain(word::load64(text.data() + at)))
            at += 8;
        if (at == text.size()) break;
        const auto c = static_cast<unsigned char>(text[at]);
        if (c < 0x80) {
            if (isFaultyAscii(c)) return at;
            ++at;
            continue;
        }
        const u64 length = sequenceLength(text.substr(at));
        if (length == 0) return at;
        at += length;
    }
    return at;
}

} // namespace qv::utf8
