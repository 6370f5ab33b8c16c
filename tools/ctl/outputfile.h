// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_OUTPUTFILE_H
#define HNIPC_TOOLS_CTL_OUTPUTFILE_H

#include "command.h"
#include "console.h"

#include <QtCore/QFile>

/// A file that a command writes; "-" is standard output. An existing file is overwritten only with
/// --force.
class OutputFile : public QFile
{
public:
    OutputFile(const Context &context, const QString &name)
        : QFile(name), m_force(context.options.contains(QStringLiteral("force")))
    {
    }

    bool isStandardOutput() const { return fileName() == QLatin1String("-"); }

    /// Checks the name before the command does anything. Returns the exit code.
    int check() const
    {
        if (fileName().isEmpty()) {
            return Console::fail(Toolkit::WrongUsage,
                                 QStringLiteral("the name of the file to be written is empty"));
        }
        return m_force || isStandardOutput() || !exists()
            ? int(Toolkit::Done)
            : Console::fail(Toolkit::Failed,
                            fileName() + QLatin1String(" exists already; --force overwrites it"));
    }

    /// Not for standard output.
    bool create() { return open(WriteOnly | Unbuffered | (m_force ? Truncate : NewOnly)); }

private:
    bool m_force;
};

#endif
