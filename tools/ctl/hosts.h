// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_HOSTS_H
#define HNIPC_TOOLS_CTL_HOSTS_H

#include <QtCore/QString>
#include <QtCore/QStringList>

/// What is wrong with the name of a printer, for ssh would take it for something else; empty if
/// nothing is.
QString wrongHost(const QString &host);

/// Adds the printers of a file: one a line, # begins a comment. Answers the exit code.
int readHosts(const QString &fileName, QStringList *hosts);

/// The address of a printer's system bus: ssh to the bridge that the system has there. @p timeout
/// is in milliseconds.
QString busAddress(const QString &host, int timeout);

/// Why there is no ssh to be run; empty where there is one.
QString missingSsh();

/// Set for the programs that ask the printers of a fleet: ssh asks for no password there, and has
/// no more to say than errors.
extern const char unattendedVariable[];

/// Ends the program with @p text and the time where this object lives for longer. For what blocks,
/// and has no deadline itself: to reach a printer or a bus, which need not be running.
class ReachingDeadline
{
public:
    ReachingDeadline(const QString &text, int milliseconds);
    ~ReachingDeadline();

private:
    Q_DISABLE_COPY(ReachingDeadline)
};

/// The first argument with which this program becomes the ssh of such an address, in the words that
/// follow. ssh then ends with the program that started it, also where it still waits for a printer.
extern const char becomeSshOption[];
int becomeSsh(char *words[]);

#endif
