// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_HOSTS_H
#define HNIPC_TOOLS_CTL_HOSTS_H

#include <QtCore/QString>
#include <QtCore/QStringList>

/// The error in a printer's name that ssh would not take as one name; empty if it is valid.
QString wrongHost(const QString &host);

/// Adds the printers of a file, one in each line; # begins a comment. Returns the exit code.
int readHosts(const QString &fileName, QStringList *hosts);

/// The D-Bus address of a printer's system bus: it starts ssh, which starts systemd-stdio-bridge on
/// the printer. @p timeout is in milliseconds.
QString busAddress(const QString &host, int timeout);

/// The reason why ssh cannot be run; empty if it can.
QString missingSsh();

/// Set in the environment of the processes for several printers: their ssh asks for no password, and
/// prints errors only.
extern const char unattendedVariable[];

/// If this object lives longer than the timeout, the program ends, and prints @p text and the timeout.
/// For blocking functions without a timeout of their own, such as connecting to a bus.
class ReachingDeadline
{
public:
    ReachingDeadline(const QString &text, int milliseconds);
    ~ReachingDeadline();

private:
    Q_DISABLE_COPY(ReachingDeadline)
};

/// With this first argument, which busAddress() uses, the program runs ssh with the arguments that
/// follow: the process ID of the program that starts it, then the words of ssh. ssh ends with that
/// program, even while it is connecting.
extern const char becomeSshOption[];
int becomeSsh(char *words[]);

#endif
