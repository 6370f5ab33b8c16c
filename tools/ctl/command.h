// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_COMMAND_H
#define HNIPC_TOOLS_CTL_COMMAND_H

#include "common/exitcodes.h"
#include "contract.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>

#include <vector>

/// The input of a command. Output goes to the Console.
struct Context
{
    const Contract &contract;
    QDBusConnection bus; ///< connected, for a command that needs it
    bool json;
    int timeout;                    ///< of one call, in ms
    QMap<QString, QString> options; ///< the given options, by their names without dashes
    QString unreached;              ///< the message of a ReachingDeadline if the bus does not reply
};

struct FleetAnswer;

struct Option
{
    const char *name;
    const char *value; ///< the name of its value in the help; null if it has none
    const char *help;
};

/// One command: a row of the table in main.cpp.
struct Command
{
    const char *name;
    const char *synopsis; ///< of its arguments
    const char *summary;  ///< one line
    const char *help;     ///< the rest
    std::vector<Option> options;
    int fewest; ///< arguments
    int most;   ///< arguments; -1 for any number
    bool needsBus;
    QStringList (*words)(const Contract &contract); ///< completions of an argument; or null
    int (*run)(const Context &context, const QStringList &arguments); ///< returns the exit code
    /// Checks the arguments before the program connects to the bus, and returns the exit code; or null.
    int (*check)(const Context &context, const QStringList &arguments) = nullptr;
    bool onePrinter = false; ///< is for one printer at a time
    bool inLines = false;    ///< prints lines until it ends, not one result
    bool described = true;   ///< needs the descriptions of the interfaces
    /// Without --json, the command runs in processes of its own with --json, one for each printer or
    /// for the local bus. This function then gets all results, and returns the exit code; or null.
    int (*gather)(const Context &context, const std::vector<FleetAnswer> &answers) = nullptr;
};

extern const Command statusCommand;
extern const Command listCommand;
extern const Command callCommand;
extern const Command getCommand;
extern const Command batchCommand;
extern const Command watchCommand;
extern const Command metricsCommand;
extern const Command monitorCommand;
extern const Command traceCommand;
extern const Command recordCommand;
extern const Command replayCommand;
extern const Command simulateCommand;
extern const Command introspectCommand;
extern const Command completionCommand;

/// The table of commands, and the options that every command has.
const std::vector<const Command *> &commands();
const std::vector<Option> &globalOptions();

#endif
