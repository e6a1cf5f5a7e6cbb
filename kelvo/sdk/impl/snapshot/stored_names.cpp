#include "kelvo/sdk/impl/snapshot/stored_names.h"

namespace qv::kelvo_sdk::impl {

void StoredNames::add(u64 hash, u32 number) {
    const u32 mask = places() - 1;
    u32 place = static_cast<u32>(hash) & mask;
    while (m_places[place].number != 0)
        place = (place + 1) & mask;
    m_places[place] = {static_cast<u32>(hash), number + 1};
}

void StoredNames::write(ByteWriter& out, u32 first, u32 end) const {
    for (u32 i = first; i < end; ++i) {
        out.add(m_places[i].hash);
        out.add(m_places[i].number);
    }
}

StoredNames::Place StoredNames::read(std::span<const std::byte> piece, u32 index) noexcept {
    u32 words[2];
    std::memcpy(words, piece.data() + index * bytesOfPlace, sizeof words);
    return {littleEndian(words[0]), littleEndian(words[1])};
}

} // namespace qv::kelvo_sdk::impl
