#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/terminal.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// CLI11 takes long to compile; one source includes it.
namespace CLI {
class App;
class Option;
} // namespace CLI

namespace qv::kelvo_tool {

/// An argument of a command, to be narrowed down.
class Argument {
public:
    explicit Argument(CLI::Option* option) : m_option(option) {}

    Argument required() const;
    /// Takes whole numbers from 0 up alone.
    Argument notNegative() const;
    /// Takes whole numbers from 1 up alone.
    Argument positive() const;
    /// One text may hold several, with this character between them.
    Argument split(char delimiter) const;
    /// Each use of the option has one text, so that what follows may be something else.
    Argument oneEach() const;
    /// Lets the help tell the value that stands in the target now.
    Argument showDefault() const;
    Argument needs(Argument other) const;
    Argument excludes(Argument other) const;

private:
    CLI::Option* m_option;
};

/// A command, to which arguments are added.
///
/// A name with a dash in front is an option, one without is told by its place. The target has to
/// live as long as the command line, and its type tells what may be given: a bool is a flag, a
/// StringVector takes any number of texts.
class Command {
public:
    explicit Command(CLI::App* command) : m_command(command) {}

    /// An empty text leaves the target as it is.
    Argument add(const char* name, String& target, const char* help);
    /// An empty text is a text here, and not the same as none.
    Argument add(const char* name, std::optional<String>& target, const char* help);
    Argument add(const char* name, StringVector& target, const char* help);
    Argument add(const char* name, i64& target, const char* help);
    Argument add(const char* name, u64& target, const char* help);
    Argument add(const char* name, bool& target, const char* help);
    /// Adds the scene file, which every call has to name.
    void addFile(String& target) { (void)add("FILE", target, "Scene file").required(); }
    /// Adds what the help says below the arguments.
    void addNote(const char* text);

private:
    CLI::App* m_command;
};

/// The command line: the commands, and the one that was asked for.
class CommandLine {
public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Adds a command, which `action` carries out; the help lists them in the order of addition.
    /// Returns it with the options that `action` will be given, the targets of its arguments.
    template<class Options>
    [[nodiscard]] std::pair<Command, Options&> add(const char* name, const char* help,
                                                   Status (*action)(const Options&, Terminal&)) {
        const auto options = std::make_shared<Options>();
        return {addCommand(name, help, [=](Terminal& out) { return action(*options, out); }),
                *options};
    }

    /// Adds an option that may stand in front of each command and behind it.
    [[nodiscard]] Argument addCommon(const char* name, StringVector& target, const char* help);

    /// Does what the arguments of the process ask for.
    [[nodiscard]] Status run(int count, char** arguments, Terminal& out);

    [[nodiscard]] StringVector commands() const;
    /// Returns the help of a command, empty when there is none of that name.
    [[nodiscard]] String helpOf(const String& command) const;
    /// Returns the help that lists the commands.
    [[nodiscard]] String help() const;

private:
    using Action = std::function<Status(Terminal&)>;

    Command addCommand(const char* name, const char* help, Action action);
    [[nodiscard]] CLI::App* findCommand(std::string_view name) const;
    [[nodiscard]] bool knowsCommand(std::string_view name) const;
    void tellWrongCall(const String& error) const;
    [[nodiscard]] String unknownOption(const std::string& option) const;

    std::unique_ptr<CLI::App> m_app;
    // Of the command that was asked for.
    Action m_action;
};

} // namespace qv::kelvo_tool
