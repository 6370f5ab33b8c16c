// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_PROGRAM_H
#define HNIPC_TESTS_PROGRAM_H

#include "process.h"

#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QStringList>

// A process that a test communicates with in lines.
class Program : public Process
{
public:
    // Starts one of the test daemons and waits until it is ready for calls.
    static Program *daemon(const char *name, const QString &errorFile = QString())
    {
        Program *const program = hastyDaemon(name, errorFile);
        if (!waitUntil([program]() { return program->hasSaid("ready"); })) {
            qFatal("no daemon: %s", name);
        }
        return program;
    }

    // Starts one of the test daemons and does not wait.
    static Program *hastyDaemon(const char *name, const QString &errorFile = QString())
    {
        Program *const program = new Program;
        if (!errorFile.isEmpty()) {
            program->setStandardErrorFile(errorFile);
        } else {
            program->forwardErrors();
        }
        program->begin(QLatin1String(HNIPC_TEST_DAEMON_DIR "/hnipc-test-") + QLatin1String(name),
                       QStringList());
        return program;
    }

    // Starts this test program in another role, which its main() knows by this name.
    static Program *part(const char *name, const QStringList &arguments = QStringList())
    {
        Program *const program = new Program;
        program->forwardErrors();
        program->begin(QCoreApplication::applicationFilePath(),
                       QStringList(QLatin1String(name)) + arguments);
        return program;
    }

    // All lines that it has printed.
    const QList<QByteArray> &lines()
    {
        while (canReadLine()) {
            m_lines.append(readLine().trimmed());
        }
        return m_lines;
    }

    bool hasSaid(const QByteArray &line) { return lines().contains(line); }

    // The rest of the line that begins with the word. Waits for such a line.
    QByteArray wordAfter(const QByteArray &word)
    {
        QByteArray found;
        const bool there = waitUntil([&]() {
            for (const QByteArray &line : lines()) {
                if (line.startsWith(word + ' ')) {
                    found = line.mid(word.size() + 1);
                    return true;
                }
            }
            return !isRunning();
        });
        return there ? found : QByteArray("nothing came");
    }

    void tell(const QByteArray &line) { write(line + '\n'); }

    // The end of the process, in words; empty if it exited with 0.
    QByteArray ending()
    {
        if (!ends()) {
            return "it does not end";
        }
        lines();
        if (exitStatus() != QProcess::NormalExit) {
            return "it crashed";
        }
        return exitCode() == 0 ? QByteArray() : "it ended with " + QByteArray::number(exitCode());
    }

private:
    void begin(const QString &path, const QStringList &arguments)
    {
        start(path, arguments);
        if (!waitForStarted()) {
            qFatal("does not start: %s", qPrintable(path));
        }
    }

    QList<QByteArray> m_lines;
};

#endif
