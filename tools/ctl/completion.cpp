// SPDX-License-Identifier: MIT
#include "command.h"
#include "console.h"

namespace {

// %1 are the options that have a value, %2 the commands and the options of all of them, %3 the
// words of each command.
const char script[] = R"(_hnipcctl()
{
    local word=${COMP_WORDS[COMP_CWORD]} command= words= i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        %1) ((++i)) ;;
        -*) ;;
        *) command=${COMP_WORDS[i]}; break ;;
        esac
    done
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --host) COMPREPLY=($(compgen -A hostname -- "$word")); return ;;
    %1) COMPREPLY=($(compgen -f -- "$word")); return ;;
    esac
    case $command in
    '') words='%2' ;;
%3    esac
    COMPREPLY=($(compgen -W "$words" -- "$word"))
    [[ $command != simulate || $word == -* ]] || _hnipcctl_simulate
}
complete -o default -F _hnipcctl hnipcctl

# The names of a simulated daemon's readings are known to that daemon only.
_hnipcctl_simulate()
{
    local i=1
    while [[ ${COMP_WORDS[i++]} != simulate ]]; do :; done
    [[ $i -lt $COMP_CWORD ]] || return
    words=$(hnipcctl --timeout 1000 simulate --words "${COMP_WORDS[@]:i:COMP_CWORD-i}" 2>/dev/null)
    COMPREPLY=($(compgen -W "$words" -- "$word"))
}
)";

QString optionWords(const std::vector<Option> &options, QStringList *withValue)
{
    QString result;
    for (const Option &option : options) {
        const QString word = QLatin1String("--") + QLatin1String(option.name);
        result += QLatin1Char(' ') + word;
        if (option.value && !withValue->contains(word)) {
            *withValue += word;
        }
    }
    return result;
}

int run(const Context &context, const QStringList &arguments)
{
    if (arguments.first() != QLatin1String("bash")) {
        return Console::fail(Toolkit::WrongUsage, QStringLiteral("no completion for %1, only for bash")
                                 .arg(arguments.first()));
    }
    QStringList withValue;
    QStringList names;
    QString cases;
    const QString global = optionWords(globalOptions(), &withValue);
    for (const Command *command : commands()) {
        const QStringList words
            = command->words ? command->words(context.contract) : QStringList();
        names += QLatin1String(command->name);
        cases += QStringLiteral("    %1) words='%2%3%4' ;;\n")
                     .arg(names.last(), words.join(QLatin1Char(' ')), global,
                          optionWords(command->options, &withValue));
    }
    cases += QStringLiteral("    help) words='%1' ;;\n").arg(names.join(QLatin1Char(' ')));
    Console::write(QString::fromLatin1(script)
                       .arg(withValue.join(QLatin1Char('|')),
                            names.join(QLatin1Char(' ')) + QLatin1String(" help") + global, cases)
                       .toUtf8());
    return Toolkit::Done;
}

} // namespace

const Command completionCommand = {
    "completion", "bash", "Prints the completion of commands and names for a shell",
    "For the shell that runs: eval \"$(hnipcctl completion bash)\"",
    {}, 1, 1, false, [](const Contract &) { return QStringList(QStringLiteral("bash")); }, run,
    nullptr, false, false
};
