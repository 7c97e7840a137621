#include "tools/manual.h"

#include <sstream>

namespace quorvel::tool {
namespace {

std::vector<const CLI::App*> Subcommands(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> Options(const CLI::App& command, bool arePositional) {
    return command.get_options(
        [=](const CLI::Option* option) { return option->get_positional() == arePositional; });
}

// "-o,--output" as the parts that `prefix` and `separator` stand around.
std::string Names(const CLI::Option& option, const char* separator) {
    std::string names;
    for (const std::string& name : option.get_snames())
        names.append(names.empty() ? "-" : separator + std::string("-")).append(name);
    for (const std::string& name : option.get_lnames())
        names.append(names.empty() ? "--" : separator + std::string("--")).append(name);
    return names;
}

// As running text of the page: no character means anything to the formatter.
std::string Escaped(const std::string& text) {
    std::string escaped;
    bool isLineStart = true;
    for (const char character : text) {
        if (isLineStart && (character == '.' || character == '\'')) escaped += "\\&";
        if (character == '\\') {
            escaped += "\\e";
        } else {
            escaped.append(character == '-' ? "\\" : "").append(1, character);
        }
        isLineStart = character == '\n';
    }
    return escaped;
}

// What a value may be: "{man,bash}" of "TEXT:{man,bash}".
std::string ValueText(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t colon = type.find(':');
    return colon == std::string::npos ? type : type.substr(colon + 1);
}

void WriteOption(const CLI::Option& option, std::ostream& page) {
    const bool takesValue = option.get_items_expected_max() > 0;
    page << ".TP\n.B " << Escaped(Names(option, ", "));
    if (takesValue) page << " \\fI" << Escaped(ValueText(option)) << "\\fR";
    page << "\n" << Escaped(option.get_description());
    if (takesValue && !option.get_default_str().empty())
        page << " [" << Escaped(option.get_default_str()) << "]";
    page << "\n";
}

void WriteCommand(const CLI::App& command, std::ostream& page) {
    page << ".SS quorvel " << Escaped(command.get_name());
    const auto positional = Options(command, true);
    for (const CLI::Option* argument : positional)
        page << " " << Escaped(argument->get_name());
    page << "\n" << Escaped(command.get_description()) << ".\n";
    for (const CLI::Option* argument : positional)
        page << ".TP\n.I " << Escaped(argument->get_name()) << "\n"
             << Escaped(argument->get_description()) << "\n";
    for (const CLI::Option* option : Options(command, false))
        WriteOption(*option, page);
    if (!command.get_footer().empty())
        page << ".PP\n.nf\n" << Escaped(command.get_footer()) << "\n.fi\n";
}

}  // namespace

std::string ManualPage(const CLI::App& app) {
    std::ostringstream page;
    page << ".TH QUORVEL 1 \"\" \"quorvel " QUORVEL_VERSION "\" \"User Commands\"\n"
         << ".SH NAME\nquorvel \\- " << Escaped(app.get_description()) << "\n"
         << ".SH SYNOPSIS\n.B quorvel\n.I SUBCOMMAND\n.RI [ OPTIONS ]\n.SH SUBCOMMANDS\n";
    for (const CLI::App* command : Subcommands(app))
        WriteCommand(*command, page);
    page << ".SH NOTES\n.nf\n" << Escaped(app.get_footer()) << "\n.fi\n";
    return page.str();
}

std::string BashCompletion(const CLI::App& app) {
    std::ostringstream commands, cases;
    for (const CLI::App* command : Subcommands(app)) {
        commands << " " << command->get_name();
        cases << "        " << command->get_name() << ") words='";
        for (const CLI::Option* option : Options(*command, false))
            cases << Names(*option, " ") << " ";
        cases << "' ;;\n";
    }
    return "# bash completion of quorvel\n"
           "_quorvel() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} words=\n"
           "    COMPREPLY=()\n"
           "    case ${COMP_WORDS[1]} in\n" +
           cases.str() +
           "    esac\n"
           "    if ((COMP_CWORD == 1)); then\n"
           "        words='--help --version" +
           commands.str() +
           "'\n"
           "    elif [[ $current != -* ]]; then\n"
           "        return  # a file name\n"
           "    fi\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -o bashdefault -o default -F _quorvel quorvel\n";
}

}  // namespace quorvel::tool
