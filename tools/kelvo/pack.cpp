#include "tools/kelvo/binary_text.h"
#include "tools/kelvo/commands.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/text_file.h"

namespace qv::kelvo_tool {

namespace {

struct PackOptions {
    String file;
    /// Empty for the name of the file with the other ending.
    String outFile;
    bool isCompressed = false;
};

String withEnding(const String& file, const char* ending) {
    const std::string_view name = file.view();
    const auto dot = name.rfind('.');
    const bool hasEnding = dot != name.npos && name.find('/', dot) == name.npos && dot != 0;
    return String(name.substr(0, hasEnding ? dot : name.size())) + ending;
}

Status write(const PackOptions& options, const char* ending, const String& content, Terminal& out) {
    const bool isPipe = isStream(options.file) && options.outFile.isEmpty();
    const String target =
        !options.outFile.isEmpty() ? options.outFile : withEnding(options.file, ending);
    if (isPipe || isStream(target)) {
        out.writeData(content.view());
        return Status::Ok;
    }
    String error;
    if (writeFile(target, content.view(), error)) return Status::Ok;
    complain(error);
    return Status::Fault;
}

Status runPack(const PackOptions& options, Terminal& out) {
    TextFile text;
    String bytes, error;
    if (text.read(options.file, error) &&
        binaryOfText(options.file, text.text().view(), options.isCompressed, bytes, error))
        return write(options, ".knb", bytes, out);
    if (!error.isEmpty()) complain(error);
    return Status::Fault;
}

Status runUnpack(const PackOptions& options, Terminal& out) {
    TextFile text;
    String error;
    if (text.read(options.file, error)) return write(options, ".kns", text.text(), out);
    complain(error);
    return Status::Fault;
}

} // namespace

void addPack(CommandLine& line) {
    auto [command, options] = line.add("pack", "Write a scene in the binary form", &runPack);
    command.addNote("A binary scene opens without being read as a whole. All commands accept it\n"
                    "in place of a text, and write it where the name of a file ends in .knb.");
    command.addFile(options.file);
    command.add("-o", options.outFile, "Where to write, FILE with the ending .knb by default");
    command.add("--compress", options.isCompressed, "Make the file smaller, and slower to open");
}

void addUnpack(CommandLine& line) {
    auto [command, options] =
        line.add("unpack", "Write the text of a scene in the binary form", &runUnpack);
    command.addFile(options.file);
    command.add("-o", options.outFile, "Where to write, FILE with the ending .kns by default");
}

} // namespace qv::kelvo_tool
