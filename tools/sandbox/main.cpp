// SPDX-License-Identifier: MIT
#include "guard.h"
#include "sandbox.h"

#include "common/daemons.h"
#include "common/exitcodes.h"
#include "common/failure.h"
#include "common/printable.h"
#include "common/qtmessages.h"

#include <hnipc/hnipc_version.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

#include <cstdio>
#include <unistd.h>

using namespace Toolkit;

namespace {

QStringList readDaemons(const QString &list)
{
    if (list == QLatin1String("none")) {
        return QStringList();
    }
    QStringList result = list.split(QLatin1Char(','));
    for (const QString &name : qAsConst(result)) {
        if (!daemonNames().contains(name)) {
            throw Failure { SandboxFailed,
                            QStringLiteral("--daemons: \"%1\" is not a daemon; expected none, or "
                                           "one or more of %2, separated by commas")
                                .arg(name, daemonNames().join(QLatin1Char(','))) };
        }
    }
    result.removeDuplicates();
    return result;
}

QList<QByteArray> shell()
{
    const QByteArray own = qgetenv("SHELL");
    return { own.isEmpty() ? QByteArray("/bin/sh") : own };
}

Sandbox::Request readCommandLine(int argc, char **argv)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Runs a command, or a shell, with simulated daemons of the label printer on a private bus "
        "that takes the place of the system bus."));
    // Options after the command are the command's own.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") },
                                  QStringLiteral("Print this help."));
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption scenario(
        QStringLiteral("scenario"),
        QStringLiteral("Play a scenario: a file, or the name of an installed scenario."),
        QStringLiteral("file"));
    const QCommandLineOption check(
        QStringLiteral("check"),
        QStringLiteral(
            "Check a scenario instead of playing it: a file, or the name of an installed "
            "scenario."),
        QStringLiteral("file"));
    const QCommandLineOption quiet(QStringLiteral("quiet"),
                                   QStringLiteral("Do not print the texts of the scenario."));
    const QString allDaemons = daemonNames().join(QLatin1Char(','));
    const QCommandLineOption daemons(
        QStringLiteral("daemons"),
        QStringLiteral("Start only these daemons: none, or one or more of %1, separated by "
                       "commas; default all.")
            .arg(allDaemons),
        QStringLiteral("list"), allDaemons);
    parser.addOptions({ scenario, check, quiet, daemons, help });
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("The command to run; default your shell."),
                                 QStringLiteral("[--] [command...]"));
    if (!parser.parse(QCoreApplication::arguments())) {
        throw Failure { SandboxFailed,
                        parser.errorText() + QLatin1String(" See hnipc-sandbox --help.") };
    }
    if (parser.isSet(help)) {
        fputs(parser.helpText().toUtf8().constData(), stdout);
        throw Failure { Done, QString() };
    }
    if (parser.isSet(version)) {
        puts("hnipc-sandbox " HNIPC_VERSION_STRING);
        throw Failure { Done, QString() };
    }

    Sandbox::Request result;
    result.isQuiet = parser.isSet(quiet);
    result.daemons = readDaemons(parser.value(daemons));
    result.isCheck = parser.isSet(check);
    if (result.isCheck && (parser.isSet(scenario) || !parser.positionalArguments().isEmpty())) {
        throw Failure { SandboxFailed,
                        QStringLiteral("--check cannot be combined with --scenario or a command.")
                            + QLatin1String(" See hnipc-sandbox --help.") };
    }
    if (result.isCheck || parser.isSet(scenario)) {
        QString error;
        result.scenario = readScenario(parser.value(result.isCheck ? check : scenario), &error);
        if (!result.scenario) {
            throw Failure { result.isCheck ? BadValue : SandboxFailed, error };
        }
    }
    // The command's exact bytes: a QString would change what is not UTF-8.
    for (int i = argc - int(parser.positionalArguments().size()); i < argc; ++i) {
        result.command += argv[i];
    }
    if (result.command.isEmpty() && !result.isCheck) {
        result.command = shell();
        if (isatty(STDIN_FILENO)) {
            fputs("hnipc-sandbox: a shell with a system bus of its own; \"exit\" ends both\n",
                  stderr);
        }
    }
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    int exitCode = Done;
    if (guard(&exitCode)) {
        return exitCode;
    }
    hideOwnerWarning();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("hnipc-sandbox"));
    QCoreApplication::setApplicationVersion(QStringLiteral(HNIPC_VERSION_STRING));
    // The default of the system. An empty entry in PATH would be the current directory.
    if (qEnvironmentVariableIsEmpty("PATH")) {
        qputenv("PATH", "/bin:/usr/bin");
    }
    try {
        const Sandbox::Request request = readCommandLine(argc, argv);
        return Sandbox().run(request);
    } catch (const Failure &failure) {
        if (!failure.message.isNull()) {
            fprintf(stderr, "hnipc-sandbox: %s\n", printable(failure.message).toUtf8().constData());
        }
        return failure.exitCode;
    }
}
