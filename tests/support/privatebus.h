// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_PRIVATEBUS_H
#define HNIPC_TESTS_PRIVATEBUS_H

#include "process.h"

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtTest/QTest>

// A message bus that ends with the test. It allows everything that its rules do not deny, and
// leaves no file. It runs "dbus-daemon" of the PATH, which can be dbus-broker.
class BusProcess
{
public:
    // The rules and the limits are elements of the bus configuration.
    explicit BusProcess(const QByteArray &rules = QByteArray(),
                        const QByteArray &limits = QByteArray(),
                        const QByteArray &address = newAddress());

    QString address() const { return QString::fromLatin1(m_address); }
    pid_t id() const { return m_process.id(); }

    void start(); // again, at the same address
    void kill();  // its clients get no message before
    void halt() { signal(SIGSTOP); }
    void resume() { signal(SIGCONT); }

    // For a program that starts a bus itself.
    static QByteArray configuration(const QByteArray &address,
                                    const QByteArray &rules = QByteArray(),
                                    const QByteArray &limits = QByteArray());

private:
    Q_DISABLE_COPY(BusProcess)

    static QByteArray newAddress();
    void signal(int number);

    const QByteArray m_address;
    const QByteArray m_configuration;
    Process m_process;
};

// Plays the system bus while the object lives. Construct it before the first Qt connection. The
// session bus is made unreachable, so that messages to the wrong bus fail.
class PrivateBus : public BusProcess
{
public:
    explicit PrivateBus(const QByteArray &rules = QByteArray(),
                        const QByteArray &limits = QByteArray());
    ~PrivateBus() { s_instance = nullptr; }

    // The instance of this program.
    static PrivateBus *instance() { return s_instance; }

private:
    static PrivateBus *s_instance;
};

// The environment for a program that uses this bus as its system bus.
QProcessEnvironment environmentAt(const BusProcess &bus);

#define HNIPC_TEST_MAIN(TestClass)                                                                 \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        PrivateBus bus;                                                                            \
        QCoreApplication application(argc, argv);                                                  \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

#endif
