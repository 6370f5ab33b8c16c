// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_MORTALPROCESS_H
#define HNIPC_TESTS_MORTALPROCESS_H

#include <QtCore/QProcess>

#include <csignal>
#include <sys/prctl.h>

// A process that ends with the test, however that ends.
class MortalProcess : public QProcess
{
public:
    MortalProcess()
    {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        setChildProcessModifier(dieWithTheParent);
#endif
    }

    ~MortalProcess()
    {
        kill();
        waitForFinished();
    }

    // To this process' errors; Qt 4 keeps them to itself.
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

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
protected:
    void setupChildProcess() override { dieWithTheParent(); }
#endif

private:
    static void dieWithTheParent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

#endif
