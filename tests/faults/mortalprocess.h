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

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
protected:
    void setupChildProcess() override { dieWithTheParent(); }
#endif

private:
    static void dieWithTheParent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

#endif
