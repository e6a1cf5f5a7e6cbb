#include "tools/kelvo/fitted_line.h"

#include "tools/kelvo/text_columns.h"

#include <algorithm>
#include <string_view>

namespace qv::kelvo_tool {

namespace {

// A shorter part of a value would be useless.
constexpr u64 leastValue = 12;
constexpr u64 furtherIn = 4;
// A piece that starts this far right is a column of its own: its lines align with its start.
constexpr u64 columnIndent = 16;

std::string_view startOf(Tone tone) {
    switch (tone) {
    case Tone::Name:
        return "\x1b[1m";
    case Tone::Kind:
        return "\x1b[36m";
    case Tone::Value:
        return "\x1b[32m";
    case Tone::Note:
        return "\x1b[2m";
    case Tone::Error:
        return "\x1b[1;31m";
    case Tone::Warning:
        return "\x1b[1;33m";
    default:
        return {};
    }
}

u64 columnsOfAll(const std::vector<LinePiece>& pieces) {
    u64 columns = 0;
    for (const LinePiece& piece : pieces)
        columns += columnsOf(piece.text);
    return columns;
}

// Returns the length to which values have to be cut so that all fit into `room`.
u64 mostOfEach(std::vector<u64> lengths, u64 room) {
    std::ranges::sort(lengths);
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        const u64 share = room / (lengths.size() - i);
        if (lengths[i] > share) return share;
        room -= lengths[i];
    }
    return room;
}

void shorten(std::string& text, u64 columns) {
    text.resize(bytesWithin(text, columns - 1));
    text += "…";
}

void shortenValues(std::vector<LinePiece>& pieces, u64 width) {
    std::vector<u64> lengths;
    u64 others = 0;
    for (const LinePiece& piece : pieces)
        if (const u64 columns = columnsOf(piece.text); piece.tone == Tone::Value)
            lengths.push_back(columns);
        else
            others += columns;
    if (lengths.empty()) return;
    const u64 room = width - std::min(others, width);
    const u64 most = std::max(mostOfEach(std::move(lengths), room), leastValue);
    for (LinePiece& piece : pieces)
        if (piece.tone == Tone::Value && columnsOf(piece.text) > most) shorten(piece.text, most);
}

/// The end of a line, and the start of the next one in the text.
struct Break {
    std::size_t end;
    std::size_t next;
};

/// Finds the line breaks for a long line.
class Breaks {
public:
    Breaks(std::string_view text, u64 width, bool isProse) : m_text(text), m_width(width) {
        m_leading = std::min(text.find_first_not_of(" │├└─"), text.size());
        m_hang = std::min(hang(isProse), width / 2);
        findAll();
    }

    [[nodiscard]] const std::vector<Break>& all() const noexcept { return m_all; }
    /// Returns the indent of all lines but the first.
    [[nodiscard]] u64 indent() const noexcept { return m_hang; }

private:
    // The lines of a table's last column align with its start if that is in the first half.
    [[nodiscard]] u64 hang(bool isProse) const {
        const u64 leading = columnsOf(m_text.substr(0, m_leading));
        u64 found = 0;
        std::size_t gap = m_text.find("  ", m_leading);
        while (gap != std::string_view::npos) {
            const std::size_t word = m_text.find_first_not_of(' ', gap);
            if (word == std::string_view::npos) break;
            const u64 column = columnsOf(m_text.substr(0, word));
            if (column > m_width / 2) break;
            found = column;
            gap = m_text.find("  ", word);
        }
        if (found != 0) return found;
        if (isProse || leading >= columnIndent) return leading;
        return leading + furtherIn;
    }

    void findAll() {
        std::size_t start = 0;
        u64 room = m_width;
        for (;;) {
            const std::size_t fit =
                std::max<std::size_t>(bytesWithin(m_text.substr(start), room), 1);
            if (start + fit >= m_text.size()) return;
            m_all.push_back(breakAt(std::max(start, m_leading), start + fit));
            start = m_all.back().next;
            room = m_width - m_hang;
        }
    }

    // A word longer than a line is cut at the end of the line.
    [[nodiscard]] Break breakAt(std::size_t start, std::size_t most) const {
        const std::size_t found = m_text.substr(start, most + 1 - start).rfind(' ');
        if (found == std::string_view::npos || found == 0) return {most, most};
        const std::size_t blank = start + found;
        const std::size_t end = m_text.find_last_not_of(' ', blank);
        const std::size_t next = m_text.find_first_not_of(' ', blank);
        return {end + 1, std::min(next, m_text.size())};
    }

    std::string_view m_text;
    u64 m_width;
    std::size_t m_leading = 0;
    u64 m_hang = 0;
    std::vector<Break> m_all;
};

void appendToned(StringIO& out, Tone tone, std::string_view text, bool isColored) {
    if (text.empty()) return;
    const std::string_view start = isColored ? startOf(tone) : std::string_view();
    out.append(start).append(text);
    if (!start.empty()) out.append("\x1b[0m");
}

void appendWrapped(StringIO& out, const std::vector<LinePiece>& pieces, const StreamLook& look) {
    std::string text;
    for (const LinePiece& piece : pieces)
        text += piece.text;
    const Breaks breaks(text, look.width, pieces.size() == 1);
    auto next = breaks.all().begin();
    std::size_t at = 0;
    std::size_t pieceEnd = 0;
    for (const LinePiece& piece : pieces) {
        pieceEnd += piece.text.size();
        while (next != breaks.all().end() && next->end <= pieceEnd) {
            if (next->end > at)
                appendToned(out, piece.tone, std::string_view(text).substr(at, next->end - at),
                            look.isColored);
            out.append('\n').appendRepeated(' ', breaks.indent());
            at = next++->next;
        }
        if (at >= pieceEnd) continue;
        appendToned(out, piece.tone, std::string_view(text).substr(at, pieceEnd - at),
                    look.isColored);
        at = pieceEnd;
    }
}

} // namespace

void appendFitted(StringIO& out, std::vector<LinePiece> pieces, const StreamLook& look) {
    const auto isTooLong = [&] { return look.isTerminal() && columnsOfAll(pieces) > look.width; };
    if (isTooLong()) shortenValues(pieces, look.width);
    if (isTooLong()) return appendWrapped(out, pieces, look);
    for (const LinePiece& piece : pieces)
        appendToned(out, piece.tone, piece.text, look.isColored);
}

} // namespace qv::kelvo_tool
