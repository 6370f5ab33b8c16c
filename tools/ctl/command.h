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

/// What a command works with. Where it prints is the Console's.
struct Context
{
    const Contract &contract;
    QDBusConnection bus; ///< connected, for a command that needs it
    bool json;
    int timeout;                    ///< of one call, in ms
    QMap<QString, QString> options; ///< the given ones, by their names without the dashes
    QString unreached;              ///< that the bus does not reply, for a ReachingDeadline
};

struct Option
{
    const char *name;
    const char *value; ///< what its value is called in the help; null for a switch
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
    QStringList (*words)(const Contract &contract); ///< that may complete an argument; or null
    int (*run)(const Context &context, const QStringList &arguments); ///< answers the exit code
    /// The same for what can be said before there is a bus; or null.
    int (*check)(const Context &context, const QStringList &arguments) = nullptr;
    bool onePrinter = false; ///< makes no sense for several side by side
    bool inLines = false;    ///< prints lines as they come, also for each printer of several
    bool described = true;   ///< needs the descriptions of the interfaces
};

extern const Command statusCommand;
extern const Command listCommand;
extern const Command callCommand;
extern const Command getCommand;
extern const Command batchCommand;
extern const Command watchCommand;
extern const Command monitorCommand;
extern const Command traceCommand;
extern const Command recordCommand;
extern const Command replayCommand;
extern const Command simulateCommand;
extern const Command introspectCommand;
extern const Command completionCommand;

/// The table, and the options of every command.
const std::vector<const Command *> &commands();
const std::vector<Option> &globalOptions();

#endif
