// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_PROCESS_H
#define HNIPC_TESTS_PROCESS_H

#include "waituntil.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringList>

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

// A process that ends with the test, however the test ends: the kernel kills it when the thread
// that started it ends. The tests start all processes with this class.
class Process : public QProcess
{
public:
    Process() : m_test(getpid())
    {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        setChildProcessModifier([this]() { dieWithTheTest(); });
#endif
    }

    ~Process()
    {
        kill();
        waitForFinished();
    }

    // Forwards standard error to that of the test. Qt 4 does not do so by itself.
    void forwardErrors()
    {
#if QT_VERSION >= QT_VERSION_CHECK(5, 2, 0)
        setProcessChannelMode(ForwardedErrorChannel);
#endif
    }

    pid_t id() const
    {
#if QT_VERSION >= QT_VERSION_CHECK(5, 3, 0)
        return pid_t(processId());
#else
        return pid();
#endif
    }

    void send(int signal) { ::kill(id(), signal); }

    // Returns when all threads are stopped. Without the wait, others run until the first one has
    // received the signal.
    bool halt()
    {
        send(SIGSTOP);
        siginfo_t change;
        return waitid(P_PID, id_t(id()), &change, WSTOPPED | WEXITED | WNOWAIT) == 0
            && change.si_code == CLD_STOPPED;
    }

    bool isRunning() const { return state() != NotRunning; }

    bool ends()
    {
        return waitUntil([this]() { return !isRunning(); });
    }

    // Waits until the process ends. Returns -1 if a signal killed it or if it did not start.
    // QProcess::exitCode() does not wait.
    int exitCode()
    {
        return ends() && exitStatus() == NormalExit && error() != FailedToStart
            ? QProcess::exitCode()
            : -1;
    }

    QByteArray output() { return m_output += readAllStandardOutput(); }
    QByteArray errors() { return m_errors += readAllStandardError(); }

    // Waits until the process has printed the text. Returns false if it ends before.
    bool prints(const QByteArray &text)
    {
        waitUntil([&]() { return output().contains(text) || !isRunning(); });
        return output().contains(text);
    }

    bool complains(const QByteArray &text)
    {
        waitUntil([&]() { return errors().contains(text) || !isRunning(); });
        return errors().contains(text);
    }

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
protected:
    void setupChildProcess() override { dieWithTheTest(); }
#endif

private:
    // Runs in the child process.
    void dieWithTheTest()
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != m_test) { // the test ended before prctl()
            raise(SIGKILL);
        }
    }

    const pid_t m_test;
    QByteArray m_output;
    QByteArray m_errors;
};

// Returns false for no process, and for a zombie: its files are closed, and only its parent has not
// waited for it.
inline bool isAlive(const QByteArray &process)
{
    QFile file(QLatin1String("/proc/") + QString::fromLatin1(process) + QLatin1String("/stat"));
    const QByteArray stat = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    return !process.isEmpty() && !stat.isEmpty() && stat.mid(stat.lastIndexOf(')') + 2, 1) != "Z";
}

// With QEMU, the command line of a process begins with that of the emulator, and a descriptor that
// is closed at the start may be one of the emulator's files. scripts/other-machine sets this.
inline bool isEmulated() { return !qgetenv("HNIPC_TEST_EMULATED").isEmpty(); }

// The result of a program that has ended.
struct Outcome
{
    int code; // -1 if a signal killed it
    QByteArray output;
    QByteArray errors;
};

inline Outcome runProgram(
    const QString &program, const QStringList &arguments,
    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    Process process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    const int code = process.exitCode();
    return { code, process.output(), process.errors() };
}

#endif
