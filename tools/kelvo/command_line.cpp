#include "tools/kelvo/command_line.h"

#include "base/near_name.h"

#include <CLI/CLI.hpp>

#include <sstream>
#include <string>
#include <vector>

namespace qv::kelvo_tool {

namespace {

String textOf(const std::string& value) {
    return String(std::string_view(value));
}

} // namespace

Argument Argument::required() const {
    m_option->required();
    return *this;
}

Argument Argument::notNegative() const {
    m_option->check(CLI::NonNegativeNumber);
    return *this;
}

Argument Argument::positive() const {
    m_option->check(CLI::PositiveNumber);
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
    try {
        m_app->parse(count, arguments);
    } catch (const CLI::Success& wish) {
        std::ostringstream text;
        m_app->exit(wish, text, text);
        out.write(text.str());
        return Status::Ok;
    } catch (const CLI::ParseError& error) {
        complain(textOf(error.what()) + " (see kelvo --help)");
        return Status::Usage;
    }
    return m_action(out);
}

bool CommandLine::knowsCommand(std::string_view name) const {
    if (name.starts_with('-')) return true;
    NearName near(name);
    for (const CLI::App* command : m_app->get_subcommands({})) {
        if (command->get_name() == name) return true;
        near.offer(command->get_name());
    }
    const String question = near.best().empty() ? String(" (see kelvo --help)") : near.question();
    complain("unknown command '" + String(name) + "'" + question);
    return false;
}

} // namespace qv::kelvo_tool
