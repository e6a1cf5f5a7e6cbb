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

// Only one source includes CLI11, which takes long to compile.
namespace CLI {
class App;
class Option;
} // namespace CLI

namespace qv::kelvo_tool {

/// An argument of a command, and ways to restrict it.
class Argument {
public:
    explicit Argument(CLI::Option* option) : m_option(option) {}

    Argument required() const;
    /// Accepts only whole numbers from 0.
    Argument notNegative() const;
    /// Accepts only whole numbers from 1.
    Argument positive() const;
    /// Splits one text into several at this character.
    Argument split(char delimiter) const;
    /// Each use of the option takes one text; the next word is another argument.
    Argument oneEach() const;
    /// Shows the target's present value in the help.
    Argument showDefault() const;
    Argument needs(Argument other) const;
    Argument excludes(Argument other) const;

private:
    CLI::Option* m_option;
};

/// A command, to which arguments are added.
///
/// A name with a dash in front is an option, one without is positional. The target must live as
/// long as the command line; its type decides which values are accepted: a bool makes a flag, a
/// StringVector takes any number of texts.
class Command {
public:
    explicit Command(CLI::App* command) : m_command(command) {}

    /// An empty text leaves the target unchanged.
    Argument add(const char* name, String& target, const char* help);
    /// An empty text is a value here, unlike an absent argument.
    Argument add(const char* name, std::optional<String>& target, const char* help);
    Argument add(const char* name, StringVector& target, const char* help);
    Argument add(const char* name, i64& target, const char* help);
    Argument add(const char* name, u64& target, const char* help);
    Argument add(const char* name, bool& target, const char* help);
    /// Adds the scene file, which is required.
    void addFile(String& target) { (void)add("FILE", target, "Scene file").required(); }
    /// Adds a text below the arguments in the help.
    void addNote(const char* text);

private:
    CLI::App* m_command;
};

/// The command line: all commands, and the one to run.
class CommandLine {
public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Adds a command, which `action` carries out; the help lists commands in the order of
    /// addition. Returns the command, and the options that `action` gets: the targets of its
    /// arguments.
    template<class Options>
    [[nodiscard]] std::pair<Command, Options&> add(const char* name, const char* help,
                                                   Status (*action)(const Options&, Terminal&)) {
        const auto options = std::make_shared<Options>();
        return {addCommand(name, help, [=](Terminal& out) { return action(*options, out); }),
                *options};
    }

    /// Adds an option that may stand before or after each command.
    [[nodiscard]] Argument addCommon(const char* name, StringVector& target, const char* help);

    /// Parses the arguments of the process and runs the command.
    [[nodiscard]] Status run(int count, char** arguments, Terminal& out);

    [[nodiscard]] StringVector commands() const;
    /// Returns the help of a command, empty for an unknown name.
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
    // The action of the command to run.
    Action m_action;
};

} // namespace qv::kelvo_tool
