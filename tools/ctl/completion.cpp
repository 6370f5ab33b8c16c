// SPDX-License-Identifier: MIT
#include "command.h"
#include "console.h"

namespace {

// %1 stands for the options that have a value, %2 for the commands and the global options, %3 for the
// words of each command, %4 for the words of each argument that has a few values.
const char script[] = R"(_hnipcctl()
{
    # Bash splits a word at each = and @, too: these are the words as they were typed.
    local line=$COMP_LINE typed=() gap part last i
    for ((i = 0; i <= COMP_CWORD; ++i)); do
        part=${COMP_WORDS[i]}
        gap=${line%%[![:space:]]*}
        line=${line#"$gap"}
        line=${line#"$part"}
        last=${typed[*]: -1}
        if [[ $i -gt 0 && -n $COMP_LINE && -z $gap || $part == = || $last == --*= ]]; then
            typed[${#typed[@]} - 1]+=$part
        else
            typed+=("$part")
        fi
    done

    local command= method= option= words= arguments=0 ended=
    local word=${typed[${#typed[@]} - 1]}
    for ((i = 1; i < ${#typed[@]} - 1; ++i)); do
        part=${typed[i]}
        if [[ -z $ended && $part == -- ]]; then
            ended=1
            continue
        fi
        if [[ -z $ended && $part == --* ]]; then
            case $part in
            %1) ((++i)) ;;
            esac
        elif [[ -z $command ]]; then
            command=$part
        else
            ((++arguments))
            if [[ $arguments -eq 1 ]]; then method=$part; fi
        fi
    done

    option=${typed[${#typed[@]} - 2]}
    if [[ -z $ended && $word == --*=* ]]; then
        option=${word%%=*}
        word=${word#*=}
    fi
    if [[ -z $ended ]]; then
        case $option in
        --host) COMPREPLY=($(compgen -A hostname -- "${word##*@}")); return ;;
        %1) COMPREPLY=($(compgen -f -- "$word")); return ;;
        esac
    fi
    case $command in
    '') words='%2' ;;
%3    esac
    case $command/$method/$arguments in
%4    esac
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

// The cases of arguments with few values, by their place in any overload.
QString valueCases(const Contract &contract, const QString &options)
{
    QString result;
    for (const Method &method : contract.methods()) {
        for (int i = 0; i < method.parameters.size(); ++i) {
            if (method.parameters.at(i).type == "bool") {
                result += QStringLiteral("    call/%1/%2) words='true false%3' ;;\n")
                              .arg(method.name, QString::number(i + 1), options);
            }
        }
    }
    return result;
}

int run(const Context &context, const QStringList &arguments)
{
    if (arguments.first() != QLatin1String("bash")) {
        return Console::fail(
            Toolkit::WrongUsage,
            QStringLiteral("no completion for %1, only for bash").arg(arguments.first()));
    }
    QStringList withValue;
    QStringList names;
    QString cases;
    QString argumentCases;
    const QString global = optionWords(globalOptions(), &withValue);
    for (const Command *command : commands()) {
        const QStringList words = command->words ? command->words(context.contract) : QStringList();
        const QString options = global + optionWords(command->options, &withValue);
        const QString line = QStringLiteral("    %1) words='%2%3' ;;\n");
        names += QLatin1String(command->name);
        cases += line.arg(names.last(), words.join(QLatin1Char(' ')), options);
        // After the last argument, and after a method, only options can follow.
        const bool isCall = command == &callCommand;
        argumentCases += isCall ? valueCases(context.contract, options) : QString();
        if (isCall || command->most == 1) {
            argumentCases += QStringLiteral("    %1/*/[!0]*) words='%2' ;;\n")
                                 .arg(names.last(), options.mid(1));
        }
    }
    cases += QStringLiteral("    help) words='%1' ;;\n").arg(names.join(QLatin1Char(' ')));
    argumentCases += QStringLiteral("    help/*/[!0]*) words= ;;\n");
    Console::write(QString::fromLatin1(script)
                       .arg(withValue.join(QLatin1Char('|')),
                            names.join(QLatin1Char(' ')) + QLatin1String(" help") + global, cases,
                            argumentCases)
                       .toUtf8());
    return Toolkit::Done;
}

} // namespace

// clang-format off
const Command completionCommand = {
    "completion", "bash", "Prints the script that completes commands and names in a shell",
    "To load it into a running shell: eval \"$(hnipcctl completion bash)\"",
    {}, 1, 1, false, [](const Contract &) { return QStringList(QStringLiteral("bash")); }, run
};
// clang-format on
