#include "tools/kelvo/command_line.h"

#include "kelvo/base/spelling_suggestion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace qv::kelvo_tool {

namespace {

// The column at which the help of arguments begins, if there is room.
constexpr u64 usualColumn = 30;

String textOf(const std::string& value) {
    return String(std::string_view(value));
}

// Replaces the parser's own checks, whose messages print the whole range of a number type.
CLI::Validator wholeNumberFrom(i64 least) {
    const auto fault = [least](const std::string& text) {
        i64 number = 0;
        const char* end = text.data() + text.size();
        const auto [read, error] = std::from_chars(text.data(), end, number);
        if (error == std::errc() && read == end && number >= least) return std::string();
        std::string expected = "expected a number from " + std::to_string(least) + " up";
        if (error == std::errc::result_out_of_range && text[0] != '-')
            expected += " to " + std::to_string(std::numeric_limits<i64>::max());
        return expected + ", not '" + text + "'";
    };
    return {fault, "", ""};
}

} // namespace

Argument Argument::required() const {
    m_option->required();
    return *this;
}

Argument Argument::notNegative() const {
    m_option->check(wholeNumberFrom(0));
    return *this;
}

Argument Argument::positive() const {
    m_option->check(wholeNumberFrom(1));
    return *this;
}

Argument Argument::split(char delimiter) const {
    m_option->delimiter(delimiter);
    return *this;
}

Argument Argument::oneEach() const {
    m_option->allow_extra_args(false);
    return *this;
}

Argument Argument::showDefault() const {
    m_option->capture_default_str();
    return *this;
}

Argument Argument::needs(Argument other) const {
    m_option->needs(other.m_option);
    return *this;
}

Argument Argument::excludes(Argument other) const {
    m_option->excludes(other.m_option);
    return *this;
}

Argument Command::add(const char* name, String& target, const char* help) {
    const auto store = [&target](const std::string& value) {
        if (!value.empty()) target = textOf(value);
    };
    return Argument(m_command->add_option_function<std::string>(name, store, help));
}

Argument Command::add(const char* name, std::optional<String>& target, const char* help) {
    const auto store = [&target](const std::string& value) { target = textOf(value); };
    return Argument(m_command->add_option_function<std::string>(name, store, help));
}

Argument Command::add(const char* name, StringVector& target, const char* help) {
    using Texts = std::vector<std::string>;
    const auto store = [&target](const Texts& values) {
        target.clear();
        for (const std::string& value : values)
            target.push_back(textOf(value));
    };
    return Argument(m_command->add_option_function<Texts>(name, store, help));
}

Argument Command::add(const char* name, i64& target, const char* help) {
    return Argument(m_command->add_option(name, target, help));
}

Argument Command::add(const char* name, u64& target, const char* help) {
    return Argument(m_command->add_option(name, target, help));
}

Argument Command::add(const char* name, bool& target, const char* help) {
    return Argument(m_command->add_flag(name, target, help));
}

void Command::addNote(const char* text) {
    m_command->footer(text);
}

CommandLine::CommandLine()
    : m_app(std::make_unique<CLI::App>("Looks at, edits and makes scenes.", "kelvo")) {
    m_app->require_subcommand(1);
    m_app->set_version_flag("--version", "kelvo " KELVO_VERSION);
    m_app->footer("FILE \"-\" is the standard input or output. Exit status: 0, 1 when a file or "
                  "the scene\nin it is at fault, 2 when the command line is. Colours are used on "
                  "a terminal unless\nNO_COLOR is set.");
}

CommandLine::~CommandLine() = default;

Argument CommandLine::addCommon(const char* name, StringVector& target, const char* help) {
    m_app->fallthrough();
    return Command(m_app.get()).add(name, target, help);
}

Command CommandLine::addCommand(const char* name, const char* help, Action action) {
    CLI::App* added = m_app->add_subcommand(name, help);
    added->callback([this, action = std::move(action)] { m_action = action; });
    return Command(added);
}

Status CommandLine::run(int count, char** arguments, Terminal& out) {
    if (count > 1 && !knowsCommand(arguments[1])) return Status::Usage;
    if (out.width() != 0)
        m_app->get_formatter()->column_width(std::min(usualColumn, out.width() / 3));
    try {
        m_app->parse(count, arguments);
    } catch (const CLI::Success& wish) {
        std::ostringstream text;
        m_app->exit(wish, text, text);
        out.write(text.str());
        return Status::Ok;
    } catch (const CLI::ParseError& error) {
        tellWrongCall(textOf(error.what()));
        return Status::Usage;
    }
    return m_action(out);
}

void CommandLine::tellWrongCall(const String& error) const {
    const std::vector<CLI::App*> asked = m_app->get_subcommands();
    const String help = asked.empty() ? String(" (see kelvo --help)")
                                      : " (see kelvo help " + textOf(asked[0]->get_name()) + ")";
    const std::vector<std::string> unknown = m_app->remaining(true);
    const auto option = std::ranges::find_if(
        unknown, [](const std::string& word) { return word.starts_with('-'); });
    // After common options the first word should be a command; `knowsCommand` reports an unknown
    // one.
    if (asked.empty() && !unknown.empty() && option != unknown.begin() && !knowsCommand(unknown[0]))
        return;
    complain((option == unknown.end() ? error : unknownOption(*option)) + help);
}

String CommandLine::unknownOption(const std::string& option) const {
    const std::vector<CLI::App*> asked = m_app->get_subcommands();
    SpellingSuggestion near(option);
    std::vector<std::string> names;
    for (const CLI::App* app : {asked.empty() ? m_app.get() : asked[0], m_app.get()})
        for (const CLI::Option* known : app->get_options())
            if (const auto& longs = known->get_lnames(); !longs.empty())
                names.push_back("--" + longs[0]);
    for (const std::string& name : names)
        near.offer(name);
    const String sentence = "unknown option '" + textOf(option) + "'";
    return near.best().empty() ? sentence : sentence + near.question();
}

StringVector CommandLine::commands() const {
    StringVector names;
    for (const CLI::App* command : m_app->get_subcommands({}))
        names.push_back(textOf(command->get_name()));
    return names;
}

String CommandLine::helpOf(const String& command) const {
    CLI::App* found = findCommand(command.view());
    return found ? textOf(found->help(m_app->get_name())) : String();
}

// Uses the formatter directly: the parser's own help would be that of the command that runs.
String CommandLine::help() const {
    return textOf(m_app->get_formatter()->make_help(m_app.get(), m_app->get_name(),
                                                    CLI::AppFormatMode::Normal));
}

CLI::App* CommandLine::findCommand(std::string_view name) const {
    for (CLI::App* command : m_app->get_subcommands({}))
        if (command->get_name() == name) return command;
    return nullptr;
}

bool CommandLine::knowsCommand(std::string_view name) const {
    if (name.starts_with('-') || findCommand(name)) return true;
    SpellingSuggestion near(name);
    const StringVector names = commands();
    for (const String& known : names)
        near.offer(known.view());
    const String question = near.best().empty() ? String(" (see kelvo --help)") : near.question();
    complain("unknown command '" + String(name) + "'" + question);
    return false;
}

} // namespace qv::kelvo_tool
