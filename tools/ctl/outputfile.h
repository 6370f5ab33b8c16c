// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_OUTPUTFILE_H
#define HNIPC_TOOLS_CTL_OUTPUTFILE_H

#include "command.h"
#include "console.h"

#include <QtCore/QFile>

/// A file that a command is told to write. One that is there already is kept unless there is --force.
class OutputFile : public QFile
{
public:
    OutputFile(const Context &context, const QString &name)
        : QFile(name)
        , m_force(context.options.contains(QStringLiteral("force")))
    {
    }

    /// Before there is something to be written. Answers the exit code.
    int check() const
    {
        return m_force || !exists()
            ? int(Toolkit::Done)
            : Console::fail(Toolkit::Failed, fileName()
                                + QLatin1String(" is there already; --force overwrites it"));
    }

    bool create()
    {
        return open(WriteOnly | Unbuffered | (m_force ? Truncate : NewOnly));
    }

private:
    bool m_force;
};

#endif
