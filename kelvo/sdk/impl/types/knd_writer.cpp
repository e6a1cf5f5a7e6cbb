#include "kelvo/sdk/impl/types/knd_writer.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/scene_text/scene_writer.h"
#include "kelvo/sdk/impl/text/text_lexer.h"
#include "kelvo/sdk/impl/types/knd_definition.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/impl/value/value_text.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Tells whether a text of several lines reads back unchanged when it is written raw.
bool canStandRaw(std::string_view text) {
    if (text.find('\n') == std::string_view::npos || utf8::firstFault(text) != text.size() ||
        text.find(rawMark) != std::string_view::npos || text.find('\r') != std::string_view::npos)
        return false;
    const String framed = String(rawMark) + "\n" + String(text) + "\n" + String(rawMark);
    String read;
    return TextLexer(framed.view()).raw(read) && read.view() == text;
}

class KndWriter {
public:
    KndWriter(const LibInfo& library, StringIO& out)
        : m_out(out),
          m_comments(library.comments()),
          m_attributes(LiveText(library.comments()), out),
          m_lines(m_attributes.lines()) {
        m_attributes.writeDefinitions();
    }

    void writeHeader(bool isEmpty, std::string_view behind) {
        const Comments& file = m_comments.file();
        m_lines.writeLines(file.leading.view(), 0);
        m_out.append("kelvo types 1");
        m_lines.endLine(file.opening.view());
        // Adds a blank line, unless the following text starts with one.
        if (!isEmpty && !behind.starts_with('\n')) m_out.append('\n');
    }

    void writeType(const KndDefinition& type) {
        const Node& node = *type.prototype;
        const Comments* comments = m_comments.find(&node);
        m_lines.writeLines(partOf(comments, &Comments::leading), 0);
        writeHead(type);
        m_lines.writeOpening(partOf(comments, &Comments::opening));
        for (const KndText& label : type.labels)
            writeText("label", label, true);
        for (const KndText& help : type.helps)
            writeText("help", help, true);
        if (type.hasIcon) writeText("icon", type.icon, false);
        for (u64 i = type.inheritedInputs; i < node.inputs().size(); ++i)
            m_attributes.writeInput(implOf(node.inputs()[i]), 1, false);
        for (u64 i = type.inheritedOutputs; i < node.outputs().size(); ++i)
            m_attributes.writeOutput(implOf(node.outputs()[i]), false);
        for (u64 i = 0; type.pages && i < type.pages->pages().size(); ++i)
            writePage(type.pages->pages()[i], type.pageComments[i]);
        m_lines.endNode(partOf(comments, &Comments::inner), partOf(comments, &Comments::trailing));
    }

    void writeEnd() { m_lines.writeLines(m_comments.file().inner.view(), 0); }

private:
    void writeHead(const KndDefinition& type) {
        m_out.append("type ").append(type.name().view());
        for (u64 i = 0; i < type.bases.size(); ++i)
            m_out.append(i == 0 ? " : " : ", ").append(type.bases[i]->name().view());
        if (type.prototype->isAbstract()) m_attributes.writeNote(Note::Abstract);
        if (type.prototype->isInternal()) m_attributes.writeNote(Note::Internal);
        m_out.append(" {");
    }

    void writeText(std::string_view word, const KndText& text, bool hasLanguage) {
        m_lines.writeLines(text.comments.leading.view(), 1);
        m_lines.indent(1);
        m_out.append(word).append(' ');
        if (hasLanguage) {
            writeQuoted(text.language.view(), m_out);
            m_out.append(' ');
        }
        // Labels have to stay on one line.
        if (word != "label" && canStandRaw(text.text.view()))
            writeRaw(text.text.view());
        else
            writeQuoted(text.text.view(), m_out);
        m_lines.endLine(text.comments.trailing.view());
    }

    void writeRaw(std::string_view text) {
        m_out.append(rawMark).append('\n');
        for (u64 start = 0; start <= text.size();) {
            const u64 end = std::min(text.find('\n', start), text.size());
            if (end != start) m_lines.indent(2);
            m_out.append(text.substr(start, end - start)).append('\n');
            start = end + 1;
        }
        m_lines.indent(1);
        m_out.append(rawMark);
    }

    void writePage(const Layout::Page& page, const Comments& comments) {
        m_lines.writeLines(comments.leading.view(), 1);
        m_lines.indent(1);
        m_out.append("page ");
        writeTitle(page.name, page.labels);
        m_out.append(" {\n");
        for (const Layout::Group& group : page.groups) {
            m_lines.indent(2);
            if (group.name.isEmpty()) {
                writeNames(group);
            } else {
                m_out.append("group ");
                writeTitle(group.name, group.labels);
                m_out.append(group.inputs.empty() ? " {" : " { ");
                writeNames(group);
                m_out.append(group.inputs.empty() ? "}" : " }");
            }
            m_out.append('\n');
        }
        m_lines.indent(1);
        m_out.append('}');
        m_lines.endLine(comments.trailing.view());
    }

    void writeTitle(const String& name, const Layout::Texts& labels) {
        writeQuoted(name.view(), m_out);
        m_attributes.writeTranslations(Note::Label, labels);
    }

    void writeNames(const Layout::Group& group) {
        for (u64 i = 0; i < group.inputs.size(); ++i)
            m_out.append(i == 0 ? "" : ", ").append(group.inputs[i].view());
    }

    StringIO& m_out;
    const SceneComments& m_comments;
    SceneWriter m_attributes;
    SceneLines& m_lines;
};

} // namespace

void writeDefinitions(const LibInfo& library, StringIO& out) {
    KndWriter writer(library, out);
    const u64 count = library.typeCount();
    const Comments* first =
        count != 0 ? library.comments().find(library.type(0)) : &library.comments().file();
    const String behind = !first ? String() : count != 0 ? first->leading : first->inner;
    writer.writeHeader(count == 0 && behind.isEmpty(), behind.view());
    for (u64 i = 0; i < count; ++i)
        writer.writeType(library.definition(i));
    writer.writeEnd();
}

} // namespace qv::kelvo_sdk::impl
