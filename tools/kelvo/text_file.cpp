#include "tools/kelvo/text_file.h"

#include "kelvo/binary/binary_scene.h"
#include "tools/kelvo/binary_text.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/progress_line.h"

#include <filesystem>
#include <optional>
#include <string>

namespace qv::kelvo_tool {

namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

std::string withoutReturns(std::string_view text) {
    std::string lines;
    lines.reserve(text.size());
    for (u64 i = 0; i < text.size(); ++i)
        if (text[i] != '\r' || text.substr(i + 1, 1) != "\n") lines += text[i];
    return lines;
}

u64 countOf(std::string_view text, std::string_view what) noexcept {
    u64 count = 0;
    for (u64 at = text.find(what); at != text.npos; at = text.find(what, at + what.size()))
        ++count;
    return count;
}

} // namespace

bool TextFile::read(const String& path, String& error) {
    return readBytes(path, error) && makeText(error);
}

bool TextFile::readBytes(const String& path, String& error) {
    m_path = path;
    {
        // A pipe or a distant disk may take long. On the standard input, people may be typing.
        std::optional<ProgressLine> line;
        if (!isStream(path)) line.emplace("kelvo: reading " + displayed(path));
        if (!readFile(path, m_bytes, error)) return false;
    }
    m_isBinary = kelvo_sdk::isBinary(m_bytes.view());
    return true;
}

bool TextFile::makeText(String& error) {
    if (m_isBinary) return textOfBinary(m_path, m_bytes, m_text, error);
    std::string_view text = m_bytes.view();
    m_hasMark = text.starts_with(kMark);
    if (m_hasMark) text.remove_prefix(kMark.size());
    const u64 returns = countOf(text, "\r\n");
    m_hasReturns = returns * 2 > countOf(text, "\n");
    m_text = m_bytes;
    if (returns != 0)
        m_text = String(std::string_view(withoutReturns(text)));
    else if (m_hasMark)
        m_text = String(text);
    return true;
}

void TextFile::forget() noexcept {
    m_bytes = String();
    m_text = String();
}

bool TextFile::readToEdit(const String& path, String& error) {
    if (!isStream(path) && !m_lock.take(path, error)) return false;
    return read(path, error);
}

String TextFile::laidOut(std::string_view text) const {
    if (!m_hasMark && !m_hasReturns) return String(text);
    std::string made(m_hasMark ? kMark : std::string_view());
    for (const char c : text) {
        if (c == '\n' && m_hasReturns) made += '\r';
        made += c;
    }
    return String(std::string_view(made));
}

bool TextFile::write(const String& path, std::string_view text, String& error) {
    String bytes;
    if (!bytesFor(path, text, bytes, error)) return false;
    if (!isOwn(path)) return writeFile(path, bytes.view(), error);
    if (!m_lock.isHeld() && !m_lock.take(m_path, error)) return false;
    const bool isWritten = isAsRead(error) && writeFile(path, bytes.view(), error);
    // The lock belongs to the replaced file.
    m_lock.release();
    if (isWritten) m_bytes = bytes;
    return isWritten;
}

bool TextFile::bytesFor(const String& path, std::string_view text, String& bytes,
                        String& error) const {
    if (isBinaryName(path) || (m_isBinary && isOwn(path)))
        return binaryOfText(path, text, false, bytes, error);
    bytes = laidOut(text);
    return true;
}

// Tells whether a path leads to the file that was read.
bool TextFile::isOwn(const String& path) const {
    if (isStream(m_path) || isStream(path)) return false;
    std::error_code ignored;
    return path.equals(m_path) || std::filesystem::equivalent(path.view(), m_path.view(), ignored);
}

bool TextFile::isAsRead(String& error) const {
    // A missing file has nothing to lose, and devices return other bytes at each read.
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(m_path.view(), ignored)) return true;
    String bytes;
    if (!readFile(m_path, bytes, error)) return false;
    if (bytes.equals(m_bytes)) return true;
    error = "cannot write '" + m_path + "': it was changed by someone else since it was read";
    return false;
}

} // namespace qv::kelvo_tool
